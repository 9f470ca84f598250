// SPDX-License-Identifier: MIT

#include "tests/update/hostile/HostileScripts.h"

#include <QtTest>

/// Answers to the requests of the five ranges that are not what was asked for.
class tst_HostileRanges : public QObject
{
    Q_OBJECT

private slots:
    void a_cut_connection_data();
    void a_cut_connection() { gCheckHostileRow(); }
    void another_answer_than_the_one_asked_for_data();
    void another_answer_than_the_one_asked_for() { gCheckHostileRow(); }
    void a_lie_in_the_head_data();
    void a_lie_in_the_head() { gCheckHostileRow(); }
};

namespace
{
QByteArray gContentRange(qint64 first, qint64 last, qint64 size)
{
    return "bytes " + QByteArray::number(first) + '-' + QByteArray::number(last) + '/' +
           QByteArray::number(size);
}
} // namespace

void tst_HostileRanges::a_cut_connection_data()
{
    const FaultAnswer cut = gHonest().CutAfter(7000);
    const FaultAnswer reset = gHonest().ResetAfter(7000);
    gAddHostileRows({
        {"the_first_range_is_cut_once", gAtFirst(1, cut), installed},
        {"the_third_range_is_cut_once", gAtFirst(3, cut), installed},
        {"the_last_range_is_cut_once", gAtFirst(5, cut), installed},
        {"all_ranges_are_cut_once", gAllRangesAtFirst(cut), installed},
        {"the_second_range_is_cut_again_and_again_but_goes_on", gAlways(2, cut), installed},
        {"the_last_range_is_cut_again_and_again_but_goes_on", gAlways(5, cut), installed},
        {"all_ranges_bring_a_thousand_bytes_each_time", gAllRanges(gHonest().CutAfter(1000)),
         installed},
        {"the_fourth_range_is_reset_once", gAtFirst(4, reset), installed},
        {"all_ranges_are_reset_again_and_again_but_go_on", gAllRanges(reset), installed},
        {"the_second_range_is_closed_four_times_before_it_answers",
         gAtFirst(2, FaultAnswer::Closed(), 4), installed},
        {"the_second_range_is_never_answered", gAlways(2, FaultAnswer::Closed()), told,
         "range 2 is given up, cut"},
        {"the_last_range_is_always_reset_before_it_answers", gAlways(5, FaultAnswer::WithReset()),
         told, "range 5 is given up, cut"},
        {"no_range_is_ever_answered", gAllRanges(FaultAnswer::Closed()), told, "is given up, cut"},
        {"the_first_range_is_cut_within_its_head_once",
         gAtFirst(1, FaultAnswer::Raw("HTTP/1.1 206 Partial\r\nContent-Ty")), installed},
        {"the_first_range_is_cut_behind_its_head_once", gAtFirst(1, gHonest().CutAfter(0)),
         installed},
        {"the_third_range_is_cut_one_byte_before_its_end", gAtFirst(3, gHonest().CutAfter(19999)),
         installed},
        {"the_third_range_ends_early_in_good_order",
         gAtFirst(3, gHonest().Body(HostileWorld::Package().mid(40000, 500)).Length("500")),
         installed},
        {"the_last_range_ends_early_without_a_length",
         gAtFirst(5, gHonest().NoLength().CutAfter(9)), installed},
        {"every_range_has_no_length_and_is_cut_once",
         gAllRangesAtFirst(gHonest().NoLength().CutAfter(3000)), installed},
    });
}

void tst_HostileRanges::another_answer_than_the_one_asked_for_data()
{
    const FaultAnswer page = FaultAnswer::Text("<html>Please log in</html>", "text/html");
    gAddHostileRows({
        {"the_whole_file_for_the_first_range", gAlways(1, gHonest().OverlookRange()), told,
         "range 1 is refused, HTTP status 200"},
        {"the_whole_file_for_the_second_range", gAlways(2, gHonest().OverlookRange()), told,
         "range 2 is refused, HTTP status 200"},
        {"the_whole_file_for_the_last_range", gAlways(5, gHonest().OverlookRange()), told,
         "range 5 is refused, HTTP status 200"},
        {"the_whole_file_for_every_range", gAllRanges(gHonest().OverlookRange()), told},
        {"the_whole_file_without_a_length_for_every_range",
         gAllRanges(gHonest().OverlookRange().NoLength()), told},
        {"the_second_range_from_one_byte_further_on", gAlways(2, gHonest().Shifted(1)), told,
         "starts at another byte"},
        {"the_second_range_from_one_byte_before", gAlways(2, gHonest().Shifted(-1)), told,
         "starts at another byte"},
        {"the_last_range_from_where_the_first_one_begins", gAlways(5, gHonest().Shifted(-80000)),
         told, "starts at another byte"},
        {"what_is_left_of_a_cut_range_from_its_beginning",
         [](FaultScript &script) {
             HostileWorld::Range(script, 2)
                 .Answer(gHonest().CutAfter(7000))
                 .Then(gHonest().Shifted(-7000));
         },
         told, "starts at another byte"},
        {"the_third_range_compressed", gAlways(3, gHonest().Gzip()), told,
         "the answer is compressed"},
        {"the_third_range_said_to_be_compressed_with_its_true_length",
         gAlways(3, gHonest().Header("Content-Encoding", "gzip")), told,
         "the answer is compressed"},
        {"the_last_range_compressed_without_a_length", gAlways(5, gHonest().Gzip().NoLength()),
         told},
        {"several_ranges_in_one_answer",
         gAlways(2, gHonest().Type("multipart/byteranges; boundary=b").ContentRange("")), told},
        {"a_page_to_log_in_at_for_one_range", gAlways(4, page), told, "wrong content type"},
        {"a_page_to_log_in_at_for_all_ranges", gAllRanges(page), told, "wrong content type"},
        {"a_page_to_log_in_at_twice", gAtFirst(4, page, 2), installed, "wrong content type"},
        {"a_page_to_log_in_at_for_all_ranges_once", gAllRangesAtFirst(page), installed,
         "wrong content type"},
        {"a_page_of_three_megabytes",
         gAlways(4, FaultAnswer::Text(QByteArray(3000000, 'p'), "text/html")), told,
         "wrong content type"},
        {"a_page_of_another_version", gAtFirst(2, gHonest().Type("text/html").Header("ETag", "p")),
         installed, "wrong content type"},
        {"a_page_to_log_in_at_as_often_as_the_range", gAlways(4, page.WithStatus(206)), told,
         "wrong content type"},
        {"a_range_of_no_type", gAlways(1, gHonest().Type("")), told, "wrong content type"},
        {"no_content", gAlways(2, FaultAnswer::Status(204)), told},
        {"not_found", gAlways(3, FaultAnswer::Status(404)), told, "HTTP status 404"},
        {"forbidden", gAllRanges(FaultAnswer::Status(403)), told, "HTTP status 403"},
        {"out_of_reach", gAlways(5, FaultAnswer::Status(416)), told, "HTTP status 416"},
        {"a_failing_server", gAlways(1, FaultAnswer::Status(500)), told, "HTTP status 500"},
        {"an_overloaded_server_with_a_page",
         gAllRanges(FaultAnswer::Text("later", "text/plain").WithStatus(503)), told,
         "HTTP status 503"},
        {"an_unheard_of_status", gAlways(2, FaultAnswer::Status(299)), told},
        {"something_that_is_not_http", gAlways(2, FaultAnswer::Raw("SSH-2.0-server\r\n\r\n")),
         told},
    });
}

