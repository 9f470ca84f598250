#include "tests/update/hostile/HostileScripts.h"

#include <QtTest>

/// Ranges that stall or trickle, and ranges of more than one version of the package.
class tst_HostilePace : public QObject
{
    Q_OBJECT

private slots:
    void AnOddPace_data();
    void AnOddPace() { Check(); }
    void AMixedFile_data();
    void AMixedFile() { Check(); }

private:
    static void AddRows(const QList<HostileRow> &rows)
    {
        QTest::addColumn<HostileRow>("row");
        for (const HostileRow &row : rows)
            QTest::newRow(row.sentence) << row;
    }
    static void Check()
    {
        QFETCH(HostileRow, row);
        HostileWorld world;
        gCheckHostileDownload(row, world);
    }
};

namespace
{
constexpr auto installed = HostileWorld::End::Installed;
constexpr auto told = HostileWorld::End::Told;
} // namespace

void tst_HostilePace::AnOddPace_data()
{
    const FaultAnswer stalls = gHonest().StallAfter(7000);
    AddRows({
        {"the second range stalls once", gAtFirst(2, stalls), installed},
        {"the last range stalls once", gAtFirst(5, stalls), installed},
        {"all ranges stall once", gAllRangesAtFirst(stalls), installed},
        {"the second range stalls behind its head once", gAtFirst(2, gHonest().StallAfter(0)),
         installed},
        {"the second range stalls again and again but goes on", gAlways(2, stalls), installed},
        {"the second range is silent twice", gAtFirst(2, FaultAnswer::Silence(), 2), installed},
        {"the second range is silent for good", gAlways(2, FaultAnswer::Silence()), told,
         "stall, range 2"},
        {"all ranges are silent for good", gAllRanges(FaultAnswer::Silence()), told,
         "stall, range"},
        {"the first range stalls and is silent from then on",
         [stalls](FaultScript &script) {
             HostileWorld::Range(script, 1).Answer(stalls).Then(FaultAnswer::Silence());
         },
         told, "stall, range 1"},
        {"a late first byte", gAlways(4, gHonest().FirstByteAfter(60)), installed},
        {"a pause within a range", gAlways(4, gHonest().PauseAfter(5000, 60)), installed},
        {"a few bytes at a time", gAllRanges(gHonest().Pieces(400, 5)), installed},
        {"a few bytes at a time, and no length", gAllRanges(gHonest().Pieces(400, 5).NoLength()),
         installed},
        {"one byte at a time up to where it is cut, then the rest",
         gAtFirst(2, gHonest().Pieces(1, 20).CutAfter(20)), installed},
    });
}

void tst_HostilePace::AMixedFile_data()
{
    static const QByteArray sameSize = QByteArray(HostileWorld::Package()).replace(0, 5, "OTHER");
    static const QByteArray larger = HostileWorld::Package() + QByteArray(5000, 'l');
    static const QByteArray smaller = HostileWorld::Package().chopped(5000);
    AddRows({
        {"a larger file from the third range on", gAlways(3, FaultAnswer::File(larger)), told,
         "belongs to another package"},
        {"a larger file for the last range", gAlways(5, FaultAnswer::File(larger)), told},
        {"a smaller file for the last range", gAlways(5, FaultAnswer::File(smaller)), told,
         "belongs to another package"},
        {"a larger file for every range", gAllRanges(FaultAnswer::File(larger)), told,
         "belongs to another package"},
        {"another file of the same size, by its entity tag",
         [](FaultScript &script) {
             script.When("GET", "/files/setup.exe").Answer(gHonest().Header("ETag", "\"old\""));
             HostileWorld::Range(script, 1).Answer(
                 FaultAnswer::File(sameSize).Header("ETag", "\"new\""));
         },
         told, "replaced on the server", true},
        {"another file of the same size behind a cut, by its date",
         [](FaultScript &script) {
             const QByteArray before = "Mon, 02 Mar 2026 10:00:00 GMT";
             script.When("GET", "/files/setup.exe")
                 .Answer(gHonest().Header("Last-Modified", before));
             HostileWorld::Range(script, 1)
                 .Answer(gHonest().Header("Last-Modified", before).CutAfter(3))
                 .Then(FaultAnswer::File(sameSize).Header("Last-Modified",
                                                          "Tue, 03 Mar 2026 10:00:00 GMT"));
         },
         told, "replaced on the server", true},
    });
}

QTEST_MAIN(tst_HostilePace)
#include "tst_HostilePace.moc"
