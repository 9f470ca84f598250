// SPDX-License-Identifier: MIT

#include "platform/InstallerStart_win.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <windows.h>

namespace
{
// ERROR_ELEVATION_REQUIRED, which not every version of the Windows headers has.
constexpr InstallerStart::Code elevationRequired = 740;
} // namespace

/// What `InstallerStart` does on each error code of the system.
class tst_InstallerStart_win : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void a_program_that_starts_asks_for_nothing();
    void a_program_that_wants_an_administrator_asks_the_user_once();
    void a_declined_question_means_that_it_was_not_started();
    void no_other_failure_asks_the_user_data();
    void no_other_failure_asks_the_user();
    void a_file_that_is_held_for_a_moment_is_started_after_it();
    void a_file_that_is_held_for_long_is_given_up();
    void a_file_that_was_held_may_want_an_administrator();

    void the_system_tells_that_a_file_is_held();
    void the_system_tells_what_it_cannot_start_data();
    void the_system_tells_what_it_cannot_start();

private:
    /// A start whose calls are recorded. The first calls of `create` return @p answers, all others
    /// success.
    InstallerStart Start(const QList<InstallerStart::Code> &answers,
                         InstallerStart::Code userAnswer = ERROR_SUCCESS);

    QStringList m_calls;
};

void tst_InstallerStart_win::init()
{
    m_calls.clear();
}

InstallerStart tst_InstallerStart_win::Start(const QList<InstallerStart::Code> &answers,
                                             InstallerStart::Code userAnswer)
{
    const auto create = [this, answers, count = 0](const QString &path) mutable {
        m_calls.append("create " + path);
        return answers.value(count++, ERROR_SUCCESS);
    };
    const auto elevate = [this, userAnswer](const QString &path) {
        m_calls.append("elevate " + path);
        return userAnswer;
    };
    return {create, elevate, [this] { m_calls.append("pause"); }};
}

void tst_InstallerStart_win::a_program_that_starts_asks_for_nothing()
{
    QCOMPARE(Start({}).Run("C:/new.exe"), InstallerStart::Code{ERROR_SUCCESS});
    QCOMPARE(m_calls, QStringList({"create C:/new.exe"}));
}

void tst_InstallerStart_win::a_program_that_wants_an_administrator_asks_the_user_once()
{
    QCOMPARE(Start({elevationRequired}).Run("C:/new.exe"), InstallerStart::Code{ERROR_SUCCESS});
    QCOMPARE(m_calls, QStringList({"create C:/new.exe", "elevate C:/new.exe"}));
}

void tst_InstallerStart_win::a_declined_question_means_that_it_was_not_started()
{
    QCOMPARE(Start({elevationRequired}, ERROR_CANCELLED).Run("C:/new.exe"),
             InstallerStart::Code{ERROR_CANCELLED});
    QCOMPARE(m_calls, QStringList({"create C:/new.exe", "elevate C:/new.exe"}));
}

void tst_InstallerStart_win::no_other_failure_asks_the_user_data()
{
    QTest::addColumn<InstallerStart::Code>("code");
    QTest::newRow("no_such_file") << InstallerStart::Code{ERROR_FILE_NOT_FOUND};
    QTest::newRow("no_right_to_run_it") << InstallerStart::Code{ERROR_ACCESS_DENIED};
    QTest::newRow("no_program") << InstallerStart::Code{ERROR_BAD_EXE_FORMAT};
    QTest::newRow("forbidden_by_a_policy") << InstallerStart::Code{ERROR_ACCESS_DISABLED_BY_POLICY};
}

void tst_InstallerStart_win::no_other_failure_asks_the_user()
{
    QFETCH(InstallerStart::Code, code);
    QCOMPARE(Start({code}).Run("C:/new.exe"), code);
    QCOMPARE(m_calls, QStringList({"create C:/new.exe"}));
}

void tst_InstallerStart_win::a_file_that_is_held_for_a_moment_is_started_after_it()
{
    QCOMPARE(Start({ERROR_SHARING_VIOLATION, ERROR_SHARING_VIOLATION}).Run("new"),
             InstallerStart::Code{ERROR_SUCCESS});
    QCOMPARE(m_calls, QStringList({"create new", "pause", "create new", "pause", "create new"}));
}

void tst_InstallerStart_win::a_file_that_is_held_for_long_is_given_up()
{
    QList<InstallerStart::Code> answers;
    for (int count = 0; count <= InstallerStart::mostPauses; ++count) {
        answers.append(ERROR_SHARING_VIOLATION);
    }
    QCOMPARE(Start(answers).Run("new"), InstallerStart::Code{ERROR_SHARING_VIOLATION});
    QCOMPARE(m_calls.count("pause"), InstallerStart::mostPauses);
    QCOMPARE(m_calls.count("create new"), answers.size());
    QVERIFY(!m_calls.contains("elevate new"));
}

void tst_InstallerStart_win::a_file_that_was_held_may_want_an_administrator()
{
    QCOMPARE(Start({ERROR_SHARING_VIOLATION, elevationRequired}, ERROR_CANCELLED).Run("new"),
             InstallerStart::Code{ERROR_CANCELLED});
    QCOMPARE(m_calls, QStringList({"create new", "pause", "create new", "elevate new"}));
}

void tst_InstallerStart_win::the_system_tells_that_a_file_is_held()
{
    const QTemporaryDir directory;
    const QString path = directory.filePath("new.exe");
    QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), path));
    HANDLE held = CreateFileW(QDir::toNativeSeparators(path).toStdWString().c_str(), GENERIC_READ,
                              0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    QVERIFY(held != INVALID_HANDLE_VALUE);
    const InstallerStart::Code code = InstallerStart::OfTheSystem().create(path);
    CloseHandle(held);
    QCOMPARE(code, InstallerStart::Code{ERROR_SHARING_VIOLATION});
}

void tst_InstallerStart_win::the_system_tells_what_it_cannot_start_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<InstallerStart::Code>("code");
    QTest::newRow("a_missing_file") << "missing" << InstallerStart::Code{ERROR_FILE_NOT_FOUND};
    QTest::newRow("a_text") << "text" << InstallerStart::Code{ERROR_BAD_EXE_FORMAT};
}

void tst_InstallerStart_win::the_system_tells_what_it_cannot_start()
{
    QFETCH(QString, name);
    const QTemporaryDir directory;
    QFile text(directory.filePath("text"));
    QVERIFY(text.open(QIODevice::WriteOnly) && text.write("release notes\n") > 0);
    text.close();
    QTEST(InstallerStart::OfTheSystem().create(directory.filePath(name)), "code");
}

QTEST_GUILESS_MAIN(tst_InstallerStart_win)
#include "tst_InstallerStart_win.moc"