void tst_HostileRanges::a_lie_in_the_head_data()
{
    using World = HostileWorld;
    gAddHostileRows({
        {"no_content_range_but_the_length_asked_for", gAlways(2, gHonest().ContentRange("")),
         installed},
        {"neither_content_range_nor_length", gAlways(2, gHonest().ContentRange("").NoLength()),
         told, "neither a part that starts there"},
        {"a_content_range_of_another_range_with_the_length_asked_for",
         gAlways(2, gHonest().ContentRange(gContentRange(40000, 59999, World::packageSize))), told,
         "starts at another byte"},
        {"a_content_range_that_begins_below_zero",
         gAlways(1, gHonest().ContentRange("bytes -5-19999/100003").NoLength()), told},
        {"a_content_range_beyond_64_bits",
         gAlways(2, gHonest()
                        .ContentRange("bytes 99999999999999999999-99999999999999999999/1")
                        .NoLength()),
         told},
        {"a_content_range_of_garbage_without_a_length",
         gAlways(2, gHonest().ContentRange("bytes a-b/c").NoLength()), told},
        {"a_content_range_without_a_total",
         gAlways(2, gHonest().ContentRange("bytes 20000-39999/*")), installed},
        {"more_bytes_than_the_head_announces", gAlways(2, gHonest().Longer(5000)), installed},
        {"more_bytes_than_the_head_announces_in_every_range", gAllRanges(gHonest().Longer(5000)),
         installed},
        {"more_bytes_than_were_asked_for_and_no_length",
         gAlways(2, gHonest().NoLength().Longer(5000)), installed},
        {"more_bytes_than_the_package_has_and_no_length",
         gAlways(5, gHonest().NoLength().Longer(5000)), installed},
        {"a_longer_range_than_the_one_asked_for",
         gAlways(3,
                 FaultAnswer::Text(World::Package().mid(40000, 40000), "application/octet-stream")
                     .WithStatus(206)
                     .ContentRange(gContentRange(40000, 79999, World::packageSize))),
         installed},
        {"a_length_that_is_too_small", gAtFirst(2, gHonest().Length("10")), installed},
        {"a_length_of_zero", gAtFirst(2, gHonest().Length("0")), installed},
        {"two_lengths", gAtFirst(2, gHonest().Length("20000").Length("10")), installed},
        {"the_same_length_twice", gAlways(2, gHonest().Length("20000").Length("20000")), installed},
        {"a_length_below_zero", gAtFirst(2, gHonest().Length("-1").CutAfter(20000)), installed},
        {"a_length_beyond_64_bits",
         gAtFirst(2, gHonest().Length("99999999999999999999").CutAfter(20000)), installed},
        {"a_length_that_is_too_large_and_a_close",
         gAlways(5, gHonest().Length("30000").CutAfter(20003)), installed},
        {"a_length_that_is_too_large_and_silence",
         gAlways(5, gHonest().Length("30000").StallAfter(20003)), installed},
        {"very_many_header_fields", gAlways(2, gHonest().HeaderFlood(30000)), installed},
        {"a_body_without_an_end_in_the_first_range", gAlways(1, gHonest().NoLength().Endless()),
         installed},
        {"a_body_without_an_end_in_the_last_range", gAlways(5, gHonest().NoLength().Endless()),
         installed},
        {"a_body_without_an_end_in_every_range", gAllRanges(gHonest().NoLength().Endless()),
         installed},
    });
}

QTEST_MAIN(tst_HostileRanges)
#include "tst_HostileRanges.moc"
