// SPDX-License-Identifier: MIT

#include "platform/SettingsLock.h"

#include "tests/support/TestFiles.h"

#include <QLockFile>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

#include <memory>

/// Which lock files beside settings are removed before the settings are opened.
class tst_SettingsLock : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }
    void cleanup() { m_folder.reset(); }

    void the_path_is_returned();
    void a_leftover_is_removed_data();
    void a_leftover_is_removed();
    void a_lock_that_another_thread_holds_stays_data();
    void a_lock_that_another_thread_holds_stays();
    void a_lock_that_is_free_again_is_no_hindrance();

private:
    QString Ini() const { return m_folder->filePath("Corvina.ini"); }
    /// What a lock of this process contains.
    QByteArray OwnLock() const;

    std::unique_ptr<QTemporaryDir> m_folder;
};

QByteArray tst_SettingsLock::OwnLock() const
{
    const QString path = m_folder->filePath("sample.lock");
    QLockFile lock(path);
    return lock.tryLock(0) ? gReadFile(path) : QByteArray();
}

void tst_SettingsLock::the_path_is_returned()
{
    QCOMPARE(gWithoutStaleLock(Ini()), Ini());
    QVERIFY2(QDir(m_folder->path()).isEmpty(), "nothing is created");
}

void tst_SettingsLock::a_leftover_is_removed_data()
{
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<bool>("isEmpty");
    for (const QString suffix : {".lock", ".lock.rmlock"}) {
        QTest::addRow("an_empty_%s", qPrintable(suffix)) << suffix << true;
        QTest::addRow("a_%s_with_the_number_of_this_process", qPrintable(suffix))
            << suffix << false;
    }
}

void tst_SettingsLock::a_leftover_is_removed()
{
    QFETCH(QString, suffix);
    QFETCH(bool, isEmpty);
    const QByteArray content = isEmpty ? QByteArray() : OwnLock();
    QVERIFY(isEmpty || !content.isEmpty());
    QVERIFY(gWriteFile(Ini() + suffix, content));
    gWithoutStaleLock(Ini());
    QVERIFY(!QFile::exists(Ini() + suffix));
}

void tst_SettingsLock::a_lock_that_another_thread_holds_stays_data()
{
    QTest::addColumn<QString>("suffix");
    QTest::newRow("of_the_settings") << ".lock";
    QTest::newRow("of_the_removal_of_a_lock") << ".lock.rmlock";
}

void tst_SettingsLock::a_lock_that_another_thread_holds_stays()
{
    QFETCH(QString, suffix);
    class Other : public QThread
    {
    public:
        explicit Other(QLockFile &lock)
            : m_lock(lock)
        {
        }

    protected:
        void run() override { m_lock.tryLock(0); }

    private:
        QLockFile &m_lock;
    };
    QLockFile lock(Ini() + suffix);
    Other other(lock);
    other.start();
    QVERIFY(other.wait());
    QVERIFY(lock.isLocked());
    gWithoutStaleLock(Ini());
    QVERIFY(QFile::exists(Ini() + suffix));
    QLockFile rival(Ini() + suffix);
    QVERIFY(!rival.tryLock(0));
}

void tst_SettingsLock::a_lock_that_is_free_again_is_no_hindrance()
{
    {
        QLockFile lock(Ini() + ".lock");
        QVERIFY(lock.tryLock(0));
        gWithoutStaleLock(Ini());
    }
    QVERIFY(!QFile::exists(Ini() + ".lock"));
    QLockFile lock(Ini() + ".lock");
    QVERIFY(lock.tryLock(0));
}

QTEST_GUILESS_MAIN(tst_SettingsLock)
#include "tst_SettingsLock.moc"
