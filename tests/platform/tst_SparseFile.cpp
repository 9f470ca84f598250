// SPDX-License-Identifier: MIT

#include "platform/SparseFile.h"

#include "tests/support/OccupiedBytes.h"
#include "tests/support/SystemTraits.h"
#include "tests/support/TestFiles.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

/// A file that takes no room for what was not written.
class tst_SparseFile : public QObject
{
    Q_OBJECT

private slots:
    void a_file_that_is_open_for_writing_can_be_made_sparse();
    void the_content_stays();

private:
    QTemporaryDir m_folder;
};

void tst_SparseFile::a_file_that_is_open_for_writing_can_be_made_sparse()
{
    constexpr qint64 mebibyte = 1 << 20;
    QFile file(m_folder.filePath("sparse ß"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(gMakeSparse(file.fileName()));
    if (!gMakesSparseFiles()) {
        QSKIP("this system accepts the call without an effect");
    }
    QVERIFY(file.resize(512 * mebibyte));
    QVERIFY(file.seek(512 * mebibyte - 1));
    QCOMPARE(file.write("x"), qint64{1});
    QVERIFY(file.flush());
    const qint64 occupied = gOccupiedBytes(file.fileName());
    QVERIFY2(occupied >= 0 && occupied < mebibyte, qPrintable(QString::number(occupied)));
}

void tst_SparseFile::the_content_stays()
{
    const QString path = gPutFile(m_folder.filePath("content"), "bytes");
    QVERIFY(gMakeSparse(path));
    QCOMPARE(gReadFile(path), QByteArray("bytes"));
}

QTEST_GUILESS_MAIN(tst_SparseFile)
#include "tst_SparseFile.moc"
