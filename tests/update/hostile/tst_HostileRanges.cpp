#include "tests/update/hostile/HostileScripts.h"

#include <QtTest>

/// Answers to the requests of the five ranges that are not what was asked for.
class tst_HostileRanges : public QObject
{
    Q_OBJECT

private slots:
    void ACutConnection_data();
    void ACutConnection() { Check(); }
    void AnotherAnswerThanTheOneAskedFor_data();
    void AnotherAnswerThanTheOneAskedFor() { Check(); }
    void ALieInTheHead_data();
    void ALieInTheHead() { Check(); }

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

QByteArray gContentRange(qint64 first, qint64 last, qint64 size)
{
    return "bytes " + QByteArray::number(first) + '-' + QByteArray::number(last) + '/' +
           QByteArray::number(size);
}
} // namespace

void tst_HostileRanges::ACutConnection_data()
{
    const FaultAnswer cut = gHonest().CutAfter(7000);
    const FaultAnswer reset = gHonest().ResetAfter(7000);
    AddRows({
        {"the first range is cut once", gAtFirst(1, cut), installed},
        {"the third range is cut once", gAtFirst(3, cut), installed},
        {"the last range is cut once", gAtFirst(5, cut), installed},
        {"all ranges are cut once", gAllRangesAtFirst(cut), installed},
        {"the second range is cut again and again but goes on", gAlways(2, cut), installed},
        {"the last range is cut again and again but goes on", gAlways(5, cut), installed},
        {"all ranges bring a thousand bytes each time", gAllRanges(gHonest().CutAfter(1000)),
         installed},
        {"the fourth range is reset once", gAtFirst(4, reset), installed},
        {"all ranges are reset again and again but go on", gAllRanges(reset), installed},
        {"the second range is closed four times before it answers",
         gAtFirst(2, FaultAnswer::Closed(), 4), installed},
        {"the second range is never answered", gAlways(2, FaultAnswer::Closed()), told,
         "range 2 is given up, cut"},
        {"the last range is always reset before it answers", gAlways(5, FaultAnswer::WithReset()),
         told, "range 5 is given up, cut"},
        {"no range is ever answered", gAllRanges(FaultAnswer::Closed()), told, "is given up, cut"},
        {"the first range is cut within its head once",
         gAtFirst(1, FaultAnswer::Raw("HTTP/1.1 206 Partial\r\nContent-Ty")), installed},
        {"the first range is cut behind its head once", gAtFirst(1, gHonest().CutAfter(0)),
         installed},
        {"the third range is cut one byte before its end", gAtFirst(3, gHonest().CutAfter(19999)),
         installed},
        {"the third range ends early in good order",
         gAtFirst(3, gHonest().Body(HostileWorld::Package().mid(40000, 500)).Length("500")),
         installed},
        {"the last range ends early without a length",
         gAtFirst(5, gHonest().NoLength().CutAfter(9)), installed},
        {"every range has no length and is cut once",
         gAllRangesAtFirst(gHonest().NoLength().CutAfter(3000)), installed},
    });
}

void tst_HostileRanges::AnotherAnswerThanTheOneAskedFor_data()
{
    const FaultAnswer page = FaultAnswer::Text("<html>Please log in</html>", "text/html");
    AddRows({
        {"the whole file for the first range", gAlways(1, gHonest().OverlookRange()), told,
         "range 1 is refused, HTTP status 200"},
        {"the whole file for the second range", gAlways(2, gHonest().OverlookRange()), told,
         "range 2 is refused, HTTP status 200"},
        {"the whole file for the last range", gAlways(5, gHonest().OverlookRange()), told,
         "range 5 is refused, HTTP status 200"},
        {"the whole file for every range", gAllRanges(gHonest().OverlookRange()), told},
        {"the whole file without a length for every range",
         gAllRanges(gHonest().OverlookRange().NoLength()), told},
        {"the second range from one byte further on", gAlways(2, gHonest().Shifted(1)), told,
         "starts at another byte"},
        {"the second range from one byte before", gAlways(2, gHonest().Shifted(-1)), told,
         "starts at another byte"},
        {"the last range from where the first one begins", gAlways(5, gHonest().Shifted(-80000)),
         told, "starts at another byte"},
        {"what is left of a cut range from its beginning",
         [](FaultScript &script) {
             HostileWorld::Range(script, 2)
                 .Answer(gHonest().CutAfter(7000))
                 .Then(gHonest().Shifted(-7000));
         },
         told, "starts at another byte"},
        {"the third range compressed", gAlways(3, gHonest().Gzip()), told,
         "the answer is compressed"},
        {"the third range said to be compressed with its true length",
         gAlways(3, gHonest().Header("Content-Encoding", "gzip")), told,
         "the answer is compressed"},
        {"the last range compressed without a length", gAlways(5, gHonest().Gzip().NoLength()),
         told},
        {"several ranges in one answer",
         gAlways(2, gHonest().Type("multipart/byteranges; boundary=b").ContentRange("")), told},
        {"a page to log in at for one range", gAlways(4, page), told, "wrong content type"},
        {"a page to log in at for all ranges", gAllRanges(page), told, "wrong content type"},
        {"a page to log in at as often as the range", gAlways(4, page.WithStatus(206)), told,
         "wrong content type"},
        {"a range of no type", gAlways(1, gHonest().Type("")), told, "wrong content type"},
        {"no content", gAlways(2, FaultAnswer::Status(204)), told},
        {"not found", gAlways(3, FaultAnswer::Status(404)), told, "HTTP status 404"},
        {"forbidden", gAllRanges(FaultAnswer::Status(403)), told, "HTTP status 403"},
        {"out of reach", gAlways(5, FaultAnswer::Status(416)), told, "HTTP status 416"},
        {"a failing server", gAlways(1, FaultAnswer::Status(500)), told, "HTTP status 500"},
        {"an overloaded server with a page",
         gAllRanges(FaultAnswer::Text("later", "text/plain").WithStatus(503)), told,
         "HTTP status 503"},
        {"an unheard-of status", gAlways(2, FaultAnswer::Status(299)), told},
        {"something that is not HTTP", gAlways(2, FaultAnswer::Raw("SSH-2.0-server\r\n\r\n")),
         told},
    });
}

