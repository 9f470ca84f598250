// SPDX-License-Identifier: MIT

#include "tests/update/hostile/HostileScripts.h"

#include <QtTest>

/// Ranges that stall or trickle, and ranges of more than one version of the package.
class tst_HostilePace : public QObject
{
    Q_OBJECT

private slots:
    void an_odd_pace_data();
    void an_odd_pace() { gCheckHostileRow(); }
    void a_mixed_file_data();
    void a_mixed_file() { gCheckHostileRow(); }
};

void tst_HostilePace::an_odd_pace_data()
{
    const FaultAnswer stalls = gHonest().StallAfter(7000);
    gAddHostileRows({
        {"the_second_range_stalls_once", gAtFirst(2, stalls), installed},
        {"the_last_range_stalls_once", gAtFirst(5, stalls), installed},
        {"all_ranges_stall_once", gAllRangesAtFirst(stalls), installed},
        {"the_second_range_stalls_behind_its_head_once", gAtFirst(2, gHonest().StallAfter(0)),
         installed},
        {"the_second_range_stalls_again_and_again_but_goes_on", gAlways(2, stalls), installed},
        {"the_second_range_is_silent_twice", gAtFirst(2, FaultAnswer::Silence(), 2), installed},
        {"the_second_range_is_silent_for_good", gAlways(2, FaultAnswer::Silence()), told,
         "stall, range 2"},
        {"all_ranges_are_silent_for_good", gAllRanges(FaultAnswer::Silence()), told,
         "stall, range"},
        {"the_first_range_stalls_and_is_silent_from_then_on",
         [stalls](FaultScript &script) {
             HostileWorld::Range(script, 1).Answer(stalls).Then(FaultAnswer::Silence());
         },
         told, "stall, range 1"},
        {"a_late_first_byte", gAlways(4, gHonest().FirstByteAfter(60)), installed},
        {"a_pause_within_a_range", gAlways(4, gHonest().PauseAfter(5000, 60)), installed},
        {"a_few_bytes_at_a_time", gAllRanges(gHonest().Pieces(400, 5)), installed},
        {"a_few_bytes_at_a_time_and_no_length", gAllRanges(gHonest().Pieces(400, 5).NoLength()),
         installed},
        {"one_byte_at_a_time_up_to_where_it_is_cut_then_the_rest",
         gAtFirst(2, gHonest().Pieces(1, 20).CutAfter(20)), installed},
    });
}

void tst_HostilePace::a_mixed_file_data()
{
    static const QByteArray sameSize = QByteArray(HostileWorld::Package()).replace(0, 5, "OTHER");
    static const QByteArray larger = HostileWorld::Package() + QByteArray(5000, 'l');
    static const QByteArray smaller = HostileWorld::Package().chopped(5000);
    gAddHostileRows({
        {"a_larger_file_from_the_third_range_on", gAlways(3, FaultAnswer::File(larger)), told,
         "belongs to another package"},
        {"a_larger_file_for_the_last_range", gAlways(5, FaultAnswer::File(larger)), told},
        {"a_smaller_file_for_the_last_range", gAlways(5, FaultAnswer::File(smaller)), told,
         "belongs to another package"},
        {"a_larger_file_for_every_range", gAllRanges(FaultAnswer::File(larger)), told,
         "belongs to another package"},
        {"another_file_of_the_same_size_by_its_entity_tag",
         [](FaultScript &script) {
             script.When("GET", "/files/setup.exe").Answer(gHonest().Header("ETag", "\"old\""));
             HostileWorld::Range(script, 1).Answer(
                 FaultAnswer::File(sameSize).Header("ETag", "\"new\""));
         },
         told, "replaced on the server", true},
        {"another_file_of_the_same_size_behind_a_cut_by_its_date",
         [](FaultScript &script) {
             const QByteArray before = "Mon, 02 Mar 2026 10:00:00 GMT";
             const QByteArray now = "Wed, 04 Mar 2026 10:00:00 GMT";
             script.When("GET", "/files/setup.exe")
                 .Answer(gHonest().Header("Last-Modified", before).Header("Date", now));
             HostileWorld::Range(script, 1)
                 .Answer(gHonest().Header("Last-Modified", before).Header("Date", now).CutAfter(3))
                 .Then(FaultAnswer::File(sameSize)
                           .Header("Last-Modified", "Tue, 03 Mar 2026 10:00:00 GMT")
                           .Header("Date", now));
         },
         told, "replaced on the server", true},
        {"the_same_file_with_a_weak_entity_tag_for_each_range",
         [](FaultScript &script) {
             for (int range = 1; range <= 5; ++range) {
                 const QByteArray tag = "W/\"" + QByteArray::number(range) + '"';
                 HostileWorld::Range(script, range).Answer(gHonest().Header("ETag", tag));
             }
         },
         installed},
        {"the_same_file_whose_date_is_always_now",
         [](FaultScript &script) {
             for (int range = 1; range <= 5; ++range) {
                 const QByteArray now =
                     "Wed, 04 Mar 2026 10:00:0" + QByteArray::number(range) + " GMT";
                 HostileWorld::Range(script, range)
                     .Answer(gHonest().Header("Last-Modified", now).Header("Date", now));
             }
         },
         installed},
    });
}

QTEST_MAIN(tst_HostilePace)
#include "tst_HostilePace.moc"
