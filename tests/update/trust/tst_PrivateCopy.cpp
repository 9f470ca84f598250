// SPDX-License-Identifier: MIT

#include "update/trust/PrivateCopy.h"

#include "platform/PrivateFolder.h"
#include "tests/support/TestBytes.h"
#include "tests/support/TestFiles.h"

#include <QCryptographicHash>
#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

static QString gNameOfCopy(char digit)
{
    return "Corvina-" + QString(32, digit);
}

/// Copies in a private folder of the test's own.
class tst_PrivateCopy : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void a_copy_has_the_bytes_and_their_digest_data();
    void a_copy_has_the_bytes_and_their_digest();
    void a_copy_lies_in_a_private_folder_under_the_name_given();
    void two_copies_have_two_folders();
    void a_longer_file_is_cut_at_one_byte_more_data();
    void a_longer_file_is_cut_at_one_byte_more();
    void a_change_of_the_source_changes_no_copy();
    void what_is_no_file_is_not_copied_data();
    void what_is_no_file_is_not_copied();
    void without_a_private_folder_there_is_no_copy();
    void a_missing_private_folder_is_a_failure();
    void a_file_in_place_of_the_private_folder_is_a_failure();
    void a_copy_goes_with_its_last_user();
    void a_copy_that_is_left_stays_until_it_is_removed();
    void what_is_in_use_is_not_removed();
    void a_folder_without_a_lock_is_removed();
    void a_lock_without_a_folder_is_removed();
    void what_is_no_copy_is_not_removed_data();
    void what_is_no_copy_is_not_removed();
    void without_a_private_folder_nothing_is_removed();

private:
    static constexpr qint64 noLimit = qint64{1} << 40;

    QString Path(const QString &name) const { return m_folder->filePath(name); }
    QStringList Left() const
    {
        return QDir(Path("private")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    }
    PrivateFolderFunction Private() const
    {
        return [path = Path("private")](QString *) { return path; };
    }
    PrivateCopy::Outcome Make(qint64 mostBytes = noLimit) const
    {
        return PrivateCopy::Make(Path("source"), "setup.exe", mostBytes, Private());
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void tst_PrivateCopy::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir().mkpath(Path("private")));
    QVERIFY(gWriteFile(Path("source"), "bytes of the source"));
}

void tst_PrivateCopy::a_copy_has_the_bytes_and_their_digest_data()
{
    QTest::addColumn<int>("size");
    for (const int size : {0, 1, 262143, 262144, 262145, 1000003}) {
        QTest::addRow("%d_bytes", size) << size;
    }
}

void tst_PrivateCopy::a_copy_has_the_bytes_and_their_digest()
{
    QFETCH(int, size);
    const QByteArray bytes = gTestBytes(size);
    QVERIFY(gWriteFile(Path("source"), bytes));
    const PrivateCopy::Outcome outcome = Make();
    QVERIFY2(outcome.copy != nullptr, qPrintable(outcome.failure));
    QVERIFY(gReadFile(outcome.copy->Path()) == bytes);
    QVERIFY(QFileInfo::exists(outcome.copy->Path()));
    QCOMPARE(outcome.size, qint64{size});
    QCOMPARE(outcome.sha256.toLatin1(),
             QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex());
    QCOMPARE(outcome.failure, QString());
}

void tst_PrivateCopy::a_copy_lies_in_a_private_folder_under_the_name_given()
{
    const PrivateCopy::Outcome outcome = Make();
    QVERIFY(outcome.copy != nullptr);
    const QFileInfo copy(outcome.copy->Path());
    QCOMPARE(copy.fileName(), QString("setup.exe"));
    QCOMPARE(QFileInfo(copy.path()).path(), Path("private"));
    QString failure;
    QVERIFY2(gIsPrivateFolder(copy.path(), &failure), qPrintable(failure));
}

void tst_PrivateCopy::two_copies_have_two_folders()
{
    const PrivateCopy::Outcome first = Make();
    const PrivateCopy::Outcome second = Make();
    QVERIFY(first.copy != nullptr && second.copy != nullptr);
    QVERIFY(first.copy->Path() != second.copy->Path());
    QCOMPARE(gReadFile(first.copy->Path()), gReadFile(second.copy->Path()));
}

