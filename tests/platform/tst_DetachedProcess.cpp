// SPDX-License-Identifier: MIT

#include "platform/DetachedProcess.h"

#include "tests/support/TestFiles.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace
{

constexpr char startOnly[] = "--start";

} // namespace

/// The installer is the program of StartedProgram.cpp.
class tst_DetachedProcess : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void a_program_runs_without_arguments();
    void a_name_with_blanks_and_accents_is_one_program();
    void the_process_outlives_its_starter_and_shares_no_output_with_it();
    void what_cannot_be_started_gives_false_data();
    void what_cannot_be_started_gives_false();

private:
    QString Write(const QString &name, const QByteArray &content);
    /// A copy of the program in the folder, which is the current one.
    QString Installer(const QString &name);
    QString Output() const { return m_directory->filePath("output"); }

    QString m_program;
    QScopedPointer<QTemporaryDir> m_directory;
};

void tst_DetachedProcess::initTestCase()
{
    // The path may have no drive; the current folder, which gives it one, changes in the tests.
    m_program = QFileInfo(QStringLiteral(STARTED_PROGRAM)).absoluteFilePath();
}

void tst_DetachedProcess::init()
{
    m_directory.reset(new QTemporaryDir);
    QVERIFY(QDir::setCurrent(m_directory->path()));
}

void tst_DetachedProcess::cleanup()
{
    // Windows does not remove the current folder of a process.
    QVERIFY(QDir::setCurrent(QDir::tempPath()));
}

QString tst_DetachedProcess::Write(const QString &name, const QByteArray &content)
{
    return gPutFile(m_directory->filePath(name), content);
}

QString tst_DetachedProcess::Installer(const QString &name)
{
    const QString path = m_directory->filePath(name);
    if (!QFile::copy(m_program, path)) {
        qFatal("The test cannot copy its program.");
    }
    return path;
}

void tst_DetachedProcess::a_program_runs_without_arguments()
{
    QVERIFY(gStartDetached(Installer("installer.exe")));
    QTRY_COMPARE(gReadFile(Output()), QByteArray("0 arguments"));
}

void tst_DetachedProcess::a_name_with_blanks_and_accents_is_one_program()
{
    QVERIFY(gStartDetached(Installer(QString::fromUtf8("Corvina 9 für alle.exe"))));
    QTRY_COMPARE(gReadFile(Output()), QByteArray("0 arguments"));
}

void tst_DetachedProcess::the_process_outlives_its_starter_and_shares_no_output_with_it()
{
    // The program waits until the test has seen its starter end.
    Write("wait", "");
    QProcess starter;
    starter.start(QCoreApplication::applicationFilePath(), {startOnly, Installer("new.exe")});
    QVERIFY(starter.waitForFinished());
    QCOMPARE(starter.exitStatus(), QProcess::NormalExit);
    QCOMPARE(starter.exitCode(), 0);
    QVERIFY(!QFileInfo::exists(Output()));

    Write("gate", "");
    QTRY_COMPARE(gReadFile(Output()), QByteArray("0 arguments"));
    QCOMPARE(starter.readAllStandardOutput(), QByteArray());
    QCOMPARE(starter.readAllStandardError(), QByteArray());
}

void tst_DetachedProcess::what_cannot_be_started_gives_false_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("a_missing_file") << "missing";
    QTest::newRow("a_directory") << ".";
    QTest::newRow("a_file_in_no_executable_format") << "text";
    QTest::newRow("an_empty_file") << "empty";
}

void tst_DetachedProcess::what_cannot_be_started_gives_false()
{
    QFETCH(QString, name);
    Write("text", "release notes\n");
    Write("empty", "");
    QVERIFY(!gStartDetached(m_directory->filePath(name)));
}

// With an argument this program starts the process that has to outlive it, and ends.
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
