#include "update/RangeAnswer.h"

#include <QtTest>

/// Which answers to a request for bytes 200 to 299 of a package of 1000 may be written.
class tst_RangeAnswer : public QObject
{
    Q_OBJECT

private slots:
    void AnAnswerIsJudged_data();
    void AnAnswerIsJudged();
    void TheSizeOfAnUnknownPackageIsNotCompared();
    void TheVersionIsTheTagOrTheDate();
    void EveryVerdictHasWords();
};

Q_DECLARE_METATYPE(RangeVerdict)

void tst_RangeAnswer::AnAnswerIsJudged_data()
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

    row("the part that was asked for", 206, "bytes 200-299/1000", "100", "", accepted);
    row("the part, of a size not told", 206, "bytes 200-299/*", "100", "", accepted);
    row("the part, without a length", 206, "bytes 200-299/1000", "", "", accepted);
    row("the part, ending early", 206, "bytes 200-249/1000", "50", "", accepted);
    row("the part, ending late", 206, "bytes 200-999/1000", "800", "", accepted);
    row("the part, with a length that contradicts", 206, "bytes 200-299/1000", "7", "", accepted);
    row("the part, in capitals", 206, "BYTES 200-299/1000", "100", "", accepted);
    row("the part, with blanks", 206, " bytes  200 - 299 / 1000 ", "100", "", accepted);
    row("the part, not compressed, and said so", 206, "bytes 200-299/1000", "100", "Identity",
        accepted);
    row("an earlier part", 206, "bytes 199-299/1000", "101", "", offset);
    row("a later part", 206, "bytes 201-299/1000", "99", "", offset);
    row("the first bytes", 206, "bytes 0-99/1000", "100", "", offset);
    row("another part of the same length", 206, "bytes 300-399/1000", "100", "", offset);
    row("a whole that says it is another part", 200, "bytes 0-99/1000", "100", "", offset);
    row("a part of a longer package", 206, "bytes 200-299/1001", "100", "", package);
    row("a part of a shorter package", 206, "bytes 200-299/300", "100", "", package);
    row("a part without a word where", 206, "", "100", "", accepted);
    row("a part without a word where, of another length", 206, "", "99", "", length);
    row("a part without any word", 206, "", "", "", length);
    row("a garbled word where, of the right length", 206, "elephants 1-2/3", "100", "", accepted);
    row("a garbled word where, of another length", 206, "bytes x-y/z", "800", "", length);
    row("ends in the wrong order", 206, "bytes 200-199/1000", "800", "", length);
    row("an end behind the package", 206, "bytes 200-1000/1000", "801", "", length);
    row("a negative start", 206, "bytes -200-299/1000", "500", "", length);
    row("a start that does not fit", 206, "bytes 99999999999999999999-5/1000", "7", "", length);
    row("no total at all", 206, "bytes 200-299", "7", "", length);
    row("the whole package", 200, "", "1000", "", length);
    row("an answer of the right length", 200, "", "100", "", accepted);
    row("the length once more", 200, "", "100, 100", "", accepted);
    row("two lengths", 200, "", "100, 1000", "", length);
    row("a length with a sign", 200, "", "+100", "", length);
    row("no length", 200, "", "", "", length);
    row("nothing", 204, "", "0", "", length);
    row("a compressed part", 206, "bytes 200-299/1000", "100", "gzip", compressed);
    row("a part compressed in another way", 206, "bytes 200-299/1000", "100", "br", compressed);
    row("a compressed answer of the right length", 200, "", "100", "deflate", compressed);
}

void tst_RangeAnswer::AnAnswerIsJudged()
{
    QFETCH(int, status);
    QFETCH(QByteArray, contentRange);
    QFETCH(QByteArray, contentLength);
    QFETCH(QByteArray, contentEncoding);
    QFETCH(RangeVerdict, verdict);
    const RangeAnswer answer{status, contentRange, contentLength, contentEncoding, {}, {}};
    QCOMPARE(gJudgeAnswer({200, 100, 1000}, answer), verdict);
}

void tst_RangeAnswer::TheSizeOfAnUnknownPackageIsNotCompared()
{
    const RangeAnswer answer{206, "bytes 200-299/77777", "100", {}, {}, {}};
    QCOMPARE(gJudgeAnswer({200, 100, 0}, answer), RangeVerdict::Accepted);
}

void tst_RangeAnswer::TheVersionIsTheTagOrTheDate()
{
    QCOMPARE(gValidator({206, {}, {}, {}, "\"tag\"", "date"}), QByteArray("\"tag\""));
    QCOMPARE(gValidator({206, {}, {}, {}, {}, "date"}), QByteArray("date"));
    QCOMPARE(gValidator({206, {}, {}, {}, {}, {}}), QByteArray());
}

void tst_RangeAnswer::EveryVerdictHasWords()
{
    for (RangeVerdict verdict :
         {RangeVerdict::Accepted, RangeVerdict::Compressed, RangeVerdict::OtherOffset,
          RangeVerdict::OtherPackage, RangeVerdict::OtherLength})
        QVERIFY(qstrlen(gVerdictText(verdict)) > 0);
}

QTEST_GUILESS_MAIN(tst_RangeAnswer)
#include "tst_RangeAnswer.moc"
