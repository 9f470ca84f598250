#include "platform/DetachedProcess.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace
{

constexpr char startOnly[] = "--start";

/// What a script has written into @p path by now.
QByteArray gContent(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class tst_DetachedProcess : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void a_script_runs_without_arguments();
    void a_file_without_the_executable_bit_is_given_it_first();
    void the_executable_bit_is_added_to_the_other_permissions();
    void a_path_with_blanks_and_accents_is_one_program();
    void the_process_outlives_its_starter_and_shares_no_output_with_it();
    void what_cannot_be_started_gives_false_data();
    void what_cannot_be_started_gives_false();

private:
    QString Write(const QString &name, const QByteArray &content);
    /// A script that writes @p text into the file `Output()`, which it puts in place complete.
    QString WriteScript(const QString &name, const QByteArray &text);
    QString Output() const { return m_directory->filePath("output"); }

    QScopedPointer<QTemporaryDir> m_directory;
};

void tst_DetachedProcess::init()
{
    m_directory.reset(new QTemporaryDir);
}

QString tst_DetachedProcess::Write(const QString &name, const QByteArray &content)
{
    QFile file(m_directory->filePath(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("The test cannot write its file.");
    }
    return file.fileName();
}

QString tst_DetachedProcess::WriteScript(const QString &name, const QByteArray &text)
{
    const QByteArray output = QFile::encodeName(Output());
    return Write(name, "#!/bin/sh\nprintf %s " + text + " > '" + output + ".part'\nmv '" + output +
                           ".part' '" + output + "'\n");
}

void tst_DetachedProcess::a_script_runs_without_arguments()
{
    QVERIFY(gStartDetached(WriteScript("installer", "\"$# arguments\"")));
    QTRY_COMPARE(gContent(Output()), QByteArray("0 arguments"));
}

void tst_DetachedProcess::a_file_without_the_executable_bit_is_given_it_first()
{
    const QString script = WriteScript("installer", "ran");
    QVERIFY(!QFileInfo(script).isExecutable());
    QVERIFY(gStartDetached(script));
    QVERIFY(QFileInfo(script).isExecutable());
    QTRY_COMPARE(gContent(Output()), QByteArray("ran"));
}

void tst_DetachedProcess::the_executable_bit_is_added_to_the_other_permissions()
{
    const QString script = WriteScript("installer", "ran");
    QVERIFY(QFile::setPermissions(script, QFile::ReadOwner | QFile::WriteOwner));
    QVERIFY(gStartDetached(script));
    const QFile::Permissions permissions = QFile::permissions(script);
    QVERIFY(permissions.testFlag(QFile::ReadOwner));
    QVERIFY(permissions.testFlag(QFile::WriteOwner));
    QVERIFY(permissions.testFlag(QFile::ExeOwner));
    QVERIFY(!permissions.testFlag(QFile::WriteOther));
    QTRY_COMPARE(gContent(Output()), QByteArray("ran"));
}

void tst_DetachedProcess::a_path_with_blanks_and_accents_is_one_program()
{
    const QString name = QString::fromUtf8("Corvina 9 für alle.run");
    QVERIFY(gStartDetached(WriteScript(name, "ran")));
    QTRY_COMPARE(gContent(Output()), QByteArray("ran"));
}

void tst_DetachedProcess::the_process_outlives_its_starter_and_shares_no_output_with_it()
{
    // The script waits until the test has seen its starter end.
    const QByteArray gate = QFile::encodeName(m_directory->filePath("gate"));
    const QByteArray output = QFile::encodeName(Output());
    const QString script =
        Write("installer", "#!/bin/sh\necho to the output\necho to the errors >&2\n"
                           "until [ -e '" +
                               gate +
                               "' ]; do sleep 0.01; done\n"
                               "echo ran > '" +
                               output + "'\n");
    QProcess starter;
    starter.start(QCoreApplication::applicationFilePath(), {startOnly, script});
    QVERIFY(starter.waitForFinished());
    QCOMPARE(starter.exitStatus(), QProcess::NormalExit);
    QCOMPARE(starter.exitCode(), 0);
    QVERIFY(!QFileInfo::exists(Output()));

    Write("gate", "");
    QTRY_COMPARE(gContent(Output()), QByteArray("ran\n"));
    QCOMPARE(starter.readAllStandardOutput(), QByteArray());
    QCOMPARE(starter.readAllStandardError(), QByteArray());
}

void tst_DetachedProcess::what_cannot_be_started_gives_false_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("a missing file") << "missing";
    QTest::newRow("a directory") << ".";
    QTest::newRow("a file in no executable format") << "text";
    QTest::newRow("an empty file") << "empty";
    QTest::newRow("a script whose interpreter is missing") << "orphan";
}

void tst_DetachedProcess::what_cannot_be_started_gives_false()
{
    QFETCH(QString, name);
    Write("text", "release notes\n");
    Write("empty", "");
    Write("orphan", "#!/missing/interpreter\n");
    QVERIFY(!gStartDetached(m_directory->filePath(name)));
}

// With an argument the test is the starter of the process that has to outlive it.
int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.size() == 3 && arguments.at(1) == startOnly) {
        return gStartDetached(arguments.at(2)) ? 0 : 1;
    }
    tst_DetachedProcess test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_DetachedProcess.moc"
