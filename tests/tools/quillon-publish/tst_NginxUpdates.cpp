#include "tests/tools/quillon-publish/DocumentedNginx.h"
#include "tests/tools/quillon-publish/ReleaseDesk.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QSslConfiguration>
#include <QTest>

namespace
{
constexpr int patienceMs = 10000;

QString gText(const char *text)
{
    return QString::fromLatin1(text);
}

QByteArray gHeader(const QNetworkReply &reply, const char *name)
{
    return reply.rawHeader(name);
}

int gStatus(const QNetworkReply &reply)
{
    return reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}
} // namespace

/// The documented nginx configuration serves what quillon-publish has written, as clients need it.
class tst_NginxUpdates : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void TheManifestIsChosenByTheVersionOfTheClient_data();
    void TheManifestIsChosenByTheVersionOfTheClient();
    void FilesOutsideTheServiceAreNotServed_data();
    void FilesOutsideTheServiceAreNotServed();
    void ManifestsAreNotKept();
    void TheLargestManifestIsOneTlsRecord();
    void HeadTellsTheLengthOfAPackage_data();
    void HeadTellsTheLengthOfAPackage();
    void ARangeOfAPackageIsServed();
    void AStatisticsRecordIsAnsweredAndLogged();
    void TheAddressOfTheUserIsNotLogged();

private:
    using ReplyPointer = std::unique_ptr<QNetworkReply>;

    QNetworkRequest Request(const QString &url) const;
    static ReplyPointer Finished(QNetworkReply *reply);
    ReplyPointer Get(const QString &url, const QByteArray &range = {});

    ReleaseDesk m_desk;
    DocumentedNginx m_nginx;
    QNetworkAccessManager m_network;
};

void tst_NginxUpdates::initTestCase()
{
    m_desk.Write(gText("notes.md"), "- Exports resume\n");
    m_desk.Write(gText("secret.xml"), "<secret/>");
    const ReleaseDesk::Outcome outcome =
        ReleaseDesk::Run(m_desk.Arguments({}, {ReleaseDesk::Installer(gText("9.2.0.0"))}));
    QCOMPARE(outcome.err, QString());
    QCOMPARE(outcome.code, 0);
    QVERIFY(m_nginx.Start(m_desk.Site()));
}

QNetworkRequest tst_NginxUpdates::Request(const QString &url) const
{
    QNetworkRequest request(QUrl(url, QUrl::TolerantMode));
    request.setHeader(QNetworkRequest::UserAgentHeader, gText("Corvina/9.2"));
    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    tls.setCaCertificates({m_nginx.Certificate()});
    request.setSslConfiguration(tls);
    return request;
}

tst_NginxUpdates::ReplyPointer tst_NginxUpdates::Finished(QNetworkReply *reply)
{
    QSignalSpy(reply, &QNetworkReply::finished).wait(patienceMs);
    return ReplyPointer(reply);
}

tst_NginxUpdates::ReplyPointer tst_NginxUpdates::Get(const QString &url, const QByteArray &range)
{
    QNetworkRequest request = Request(url);
    if (!range.isEmpty()) {
        request.setRawHeader("Range", range);
    }
    return Finished(m_network.get(request));
}

void tst_NginxUpdates::TheManifestIsChosenByTheVersionOfTheClient_data()
{
    QTest::addColumn<QString>("query");
    QTest::addColumn<QString>("file");
    const QString others = gText("manifest.xml");
    QTest::newRow("a version with a patch")
        << gText("pid=1&version=9.2.0.0&email=a@b.example") << gText("manifests/9.2.0.0.xml");
    QTest::newRow("the new version")
        << gText("pid=1&version=9.3.0.0&email=") << gText("manifests/9.3.0.0.xml");
    QTest::newRow("an unknown version") << gText("pid=&version=8.0&email=") << others;
    QTest::newRow("no version") << gText("pid=&version=&email=") << others;
    QTest::newRow("a path as the version") << gText("version=../../secret") << others;
    QTest::newRow("a path inside the site") << gText("version=../manifests/9.2.0.0") << others;
    QTest::newRow("an encoded path") << gText("version=%2e%2e%2f%2e%2e%2fsecret") << others;
}

