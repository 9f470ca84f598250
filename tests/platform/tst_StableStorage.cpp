#include "platform/StableStorage.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

class tst_StableStorage : public QObject
{
    Q_OBJECT

private slots:
    void AFileIsFlushedAndStaysAsItIs();
    void NothingIsKnownOfAFileThatIsMissing();
    void AFolderMayBeMissing();
};

void tst_StableStorage::AFileIsFlushedAndStaysAsItIs()
{
    const QTemporaryDir folder;
    QFile file(folder.filePath("file"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.write("bytes") == 5 && file.flush());
    QCOMPARE(gFlushToDisk(file.fileName()), FlushResult::Flushed);
    gFlushFolder(folder.path());
    QCOMPARE(file.size(), qint64(5));
}

void tst_StableStorage::NothingIsKnownOfAFileThatIsMissing()
{
    const QTemporaryDir folder;
    QCOMPARE(gFlushToDisk(folder.filePath("none")), FlushResult::Unknown);
    QVERIFY(!QFile::exists(folder.filePath("none")));
}

void tst_StableStorage::AFolderMayBeMissing()
{
    const QTemporaryDir folder;
    gFlushFolder(folder.filePath("none"));
}

QTEST_GUILESS_MAIN(tst_StableStorage)
#include "tst_StableStorage.moc"
