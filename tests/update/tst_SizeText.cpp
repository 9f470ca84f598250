#include "update/SizeText.h"

#include <QtTest>

class tst_SizeText : public QObject
{
    Q_OBJECT

private slots:
    void TheTextIs_data();
    void TheTextIs();
};

void tst_SizeText::TheTextIs_data()
{
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<QString>("expected");
    QTest::newRow("nothing has an empty unit") << qint64(0) << "0.00 ";
    QTest::newRow("less than nothing reads as nothing") << qint64(-1536) << "0.00 ";
    QTest::newRow("the smallest number reads as nothing")
        << std::numeric_limits<qint64>::min() << "0.00 ";
    QTest::newRow("one byte") << qint64(1) << "1.00 Bytes";
    QTest::newRow("512 bytes") << qint64(512) << "512.00 Bytes";
    QTest::newRow("the last count in bytes") << qint64(1023) << "1023.00 Bytes";
    QTest::newRow("the first count in KB") << qint64(1024) << "1.00 KB";
    QTest::newRow("one and a half KB") << qint64(1536) << "1.50 KB";
    QTest::newRow("the last count in KB is rounded") << qint64(1048575) << "1024.00 KB";
    QTest::newRow("the first count in MB") << qint64(1048576) << "1.00 MB";
    QTest::newRow("the last count in MB is rounded") << qint64(1073741823) << "1024.00 MB";
    QTest::newRow("the first count in GB") << qint64(1073741824) << "1.00 GB";
    QTest::newRow("above the 32-bit numbers") << qint64(5905580032) << "5.50 GB";
    QTest::newRow("there is no unit above GB") << qint64(1099511627776) << "1024.00 GB";
}

void tst_SizeText::TheTextIs()
{
    QFETCH(qint64, bytes);
    QFETCH(QString, expected);
    QCOMPARE(gFormatSize(bytes), expected);
}

QTEST_GUILESS_MAIN(tst_SizeText)
#include "tst_SizeText.moc"