void tst_NginxUpdates::TheManifestIsChosenByTheVersionOfTheClient()
{
    QFETCH(QString, query);
    QFETCH(QString, file);
    for (const QString &base : {m_nginx.PlainUrl(), m_nginx.SecureUrl()}) {
        const ReplyPointer reply = Get(base + gText("/update?") + query);
        QCOMPARE(gStatus(*reply), 200);
        QCOMPARE(gHeader(*reply, "Content-Type"), QByteArray("application/xml"));
        QCOMPARE(reply->readAll(), ReleaseDesk::Read(m_desk.Site() + QLatin1Char('/') + file));
    }
}

void tst_NginxUpdates::FilesOutsideTheServiceAreNotServed_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("a file beside the site") << gText("/packages/..%2f..%2fsecret.xml");
    QTest::newRow("a manifest by its file name") << gText("/manifests/9.2.0.0.xml");
    QTest::newRow("the list of the packages") << gText("/packages/");
    QTest::newRow("the root") << gText("/");
}

void tst_NginxUpdates::FilesOutsideTheServiceAreNotServed()
{
    QFETCH(QString, path);
    QVERIFY(gStatus(*Get(m_nginx.PlainUrl() + path)) >= 400);
}

void tst_NginxUpdates::ManifestsAreNotKept()
{
    QCOMPARE(gHeader(*Get(m_nginx.PlainUrl() + gText("/update?version=")), "Cache-Control"),
             QByteArray("no-cache"));
}

void tst_NginxUpdates::TheLargestManifestIsOneTlsRecord()
{
    constexpr int largest = 15 * 1024;
    QFile file(m_desk.Site() + gText("/manifests/7.0.xml"));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(QByteArray(largest, 'x')) == largest);
    file.close();

    // Clients parse what has come with the first record.
    QProcess openssl;
    openssl.start(gText("openssl"), {gText("s_client"), gText("-connect"),
                                     m_nginx.SecureUrl().section(QLatin1Char('/'), 2),
                                     gText("-msg"), gText("-ign_eof")});
    openssl.write("GET /update?version=7.0 HTTP/1.1\r\nHost: a\r\nConnection: close\r\n\r\n");
    QVERIFY(openssl.waitForFinished(patienceMs));
    QVERIFY(file.remove());
    const QString records = QString::fromLatin1(openssl.readAllStandardOutput());
    static const QRegularExpression header(
        gText("<<< [^\n]*RecordHeader[^\n]*\n *17 03 03 (..) (..)"));
    int longest = 0;
    auto headers = header.globalMatch(records);
    while (headers.hasNext()) {
        const QRegularExpressionMatch record = headers.next();
        longest = qMax(longest, (record.captured(1) + record.captured(2)).toInt(nullptr, 16));
    }
    QVERIFY2(longest > largest, qPrintable(QString::number(longest)));
}

void tst_NginxUpdates::HeadTellsTheLengthOfAPackage_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("the installer") << gText("corvina-9.3.0.0.exe");
    QTest::newRow("the patch") << gText("corvina-9.2.0.0-to-9.3.0.0.patch");
}

void tst_NginxUpdates::HeadTellsTheLengthOfAPackage()
{
    QFETCH(QString, name);
    const QByteArray length =
        QByteArray::number(QFileInfo(m_desk.Site() + gText("/packages/") + name).size());
    for (const QString &base : {m_nginx.PlainUrl(), m_nginx.SecureUrl()}) {
        const ReplyPointer reply =
            Finished(m_network.head(Request(base + gText("/packages/") + name)));
        QCOMPARE(gStatus(*reply), 200);
        QCOMPARE(gHeader(*reply, "Content-Length"), length);
        QCOMPARE(gHeader(*reply, "Content-Type"), QByteArray("application/octet-stream"));
        QCOMPARE(gHeader(*reply, "Cache-Control"),
                 QByteArray("public, max-age=31536000, immutable"));
        QVERIFY(!reply->hasRawHeader("Content-Encoding"));
    }
}

