// SPDX-License-Identifier: MIT

#include "platform/PrivateFolder.h"

#include "tests/support/TestFiles.h"

#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

namespace
{
bool gSetMode(const QString &path, mode_t mode)
{
    return chmod(QFile::encodeName(path).constData(), mode) == 0;
}

/// @return false when this process may not give away what it owns
bool gGiveAway(const QString &path)
{
    constexpr uid_t another = 54321;

    return lchown(QFile::encodeName(path).constData(), another, getegid()) == 0;
}

struct stat gFacts(const QString &path)
{
    struct stat facts {
    };
    lstat(QFile::encodeName(path).constData(), &facts);
    return facts;
}
} // namespace

/// The owner and the mode of the folder and of those above it, in a cache of the test's own.
class tst_PrivateFolder_unix : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void only_its_owner_may_use_it();
    void the_mode_of_the_process_opens_nothing();
    void a_mode_that_lets_others_write_is_refused_data();
    void a_mode_that_lets_others_write_is_refused();
    void a_mode_that_lets_others_read_is_taken_data();
    void a_mode_that_lets_others_read_is_taken();
    void a_folder_of_another_account_is_refused();
    void a_link_in_its_place_is_refused();
    void a_link_to_nothing_in_its_place_is_refused();
    void a_folder_above_that_is_open_is_refused_data();
    void a_folder_above_that_is_open_is_refused();
    void a_sticky_folder_above_is_taken();
    void a_folder_above_of_another_account_is_refused_data();
    void a_folder_above_of_another_account_is_refused();
    void a_link_above_is_followed();
    void a_link_above_into_an_open_folder_is_refused();

private:
    QString Path(const QString &name) const { return m_folder->filePath(name); }
    QString Private() const { return Path("outer/cache/Halvard"); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void tst_PrivateFolder_unix::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    qputenv("XDG_CACHE_HOME", QFile::encodeName(Path("outer/cache")));
    QVERIFY(QDir().mkpath(Path("outer/cache")));
    QVERIFY(gSetMode(Path("outer"), 0755) && gSetMode(Path("outer/cache"), 0755));
    QString failure;
    QVERIFY2(gPrivateFolder(&failure) == Private(), qPrintable(failure));
}

void tst_PrivateFolder_unix::only_its_owner_may_use_it()
{
    const struct stat facts = gFacts(Private());
    QVERIFY(S_ISDIR(facts.st_mode));
    QCOMPARE(facts.st_mode & 07777U, 0700U);
    QCOMPARE(facts.st_uid, geteuid());
}

void tst_PrivateFolder_unix::the_mode_of_the_process_opens_nothing()
{
    const mode_t before = umask(0);
    QString failure;
    const bool isMade = gMakePrivateFolder(Path("made"), &failure);
    umask(before);
    QVERIFY2(isMade, qPrintable(failure));
    QCOMPARE(gFacts(Path("made")).st_mode & 07777U, 0700U);
}

void tst_PrivateFolder_unix::a_mode_that_lets_others_write_is_refused_data()
{
    QTest::addColumn<uint>("mode");
    QTest::newRow("everybody") << 0777U;
    QTest::newRow("its_group") << 0770U;
    QTest::newRow("all_but_its_group") << 0702U;
    QTest::newRow("everybody_in_a_sticky_one") << 01777U;
}

void tst_PrivateFolder_unix::a_mode_that_lets_others_write_is_refused()
{
    QFETCH(uint, mode);
    QVERIFY(gSetMode(Private(), mode));
    QString failure;
    QCOMPARE(gPrivateFolder(&failure), QString());
    QCOMPARE(failure, "another account can change " + Private());
}

void tst_PrivateFolder_unix::a_mode_that_lets_others_read_is_taken_data()
{
    QTest::addColumn<uint>("mode");
    QTest::newRow("everybody") << 0755U;
    QTest::newRow("its_group") << 0750U;
}