void tst_PrivateCopy::a_longer_file_is_cut_at_one_byte_more_data()
{
    QTest::addColumn<int>("limit");
    QTest::addColumn<int>("size");
    QTest::newRow("far_below") << 100 << 101;
    QTest::newRow("one_byte_below") << 1000002 << 1000003;
    QTest::newRow("as_long_as_the_file") << 1000003 << 1000003;
    QTest::newRow("behind_a_piece") << 262144 << 262145;
    QTest::newRow("within_a_piece") << 262143 << 262144;
    QTest::newRow("nothing") << 0 << 1;
}

void tst_PrivateCopy::a_longer_file_is_cut_at_one_byte_more()
{
    QFETCH(int, limit);
    QFETCH(int, size);
    const QByteArray bytes = gTestBytes(1000003);
    QVERIFY(gWriteFile(Path("source"), bytes));
    const PrivateCopy::Outcome outcome = Make(limit);
    QVERIFY2(outcome.copy != nullptr, qPrintable(outcome.failure));
    QCOMPARE(outcome.size, qint64{size});
    QVERIFY(gReadFile(outcome.copy->Path()) == bytes.left(size));
    QCOMPARE(outcome.sha256.toLatin1(),
             QCryptographicHash::hash(bytes.left(size), QCryptographicHash::Sha256).toHex());
}

void tst_PrivateCopy::a_change_of_the_source_changes_no_copy()
{
    const PrivateCopy::Outcome outcome = Make();
    QVERIFY(outcome.copy != nullptr);
    QVERIFY(gWriteFile(Path("source"), "other bytes in its place"));
    QCOMPARE(gReadFile(outcome.copy->Path()), QByteArray("bytes of the source"));
    QVERIFY(QFile::remove(Path("source")));
    QCOMPARE(gReadFile(outcome.copy->Path()), QByteArray("bytes of the source"));
}

void tst_PrivateCopy::what_is_no_file_is_not_copied_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("missing") << "missing";
    QTest::newRow("in_a_missing_folder") << "missing/source";
    QTest::newRow("a_folder") << "private";
}

void tst_PrivateCopy::what_is_no_file_is_not_copied()
{
    QFETCH(QString, name);
    const PrivateCopy::Outcome outcome =
        PrivateCopy::Make(Path(name), "setup.exe", noLimit, Private());
    QVERIFY(outcome.copy == nullptr);
    QCOMPARE(outcome.failure, Path(name) + " is no file that can be read");
    QCOMPARE(Left(), QStringList());
}

void tst_PrivateCopy::without_a_private_folder_there_is_no_copy()
{
    const auto none = [](QString *failure) {
        *failure = "others may write there";
        return QString();
    };
    const PrivateCopy::Outcome outcome =
        PrivateCopy::Make(Path("source"), "setup.exe", noLimit, none);
    QVERIFY(outcome.copy == nullptr);
    QCOMPARE(outcome.failure, QString("others may write there"));
}

void tst_PrivateCopy::a_missing_private_folder_is_a_failure()
{
    QVERIFY(QDir().rmdir(Path("private")));
    const PrivateCopy::Outcome outcome = Make();
    QVERIFY(outcome.copy == nullptr);
    QVERIFY2(outcome.failure.startsWith(Path("private/Corvina-")), qPrintable(outcome.failure));
    QVERIFY(!QFileInfo::exists(Path("private")));
}

void tst_PrivateCopy::a_file_in_place_of_the_private_folder_is_a_failure()
{
    QVERIFY(QDir().rmdir(Path("private")));
    QVERIFY(gWriteFile(Path("private"), "in the way"));
    const PrivateCopy::Outcome outcome = Make();
    QVERIFY(outcome.copy == nullptr);
    QVERIFY2(outcome.failure.startsWith(Path("private/Corvina-")), qPrintable(outcome.failure));
    QCOMPARE(gReadFile(Path("private")), QByteArray("in the way"));
}

