// SPDX-License-Identifier: MIT

#include "update/trust/DecimalNumber.h"

#include <QtTest>

#include <limits>

/// The numbers of a signed manifest: one way to write each.
class tst_DecimalNumber : public QObject
{
    Q_OBJECT

private slots:
    void a_text_is_a_number_data();
    void a_text_is_a_number();
    void a_text_is_no_number_data();
    void a_text_is_no_number();
};

void tst_DecimalNumber::a_text_is_a_number_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<quint64>("number");
    QTest::newRow("zero") << "0" << quint64{0};
    QTest::newRow("one") << "1" << quint64{1};
    QTest::newRow("zeros_behind") << "1000" << quint64{1000};
    QTest::newRow("more_than_32_bits") << "4294967296" << quint64{4294967296};
    QTest::newRow("more_than_63_bits") << "9223372036854775808" << quint64{9223372036854775808U};
    QTest::newRow("all_64_bits") << "18446744073709551615" << std::numeric_limits<quint64>::max();
}

void tst_DecimalNumber::a_text_is_a_number()
{
    QFETCH(QString, text);
    const std::optional<quint64> number = gReadDecimal(text);
    QVERIFY(number.has_value());
    QTEST(*number, "number");
}

void tst_DecimalNumber::a_text_is_no_number_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("one_above_64_bits") << "18446744073709551616";
    QTest::newRow("far_above_64_bits") << "99999999999999999999";
    QTest::newRow("very_long") << QString(100000, '9');
    QTest::newRow("very_many_zeros") << QString(100000, '0');
    QTest::newRow("a_leading_zero") << "01";
    QTest::newRow("two_zeros") << "00";
    QTest::newRow("plus") << "+1";
    QTest::newRow("minus") << "-1";
    QTest::newRow("minus_zero") << "-0";
    QTest::newRow("a_blank_before") << " 1";
    QTest::newRow("a_blank_behind") << "1 ";
    QTest::newRow("a_line_end_behind") << "1\n";
    QTest::newRow("a_blank_within") << "1 000";
    QTest::newRow("a_blank") << " ";
    QTest::newRow("empty") << "";
    QTest::newRow("null") << QString();
    QTest::newRow("hexadecimal") << "0x10";
    QTest::newRow("hexadecimal_digits") << "ff";
    QTest::newRow("a_fraction") << "1.0";
    QTest::newRow("a_comma") << "1,000";
    QTest::newRow("an_exponent") << "1e3";
    QTest::newRow("a_letter_behind") << "1a";
    QTest::newRow("a_null_character_behind") << QString("1") + QChar(0);
    QTest::newRow("arabic_digits") << QString::fromUtf8("\xd9\xa1\xd9\xa2");
    QTest::newRow("wide_digits") << QString::fromUtf8("\xef\xbc\x91");
}

void tst_DecimalNumber::a_text_is_no_number()
{
    QFETCH(QString, text);
    QVERIFY(!gReadDecimal(text).has_value());
}

QTEST_GUILESS_MAIN(tst_DecimalNumber)
#include "tst_DecimalNumber.moc"