void tst_HostileRanges::ALieInTheHead_data()
{
    using World = HostileWorld;
    AddRows({
        {"no Content-Range but the length asked for", gAlways(2, gHonest().ContentRange("")),
         installed},
        {"neither Content-Range nor length", gAlways(2, gHonest().ContentRange("").NoLength()),
         told, "neither a part that starts there"},
        {"a Content-Range of another range with the length asked for",
         gAlways(2, gHonest().ContentRange(gContentRange(40000, 59999, World::packageSize))), told,
         "starts at another byte"},
        {"a Content-Range that begins below zero",
         gAlways(1, gHonest().ContentRange("bytes -5-19999/100003").NoLength()), told},
        {"a Content-Range beyond 64 bits",
         gAlways(2, gHonest()
                        .ContentRange("bytes 99999999999999999999-99999999999999999999/1")
                        .NoLength()),
         told},
        {"a Content-Range of garbage without a length",
         gAlways(2, gHonest().ContentRange("bytes a-b/c").NoLength()), told},
        {"a Content-Range without a total",
         gAlways(2, gHonest().ContentRange("bytes 20000-39999/*")), installed},
        {"more bytes than the head announces", gAlways(2, gHonest().Longer(5000)), installed},
        {"more bytes than the head announces in every range", gAllRanges(gHonest().Longer(5000)),
         installed},
        {"more bytes than were asked for, and no length",
         gAlways(2, gHonest().NoLength().Longer(5000)), installed},
        {"more bytes than the package has, and no length",
         gAlways(5, gHonest().NoLength().Longer(5000)), installed},
        {"a longer range than the one asked for",
         gAlways(3,
                 FaultAnswer::Text(World::Package().mid(40000, 40000), "application/octet-stream")
                     .WithStatus(206)
                     .ContentRange(gContentRange(40000, 79999, World::packageSize))),
         installed},
        {"a length that is too small", gAtFirst(2, gHonest().Length("10")), installed},
        {"a length of zero", gAtFirst(2, gHonest().Length("0")), installed},
        {"two lengths", gAtFirst(2, gHonest().Length("20000").Length("10")), installed},
        {"the same length twice", gAlways(2, gHonest().Length("20000").Length("20000")), installed},
        {"a length below zero", gAtFirst(2, gHonest().Length("-1").CutAfter(20000)), installed},
        {"a length beyond 64 bits",
         gAtFirst(2, gHonest().Length("99999999999999999999").CutAfter(20000)), installed},
        {"a length that is too large, and a close",
         gAlways(5, gHonest().Length("30000").CutAfter(20003)), installed},
        {"a length that is too large, and silence",
         gAlways(5, gHonest().Length("30000").StallAfter(20003)), installed},
        {"very many header fields", gAlways(2, gHonest().HeaderFlood(30000)), installed},
        {"a body without an end in the first range", gAlways(1, gHonest().NoLength().Endless()),
         installed},
        {"a body without an end in the last range", gAlways(5, gHonest().NoLength().Endless()),
         installed},
        {"a body without an end in every range", gAllRanges(gHonest().NoLength().Endless()),
         installed},
    });
}

QTEST_MAIN(tst_HostileRanges)
#include "tst_HostileRanges.moc"