void tst_PrivateCopy::a_copy_goes_with_its_last_user()
{
    PrivateCopy::Outcome outcome = Make();
    std::shared_ptr<PrivateCopy> user = outcome.copy;
    outcome.copy.reset();
    QVERIFY(QFileInfo::exists(user->Path()));
    QCOMPARE(Left().size(), 2);
    user.reset();
    QCOMPARE(Left(), QStringList());
}

void tst_PrivateCopy::a_copy_that_is_left_stays_until_it_is_removed()
{
    PrivateCopy::Outcome outcome = Make();
    const QString path = outcome.copy->Path();
    outcome.copy->Leave();
    outcome.copy.reset();
    QCOMPARE(gReadFile(path), QByteArray("bytes of the source"));
    QCOMPARE(Left().size(), 1);
    PrivateCopy::RemoveLeft(Private());
    QCOMPARE(Left(), QStringList());
}

void tst_PrivateCopy::what_is_in_use_is_not_removed()
{
    const PrivateCopy::Outcome used = Make();
    const PrivateCopy::Outcome started = Make();
    started.copy->Leave();
    PrivateCopy::RemoveLeft(Private());
    QCOMPARE(gReadFile(used.copy->Path()), QByteArray("bytes of the source"));
    QCOMPARE(gReadFile(started.copy->Path()), QByteArray("bytes of the source"));
    QCOMPARE(Left().size(), 4);
}

void tst_PrivateCopy::a_folder_without_a_lock_is_removed()
{
    const QString folder = Path("private/") + gNameOfCopy('1');
    QVERIFY(QDir().mkpath(folder + "/inner"));
    QVERIFY(gWriteFile(folder + "/setup.exe", "bytes"));
    QVERIFY(gWriteFile(folder + "/inner/more", "bytes"));
    PrivateCopy::RemoveLeft(Private());
    QCOMPARE(Left(), QStringList());
}

void tst_PrivateCopy::a_lock_without_a_folder_is_removed()
{
    const QString heldName = gNameOfCopy('3') + ".lock";
    QVERIFY(gWriteFile(Path("private/") + gNameOfCopy('1') + ".lock", ""));
    QVERIFY(gWriteFile(Path("private/") + gNameOfCopy('2') + ".lock", ""));
    QVERIFY(QDir().mkpath(Path("private/") + gNameOfCopy('2')));
    ProcessLock held;
    QCOMPARE(held.TryLock(Path("private/") + heldName), ProcessLock::Outcome::Taken);
    PrivateCopy::RemoveLeft(Private());
    QCOMPARE(Left(), QStringList(heldName));
}

void tst_PrivateCopy::what_is_no_copy_is_not_removed_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("another_name") << "Other";
    QTest::newRow("the_hosts_own_folder") << "Corvina-Viewer";
    QTest::newRow("in_other_letters") << gNameOfCopy('a').toLower();
    QTest::newRow("with_capital_digits") << "Corvina-" + QString(32, 'A');
    QTest::newRow("a_digit_less") << gNameOfCopy('1').chopped(1);
    QTest::newRow("a_digit_more") << gNameOfCopy('1') + "1";
    QTest::newRow("with_an_ending") << gNameOfCopy('1') + ".backup";
}

void tst_PrivateCopy::what_is_no_copy_is_not_removed()
{
    QFETCH(QString, name);
    const QString lock = name + ".lock";
    QVERIFY(QDir().mkpath(Path("private/") + name));
    QVERIFY(gWriteFile(Path("private/") + name + "/file", "of the host"));
    QVERIFY(gWriteFile(Path("private/") + lock, ""));
    PrivateCopy::RemoveLeft(Private());
    QCOMPARE(gReadFile(Path("private/") + name + "/file"), QByteArray("of the host"));
    QCOMPARE(Left().size(), 2);
}

void tst_PrivateCopy::without_a_private_folder_nothing_is_removed()
{
    int calls = 0;
    PrivateCopy::RemoveLeft([&calls](QString *failure) {
        ++calls;
        *failure = "others may write there";
        return QString();
    });
    QCOMPARE(calls, 1);
    QVERIFY(QFileInfo::exists(Path("source")));
}

QTEST_GUILESS_MAIN(tst_PrivateCopy)
#include "tst_PrivateCopy.moc"
