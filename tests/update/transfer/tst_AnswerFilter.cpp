// SPDX-License-Identifier: MIT

#include "update/transfer/AnswerFilter.h"

#include "tests/support/LogCapture.h"
#include "tests/update/UpdateRig.h"
#include "update/transfer/FetchMode.h"
#include "update/transfer/RangeHttp.h"
#include "update/transfer/RangeStore.h"

#include <QNetworkAccessManager>
#include <QtTest>

class tst_AnswerFilter : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void an_answer_is_judged_once_data();
    void an_answer_is_judged_once();
    void the_next_reply_is_judged_anew();
    void a_page_is_not_judged_and_logged_once();
    void an_error_page_is_taken_and_not_judged();

private:
    /// Lets the filter see every chunk of an answer. @return what it gave, each outcome once in a row
    QList<int> Filter(const HttpAnswer &answer);

    std::unique_ptr<UpdateRig> m_rig;
    std::unique_ptr<ResumeState> m_state;
    std::unique_ptr<RangeStore> m_store;
    std::unique_ptr<AnswerFilter> m_filter;
    int m_chunks = 0;
};

namespace
{
class CountingMode : public FetchMode
{
public:
    explicit CountingMode(RangeVerdict verdict)
        : m_verdict(verdict)
    {
    }
    QNetworkRequest MakeRequest(const QUrl &url) override { return gPackageRequest(url); }
    RangeVerdict Judge(const RangeAnswer & /*answer*/) const override
    {
        ++judged;
        return m_verdict;
    }
    void Accept(const RangeAnswer & /*answer*/) override { ++accepted; }
    bool Record(qint64 /*bytes*/) override { return true; }
    bool RefusesExcess() const override { return false; }
    bool EndsWithLastByte() const override { return true; }
    bool IsLateCut(QNetworkReply::NetworkError /*code*/) const override { return false; }

    mutable int judged = 0;
    int accepted = 0;

private:
    RangeVerdict m_verdict;
};

constexpr int writes = int(AnswerFilter::Outcome::Write);
constexpr int ignores = int(AnswerFilter::Outcome::Ignore);
constexpr int refuses = int(AnswerFilter::Outcome::Refuse);

HttpAnswer gChunks(int status, const QByteArray &type)
{
    HttpAnswer answer = HttpAnswer::Body(QByteArray(5000, 'b'));
    answer.status = status;
    answer.contentType = type;
    answer.chunkSize = 1000;
    answer.chunkPauseMs = 20;
    return answer;
}
const QByteArray packageType = "application/octet-stream";
} // namespace

void tst_AnswerFilter::init()
{
    m_rig = std::make_unique<UpdateRig>();
    m_state = std::make_unique<ResumeState>(m_rig->ConfigFolder());
    m_store = std::make_unique<RangeStore>(*m_state);
    m_filter = std::make_unique<AnswerFilter>(*m_store);
    m_chunks = 0;
}

void tst_AnswerFilter::cleanup()
{
    m_filter.reset();
    m_store.reset();
    m_state.reset();
    m_rig.reset();
}

QList<int> tst_AnswerFilter::Filter(const HttpAnswer &answer)
{
    m_rig->Server().Serve("/answer", answer);
    QList<int> outcomes;
    QNetworkAccessManager network;
    const std::unique_ptr<QNetworkReply> reply(
        network.get(gPackageRequest(m_rig->Server().Url("/answer"))));
    connect(reply.get(), &QNetworkReply::readyRead, this, [&] {
        ++m_chunks;
        const int outcome = int(m_filter->Filter(reply.get(), "tst_AnswerFilter"));
        if (outcomes.isEmpty() || outcomes.last() != outcome) {
            outcomes.append(outcome);
        }
    });
    const bool isEnded = QTest::qWaitFor([&reply] { return reply->isFinished(); });
    return isEnded ? outcomes : QList<int>();
}

void tst_AnswerFilter::an_answer_is_judged_once_data()
{
    QTest::addColumn<int>("verdict");
    QTest::addColumn<int>("outcome");
    QTest::addColumn<int>("accepted");
    QTest::newRow("when_it_is_accepted") << int(RangeVerdict::Accepted) << writes << 1;
    QTest::newRow("when_it_is_refused") << int(RangeVerdict::OtherOffset) << refuses << 0;
    QTest::newRow("when_it_is_of_another_version")
        << int(RangeVerdict::OtherVersion) << refuses << 0;
}

void tst_AnswerFilter::an_answer_is_judged_once()
{
    QFETCH(int, verdict);
    QFETCH(int, outcome);
    QFETCH(int, accepted);
    const LogCapture log;
    CountingMode mode{RangeVerdict(verdict)};
    m_filter->Begin(mode);
    QCOMPARE(Filter(gChunks(206, packageType)), QList<int>{outcome});
    QVERIFY(m_chunks > 1);
    QCOMPARE(mode.judged, 1);
    QCOMPARE(mode.accepted, accepted);
    QCOMPARE(log.CountContaining("is refused, HTTP status 206"), 1 - accepted);
}

void tst_AnswerFilter::the_next_reply_is_judged_anew()
{
    CountingMode accepting(RangeVerdict::Accepted);
    m_filter->Begin(accepting);
    QCOMPARE(Filter(gChunks(206, packageType)), QList<int>{writes});
    CountingMode refusing(RangeVerdict::OtherLength);
    m_filter->Begin(refusing);
    QCOMPARE(Filter(gChunks(206, packageType)), QList<int>{refuses});
    QCOMPARE(refusing.judged, 1);
}

void tst_AnswerFilter::a_page_is_not_judged_and_logged_once()
{
    const LogCapture log;
    CountingMode mode(RangeVerdict::Accepted);
    m_filter->Begin(mode);
    QCOMPARE(Filter(gChunks(200, "text/html")), QList<int>{ignores});
    QVERIFY(m_chunks > 1);
    QCOMPARE(mode.judged + mode.accepted, 0);
    QCOMPARE(log.CountContaining("wrong content type \"text/html\""), 1);
}

void tst_AnswerFilter::an_error_page_is_taken_and_not_judged()
{
    CountingMode mode(RangeVerdict::Accepted);
    m_filter->Begin(mode);
    QCOMPARE(Filter(gChunks(400, packageType)), QList<int>{ignores});
    QCOMPARE(mode.judged + mode.accepted, 0);
}

QTEST_MAIN(tst_AnswerFilter)
#include "tst_AnswerFilter.moc"
