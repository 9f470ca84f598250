// SPDX-License-Identifier: MIT

#include "platform/StableStorage.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

class tst_StableStorage : public QObject
{
    Q_OBJECT

private slots:
    void a_file_is_flushed_and_stays_as_it_is();
    void nothing_is_known_of_a_file_that_is_missing();
    void a_folder_may_be_missing();
};

void tst_StableStorage::a_file_is_flushed_and_stays_as_it_is()
{
    const QTemporaryDir folder;
    QFile file(folder.filePath("file"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.write("bytes") == 5 && file.flush());
    QCOMPARE(gFlushToDisk(file.fileName()), FlushResult::Flushed);
    gFlushFolder(folder.path());
    QCOMPARE(file.size(), qint64(5));
}

void tst_StableStorage::nothing_is_known_of_a_file_that_is_missing()
{
    const QTemporaryDir folder;
    QCOMPARE(gFlushToDisk(folder.filePath("none")), FlushResult::Unknown);
    QVERIFY(!QFile::exists(folder.filePath("none")));
}

void tst_StableStorage::a_folder_may_be_missing()
{
    const QTemporaryDir folder;
    gFlushFolder(folder.filePath("none"));
}

QTEST_GUILESS_MAIN(tst_StableStorage)
#include "tst_StableStorage.moc"
