// SPDX-License-Identifier: MIT

#include "update/transfer/RangeAnswer.h"

#include <QtTest>

/// Which answers to a request for bytes 200 to 299 of a package of 1000 may be written.
class tst_RangeAnswer : public QObject
{
    Q_OBJECT

private slots:
    void an_answer_is_judged_data();
    void an_answer_is_judged();
    void the_size_of_an_unknown_package_is_not_compared();
    void what_names_a_version_data();
    void what_names_a_version();
    void every_verdict_has_words();
};

Q_DECLARE_METATYPE(RangeVerdict)

void tst_RangeAnswer::an_answer_is_judged_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("contentRange");
    QTest::addColumn<QByteArray>("contentLength");
    QTest::addColumn<QByteArray>("contentEncoding");
    QTest::addColumn<RangeVerdict>("verdict");

    const auto row = [](const char *name, int status, const char *range, const char *length,
                        const char *encoding, RangeVerdict verdict) {
        QTest::newRow(name) << status << QByteArray(range) << QByteArray(length)
                            << QByteArray(encoding) << verdict;
    };
    const RangeVerdict accepted = RangeVerdict::Accepted;
    const RangeVerdict offset = RangeVerdict::OtherOffset;
    const RangeVerdict package = RangeVerdict::OtherPackage;
    const RangeVerdict length = RangeVerdict::OtherLength;
    const RangeVerdict compressed = RangeVerdict::Compressed;

    row("the_part_that_was_asked_for", 206, "bytes 200-299/1000", "100", "", accepted);
    row("the_part_of_a_size_not_told", 206, "bytes 200-299/*", "100", "", accepted);
    row("the_part_without_a_length", 206, "bytes 200-299/1000", "", "", accepted);
    row("the_part_ending_early", 206, "bytes 200-249/1000", "50", "", accepted);
    row("the_part_ending_late", 206, "bytes 200-999/1000", "800", "", accepted);
    row("the_part_with_a_length_that_contradicts", 206, "bytes 200-299/1000", "7", "", accepted);
    row("the_part_in_capitals", 206, "BYTES 200-299/1000", "100", "", accepted);
    row("the_part_with_blanks", 206, " bytes  200 - 299 / 1000 ", "100", "", accepted);
    row("the_part_not_compressed_and_said_so", 206, "bytes 200-299/1000", "100", "Identity",
        accepted);
    row("an_earlier_part", 206, "bytes 199-299/1000", "101", "", offset);
    row("a_later_part", 206, "bytes 201-299/1000", "99", "", offset);
    row("the_first_bytes", 206, "bytes 0-99/1000", "100", "", offset);
    row("another_part_of_the_same_length", 206, "bytes 300-399/1000", "100", "", offset);
    row("a_whole_that_says_it_is_another_part", 200, "bytes 0-99/1000", "100", "", offset);
    row("a_part_of_a_longer_package", 206, "bytes 200-299/1001", "100", "", package);
    row("a_part_of_a_shorter_package", 206, "bytes 200-299/300", "100", "", package);
    row("a_part_without_a_word_where", 206, "", "100", "", accepted);
    row("a_part_without_a_word_where_of_another_length", 206, "", "99", "", length);
    row("a_part_without_any_word", 206, "", "", "", length);
    row("a_garbled_word_where_of_the_right_length", 206, "elephants 1-2/3", "100", "", accepted);
    row("a_garbled_word_where_of_another_length", 206, "bytes x-y/z", "800", "", length);
    row("ends_in_the_wrong_order", 206, "bytes 200-199/1000", "800", "", length);
    row("an_end_behind_the_package", 206, "bytes 200-1000/1000", "801", "", length);
    row("a_negative_start", 206, "bytes -200-299/1000", "500", "", length);
    row("a_start_that_does_not_fit", 206, "bytes 99999999999999999999-5/1000", "7", "", length);
    row("no_total_at_all", 206, "bytes 200-299", "7", "", length);
    row("the_whole_package", 200, "", "1000", "", length);
    row("an_answer_of_the_right_length", 200, "", "100", "", accepted);
    row("the_length_once_more", 200, "", "100, 100", "", accepted);
    row("two_lengths", 200, "", "100, 1000", "", length);
    row("a_length_with_a_sign", 200, "", "+100", "", length);
    row("no_length", 200, "", "", "", length);
    row("nothing", 204, "", "0", "", length);
    row("a_compressed_part", 206, "bytes 200-299/1000", "100", "gzip", compressed);
    row("a_part_compressed_in_another_way", 206, "bytes 200-299/1000", "100", "br", compressed);
    row("a_compressed_answer_of_the_right_length", 200, "", "100", "deflate", compressed);
}

void tst_RangeAnswer::an_answer_is_judged()
{
    QFETCH(int, status);
    QFETCH(QByteArray, contentRange);
    QFETCH(QByteArray, contentLength);
    QFETCH(QByteArray, contentEncoding);
    QFETCH(RangeVerdict, verdict);
    const RangeAnswer answer{status, contentRange, contentLength, contentEncoding, {}, {}, {}};
    QCOMPARE(gJudgeAnswer({200, 100, 1000}, answer), verdict);
}

void tst_RangeAnswer::the_size_of_an_unknown_package_is_not_compared()
{
    const RangeAnswer answer{206, "bytes 200-299/77777", "100", {}, {}, {}, {}};
    QCOMPARE(gJudgeAnswer({200, 100, 0}, answer), RangeVerdict::Accepted);
}

void tst_RangeAnswer::what_names_a_version_data()
{
    QTest::addColumn<QByteArray>("tag");
    QTest::addColumn<QByteArray>("lastModified");
    QTest::addColumn<QByteArray>("version");
    const QByteArray minuteAgo = "Mon, 02 Mar 2026 09:59:00 GMT";
    QTest::newRow("a_strong_tag") << QByteArray(" \"tag\" ") << minuteAgo << QByteArray("\"tag\"");
    QTest::newRow("a_weak_tag") << QByteArray("W/\"tag\"") << minuteAgo << QByteArray();
    QTest::newRow("a_date_a_minute_ago") << QByteArray() << minuteAgo << minuteAgo;
    QTest::newRow("a_later_date") << QByteArray() << QByteArray("Mon, 02 Mar 2026 09:59:01 GMT")
                                  << QByteArray();
    QTest::newRow("no_date") << QByteArray() << QByteArray("yesterday") << QByteArray();
    QTest::newRow("nothing") << QByteArray() << QByteArray() << QByteArray();
}

void tst_RangeAnswer::what_names_a_version()
{
    QFETCH(QByteArray, tag);
    QFETCH(QByteArray, lastModified);
    const QByteArray date = "Mon, 02 Mar 2026 10:00:00 GMT";
    QTEST(gValidator({206, {}, {}, {}, tag, lastModified, date}), "version");
    QVERIFY(gValidator({206, {}, {}, {}, {}, lastModified, {}}).isEmpty());
}

void tst_RangeAnswer::every_verdict_has_words()
{
    for (RangeVerdict verdict :
         {RangeVerdict::Accepted, RangeVerdict::Compressed, RangeVerdict::OtherOffset,
          RangeVerdict::OtherPackage, RangeVerdict::OtherLength}) {
        QVERIFY(qstrlen(gVerdictText(verdict)) > 0);
    }
}

QTEST_GUILESS_MAIN(tst_RangeAnswer)
#include "tst_RangeAnswer.moc"