void tst_PrivateFolder_unix::a_mode_that_lets_others_read_is_taken()
{
    QFETCH(uint, mode);
    QVERIFY(gSetMode(Private(), mode));
    QString failure;
    QCOMPARE(gPrivateFolder(&failure), Private());
    QCOMPARE(failure, QString());
}

void tst_PrivateFolder_unix::a_folder_of_another_account_is_refused()
{
    if (!gGiveAway(Private())) {
        QSKIP("Only an administrator can give a folder to another account.");
    }
    QString failure;
    QCOMPARE(gPrivateFolder(&failure), QString());
    QCOMPARE(failure, "another account can change " + Private());
}

void tst_PrivateFolder_unix::a_link_in_its_place_is_refused()
{
    QVERIFY(QFile::rename(Private(), Path("elsewhere")));
    QVERIFY(QFile::link(Path("elsewhere"), Private()));
    QString failure;
    QCOMPARE(gPrivateFolder(&failure), QString());
    QCOMPARE(failure, "another account can change " + Private());
}

void tst_PrivateFolder_unix::a_link_to_nothing_in_its_place_is_refused()
{
    QVERIFY(QDir().rmdir(Private()));
    QVERIFY(QFile::link(Path("nothing"), Private()));
    QString failure;
    QCOMPARE(gPrivateFolder(&failure), QString());
    QVERIFY2(failure.startsWith(Private() + ": "), qPrintable(failure));
    QVERIFY(!QFileInfo::exists(Path("nothing")));
}

void tst_PrivateFolder_unix::a_folder_above_that_is_open_is_refused_data()
{
    QTest::addColumn<QString>("above");
    QTest::addColumn<uint>("mode");
    QTest::newRow("the_next_to_everybody") << "outer/cache" << 0777U;
    QTest::newRow("the_next_to_its_group") << "outer/cache" << 0770U;
    QTest::newRow("one_further_up_to_everybody") << "outer" << 0777U;
    QTest::newRow("one_further_up_to_its_group") << "outer" << 0775U;
}

void tst_PrivateFolder_unix::a_folder_above_that_is_open_is_refused()
{
    QFETCH(QString, above);
    QFETCH(uint, mode);
    QVERIFY(gSetMode(Path(above), mode));
    QString failure;
    QCOMPARE(gPrivateFolder(&failure), QString());
    QCOMPARE(failure, "another account can change " + Path(above));
}

void tst_PrivateFolder_unix::a_sticky_folder_above_is_taken()
{
    QVERIFY(gSetMode(Path("outer"), 01777));
    QString failure;
    QCOMPARE(gPrivateFolder(&failure), Private());
    QCOMPARE(failure, QString());
}

void tst_PrivateFolder_unix::a_folder_above_of_another_account_is_refused_data()
{
    QTest::addColumn<QString>("above");
    QTest::newRow("the_next") << "outer/cache";
    QTest::newRow("one_further_up") << "outer";
}

void tst_PrivateFolder_unix::a_folder_above_of_another_account_is_refused()
{
    QFETCH(QString, above);
    if (!gGiveAway(Path(above))) {
        QSKIP("Only an administrator can give a folder to another account.");
    }
    QString failure;
    QCOMPARE(gPrivateFolder(&failure), QString());
    QCOMPARE(failure, "another account can change " + Path(above));
}

void tst_PrivateFolder_unix::a_link_above_is_followed()
{
    QVERIFY(QFile::link(Path("outer/cache"), Path("link")));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(Path("link")));
    QString failure;
    QCOMPARE(gPrivateFolder(&failure), Private());
    QCOMPARE(failure, QString());
}

void tst_PrivateFolder_unix::a_link_above_into_an_open_folder_is_refused()
{
    QVERIFY(QFile::link(Path("outer/cache"), Path("link")));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(Path("link")));
    QVERIFY(gSetMode(Path("outer"), 0777));
    QString failure;
    QCOMPARE(gPrivateFolder(&failure), QString());
    QCOMPARE(failure, "another account can change " + Path("outer"));
}

QTEST_GUILESS_MAIN(tst_PrivateFolder_unix)
#include "tst_PrivateFolder_unix.moc"