void tst_NginxUpdates::ARangeOfAPackageIsServed()
{
    const QByteArray package = ReleaseDesk::Read(ReleaseDesk::Installer(gText("9.3.0.0")));
    const QString url = m_nginx.SecureUrl() + gText("/packages/corvina-9.3.0.0.exe");
    const ReplyPointer middle = Get(url, "bytes=1000-1999");
    QCOMPARE(gStatus(*middle), 206);
    QVERIFY(middle->readAll() == package.mid(1000, 1000));
    const ReplyPointer end = Get(url, "bytes=2000000-");
    QCOMPARE(gStatus(*end), 206);
    QCOMPARE(gHeader(*end, "Content-Type"), QByteArray("application/octet-stream"));
    QVERIFY(end->readAll() == package.mid(2000000));
}

void tst_NginxUpdates::AStatisticsRecordIsAnsweredAndLogged()
{
    const ReplyPointer reply = Get(
        m_nginx.SecureUrl() + gText("/tallow/visit/?data="
                                    "{\"act\":\"result\",\"category\":\"upgrade\",\"dvalue\":0,"
                                    "\"label\":{\"newver\":\"9.3.0.0\",\"oldver\":\"9.2.0.0\","
                                    "\"pid\":\"1234\",\"result\":-3,\"type\":\"full\"},"
                                    "\"modver\":\"4.0.0\",\"ostime\":1700000000,\"pagepath\":\"\","
                                    "\"tid\":\"tid-upgrade-001\","
                                    "\"uid\":\"{0000ABCD-0000-000A-B123-00AABBCCDDEE}\"}"));
    QCOMPARE(gStatus(*reply), 200);
    // nginx writes its line after the answer.
    QByteArray log;
    QTRY_VERIFY((log = m_nginx.Log(gText("update-visits.log"))).endsWith('\n'));
    QCOMPARE(log.count('\n'), 1);
    const QJsonObject line = QJsonDocument::fromJson(log).object();
    QCOMPARE(line.value(gText("agent")).toString(), gText("Corvina/9.2"));
    QCOMPARE(line.value(gText("result")).toInt(), -3);
    QCOMPARE(line.value(gText("oldver")).toString(), gText("9.2.0.0"));
    QCOMPARE(line.value(gText("newver")).toString(), gText("9.3.0.0"));
    QCOMPARE(line.value(gText("type")).toString(), gText("full"));
    QCOMPARE(line.value(gText("pid")).toString(), gText("1234"));
    QCOMPARE(line.value(gText("uid")).toString(), gText("0000ABCD-0000-000A-B123-00AABBCCDDEE"));
    QVERIFY(QDateTime::fromString(line.value(gText("time")).toString(), Qt::ISODate).isValid());
    const QByteArray data = line.value(gText("data")).toString().toLatin1();
    const QJsonObject record =
        QJsonDocument::fromJson(QByteArray::fromPercentEncoding(data)).object();
    QCOMPARE(record.value(gText("ostime")).toInt(), 1700000000);
}

void tst_NginxUpdates::TheAddressOfTheUserIsNotLogged()
{
    QCOMPARE(gStatus(*Get(m_nginx.PlainUrl() +
                          gText("/update?pid=&version=9.2.0.0&email=ann@example.com"))),
             200);
    const ReplyPointer later = Get(m_nginx.PlainUrl() + gText("/packages/after"));
    QByteArray log;
    QTRY_VERIFY((log = m_nginx.Log(gText("updates.log"))).contains("GET /packages/after"));
    QVERIFY(log.contains("GET /manifests/9.2.0.0.xml"));
    QVERIFY(!log.contains("ann@example.com"));
}

QTEST_GUILESS_MAIN(tst_NginxUpdates)
#include "tst_NginxUpdates.moc"
