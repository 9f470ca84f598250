// SPDX-License-Identifier: MIT

#include "platform/DetachedProcess.h"

#include "tests/support/TestFiles.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

/// Systems on which files have an executable bit and installers can be scripts.
class tst_DetachedProcess_unix : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void a_script_runs_without_arguments();
    void a_file_without_the_executable_bit_is_given_it_first();
    void the_executable_bit_is_added_to_the_other_permissions();
    void a_script_whose_interpreter_is_missing_cannot_be_started();

private:
    QString Write(const QString &name, const QByteArray &content);
    /// A script that creates a file with @p text by a rename.
    QString WriteScript(const QByteArray &text);
    /// The content of that file, empty when there is none yet.
    QByteArray Written() const;

    QScopedPointer<QTemporaryDir> m_directory;
};

void tst_DetachedProcess_unix::init()
{
    m_directory.reset(new QTemporaryDir);
}

QString tst_DetachedProcess_unix::Write(const QString &name, const QByteArray &content)
{
    return gPutFile(m_directory->filePath(name), content);
}

QString tst_DetachedProcess_unix::WriteScript(const QByteArray &text)
{
    const QByteArray output = QFile::encodeName(m_directory->filePath("output"));
    return Write("installer", "#!/bin/sh\nprintf %s " + text + " > '" + output + ".part'\nmv '" +
                                  output + ".part' '" + output + "'\n");
}

QByteArray tst_DetachedProcess_unix::Written() const
{
    return gReadFile(m_directory->filePath("output"));
}

void tst_DetachedProcess_unix::a_script_runs_without_arguments()
{
    QVERIFY(gStartDetached(WriteScript("\"$# arguments\"")));
    QTRY_COMPARE(Written(), QByteArray("0 arguments"));
}

void tst_DetachedProcess_unix::a_file_without_the_executable_bit_is_given_it_first()
{
    const QString script = WriteScript("ran");
    QVERIFY(!QFileInfo(script).isExecutable());
    QVERIFY(gStartDetached(script));
    QVERIFY(QFileInfo(script).isExecutable());
    QTRY_COMPARE(Written(), QByteArray("ran"));
}

void tst_DetachedProcess_unix::the_executable_bit_is_added_to_the_other_permissions()
{
    const QString script = WriteScript("ran");
    QVERIFY(QFile::setPermissions(script, QFile::ReadOwner | QFile::WriteOwner));
    QVERIFY(gStartDetached(script));
    const QFile::Permissions permissions = QFile::permissions(script);
    QVERIFY(permissions.testFlag(QFile::ReadOwner));
    QVERIFY(permissions.testFlag(QFile::WriteOwner));
    QVERIFY(permissions.testFlag(QFile::ExeOwner));
    QVERIFY(!permissions.testFlag(QFile::WriteOther));
    QTRY_COMPARE(Written(), QByteArray("ran"));
}

void tst_DetachedProcess_unix::a_script_whose_interpreter_is_missing_cannot_be_started()
{
    QVERIFY(!gStartDetached(Write("orphan", "#!/missing/interpreter\n")));
}

QTEST_GUILESS_MAIN(tst_DetachedProcess_unix)
#include "tst_DetachedProcess_unix.moc"
