// SPDX-License-Identifier: MIT

#include "update/base/SizeText.h"

#include <QtTest>

class tst_SizeText : public QObject
{
    Q_OBJECT

private slots:
    void the_text_is_data();
    void the_text_is();
};

void tst_SizeText::the_text_is_data()
{
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<QString>("expected");
    QTest::newRow("nothing_has_an_empty_unit") << qint64(0) << "0.00 ";
    QTest::newRow("less_than_nothing_reads_as_nothing") << qint64(-1536) << "0.00 ";
    QTest::newRow("the_smallest_number_reads_as_nothing")
        << std::numeric_limits<qint64>::min() << "0.00 ";
    QTest::newRow("one_byte") << qint64(1) << "1.00 Bytes";
    QTest::newRow("512_bytes") << qint64(512) << "512.00 Bytes";
    QTest::newRow("the_last_count_in_bytes") << qint64(1023) << "1023.00 Bytes";
    QTest::newRow("the_first_count_in_kb") << qint64(1024) << "1.00 KB";
    QTest::newRow("one_and_a_half_kb") << qint64(1536) << "1.50 KB";
    QTest::newRow("the_last_count_in_kb_is_rounded") << qint64(1048575) << "1024.00 KB";
    QTest::newRow("the_first_count_in_mb") << qint64(1048576) << "1.00 MB";
    QTest::newRow("the_last_count_in_mb_is_rounded") << qint64(1073741823) << "1024.00 MB";
    QTest::newRow("the_first_count_in_gb") << qint64(1073741824) << "1.00 GB";
    QTest::newRow("above_the_32_bit_numbers") << qint64(5905580032) << "5.50 GB";
    QTest::newRow("there_is_no_unit_above_gb") << qint64(1099511627776) << "1024.00 GB";
}

void tst_SizeText::the_text_is()
{
    QFETCH(qint64, bytes);
    QFETCH(QString, expected);
    QCOMPARE(gFormatSize(bytes), expected);
}

QTEST_GUILESS_MAIN(tst_SizeText)
#include "tst_SizeText.moc"
