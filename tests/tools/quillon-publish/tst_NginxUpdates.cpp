// SPDX-License-Identifier: MIT

#include "tests/support/TestFiles.h"
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

QString gLatin1(const char *text)
{
    return QString::fromLatin1(text);
}

QByteArray gRawHeader(const QNetworkReply &reply, const char *name)
{
    return reply.rawHeader(name);
}

int gHttpStatus(const QNetworkReply &reply)
{
    return reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}
} // namespace

/// The documented nginx configuration with a site that quillon-publish has written.
class tst_NginxUpdates : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void the_manifest_is_chosen_by_the_version_of_the_client_data();
    void the_manifest_is_chosen_by_the_version_of_the_client();
    void files_outside_the_service_are_not_served_data();
    void files_outside_the_service_are_not_served();
    void manifests_are_not_kept();
    void the_largest_manifest_is_one_tls_record();
    void head_tells_the_length_of_a_package_data();
    void head_tells_the_length_of_a_package();
    void a_range_of_a_package_is_served();
    void a_statistics_record_is_answered_and_logged();
    void the_address_of_the_user_is_not_logged();

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
    m_desk.Write(gLatin1("notes.md"), "- Exports resume\n");
    m_desk.Write(gLatin1("secret.xml"), "<secret/>");
    const ReleaseDesk::Outcome outcome =
        ReleaseDesk::Run(m_desk.Arguments({}, {ReleaseDesk::Installer(gLatin1("9.2.0.0"))}));
    QCOMPARE(outcome.err, QString());
    QCOMPARE(outcome.code, 0);
    QVERIFY(m_nginx.Start(m_desk.Site()));
}

QNetworkRequest tst_NginxUpdates::Request(const QString &url) const
{
    QNetworkRequest request(QUrl(url, QUrl::TolerantMode));
    request.setHeader(QNetworkRequest::UserAgentHeader, gLatin1("Corvina/9.2"));
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

void tst_NginxUpdates::the_manifest_is_chosen_by_the_version_of_the_client_data()
{
    QTest::addColumn<QString>("query");
    QTest::addColumn<QString>("file");
    const QString others = gLatin1("manifest.xml");
    QTest::newRow("a_version_with_a_patch")
        << gLatin1("pid=1&version=9.2.0.0&email=a@b.example") << gLatin1("manifests/9.2.0.0.xml");
    QTest::newRow("the_new_version")
        << gLatin1("pid=1&version=9.3.0.0&email=") << gLatin1("manifests/9.3.0.0.xml");
    QTest::newRow("an_unknown_version") << gLatin1("pid=&version=8.0&email=") << others;
    QTest::newRow("no_version") << gLatin1("pid=&version=&email=") << others;
    QTest::newRow("a_path_as_the_version") << gLatin1("version=../../secret") << others;
    QTest::newRow("a_path_inside_the_site") << gLatin1("version=../manifests/9.2.0.0") << others;
    QTest::newRow("an_encoded_path") << gLatin1("version=%2e%2e%2f%2e%2e%2fsecret") << others;
}

void tst_NginxUpdates::the_manifest_is_chosen_by_the_version_of_the_client()
{
    QFETCH(QString, query);
    QFETCH(QString, file);
    for (const QString &base : {m_nginx.PlainUrl(), m_nginx.SecureUrl()}) {
        const ReplyPointer reply = Get(base + gLatin1("/update?") + query);
        QCOMPARE(gHttpStatus(*reply), 200);
        QCOMPARE(gRawHeader(*reply, "Content-Type"), QByteArray("application/xml"));
        QCOMPARE(reply->readAll(), gReadFile(m_desk.Site() + QLatin1Char('/') + file));
    }
}

void tst_NginxUpdates::files_outside_the_service_are_not_served_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("a_file_beside_the_site") << gLatin1("/packages/..%2f..%2fsecret.xml");
    QTest::newRow("a_manifest_by_its_file_name") << gLatin1("/manifests/9.2.0.0.xml");
    QTest::newRow("the_list_of_the_packages") << gLatin1("/packages/");
    QTest::newRow("the_root") << gLatin1("/");
}

void tst_NginxUpdates::files_outside_the_service_are_not_served()
{
    QFETCH(QString, path);
    QVERIFY(gHttpStatus(*Get(m_nginx.PlainUrl() + path)) >= 400);
}

void tst_NginxUpdates::manifests_are_not_kept()
{
    QCOMPARE(gRawHeader(*Get(m_nginx.PlainUrl() + gLatin1("/update?version=")), "Cache-Control"),
             QByteArray("no-cache"));
}

void tst_NginxUpdates::the_largest_manifest_is_one_tls_record()
{
    constexpr int largest = 15 * 1024;
    QFile file(m_desk.Site() + gLatin1("/manifests/7.0.xml"));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(QByteArray(largest, 'x')) == largest);
    file.close();

    // Clients parse the part of the answer that comes with the first TLS record.
    QProcess openssl;
    openssl.start(gLatin1("openssl"), {gLatin1("s_client"), gLatin1("-connect"),
                                       m_nginx.SecureUrl().section(QLatin1Char('/'), 2),
                                       gLatin1("-msg"), gLatin1("-ign_eof")});
    openssl.write("GET /update?version=7.0 HTTP/1.1\r\nHost: a\r\nConnection: close\r\n\r\n");
    QVERIFY(openssl.waitForFinished(patienceMs));
    QVERIFY(file.remove());
    const QString records = QString::fromLatin1(openssl.readAllStandardOutput());
    static const QRegularExpression header(
        gLatin1("<<< [^\n]*RecordHeader[^\n]*\n *17 03 03 (..) (..)"));
    int longest = 0;
    auto headers = header.globalMatch(records);
    while (headers.hasNext()) {
        const QRegularExpressionMatch record = headers.next();
        longest = qMax(longest, (record.captured(1) + record.captured(2)).toInt(nullptr, 16));
    }
    QVERIFY2(longest > largest, qPrintable(QString::number(longest)));
}

void tst_NginxUpdates::head_tells_the_length_of_a_package_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("the_installer") << gLatin1("corvina-9.3.0.0.exe");
    QTest::newRow("the_patch") << gLatin1("corvina-9.2.0.0-to-9.3.0.0.patch");
}

void tst_NginxUpdates::head_tells_the_length_of_a_package()
{
    QFETCH(QString, name);
    const QByteArray length =
        QByteArray::number(QFileInfo(m_desk.Site() + gLatin1("/packages/") + name).size());
    for (const QString &base : {m_nginx.PlainUrl(), m_nginx.SecureUrl()}) {
        const ReplyPointer reply =
            Finished(m_network.head(Request(base + gLatin1("/packages/") + name)));
        QCOMPARE(gHttpStatus(*reply), 200);
        QCOMPARE(gRawHeader(*reply, "Content-Length"), length);
        QCOMPARE(gRawHeader(*reply, "Content-Type"), QByteArray("application/octet-stream"));
        QCOMPARE(gRawHeader(*reply, "Cache-Control"),
                 QByteArray("public, max-age=31536000, immutable"));
        QVERIFY(!reply->hasRawHeader("Content-Encoding"));
    }
}

void tst_NginxUpdates::a_range_of_a_package_is_served()
{
    const QByteArray package = gReadFile(ReleaseDesk::Installer(gLatin1("9.3.0.0")));
    const QString url = m_nginx.SecureUrl() + gLatin1("/packages/corvina-9.3.0.0.exe");
    const ReplyPointer middle = Get(url, "bytes=1000-1999");
    QCOMPARE(gHttpStatus(*middle), 206);
    QVERIFY(middle->readAll() == package.mid(1000, 1000));
    const ReplyPointer end = Get(url, "bytes=2000000-");
    QCOMPARE(gHttpStatus(*end), 206);
    QCOMPARE(gRawHeader(*end, "Content-Type"), QByteArray("application/octet-stream"));
    QVERIFY(end->readAll() == package.mid(2000000));
}

void tst_NginxUpdates::a_statistics_record_is_answered_and_logged()
{
    const ReplyPointer reply =
        Get(m_nginx.SecureUrl() +
            gLatin1("/tallow/visit/?data="
                    "{\"act\":\"result\",\"category\":\"upgrade\",\"dvalue\":0,"
                    "\"label\":{\"newver\":\"9.3.0.0\",\"oldver\":\"9.2.0.0\","
                    "\"pid\":\"1234\",\"result\":-3,\"type\":\"full\"},"
                    "\"modver\":\"4.0.0\",\"ostime\":1700000000,\"pagepath\":\"\","
                    "\"tid\":\"tid-upgrade-001\","
                    "\"uid\":\"{0000ABCD-0000-000A-B123-00AABBCCDDEE}\"}"));
    QCOMPARE(gHttpStatus(*reply), 200);
    // nginx writes its line after the answer.
    QByteArray log;
    QTRY_VERIFY((log = m_nginx.Log(gLatin1("update-visits.log"))).endsWith('\n'));
    QCOMPARE(log.count('\n'), 1);
    const QJsonObject line = QJsonDocument::fromJson(log).object();
    QCOMPARE(line.value(gLatin1("agent")).toString(), gLatin1("Corvina/9.2"));
    QCOMPARE(line.value(gLatin1("result")).toInt(), -3);
    QCOMPARE(line.value(gLatin1("oldver")).toString(), gLatin1("9.2.0.0"));
    QCOMPARE(line.value(gLatin1("newver")).toString(), gLatin1("9.3.0.0"));
    QCOMPARE(line.value(gLatin1("type")).toString(), gLatin1("full"));
    QCOMPARE(line.value(gLatin1("pid")).toString(), gLatin1("1234"));
    QCOMPARE(line.value(gLatin1("uid")).toString(),
             gLatin1("0000ABCD-0000-000A-B123-00AABBCCDDEE"));
    QVERIFY(QDateTime::fromString(line.value(gLatin1("time")).toString(), Qt::ISODate).isValid());
    const QByteArray data = line.value(gLatin1("data")).toString().toLatin1();
    const QJsonObject record =
        QJsonDocument::fromJson(QByteArray::fromPercentEncoding(data)).object();
    QCOMPARE(record.value(gLatin1("ostime")).toInt(), 1700000000);
}

void tst_NginxUpdates::the_address_of_the_user_is_not_logged()
{
    QCOMPARE(gHttpStatus(*Get(m_nginx.PlainUrl() +
                              gLatin1("/update?pid=&version=9.2.0.0&email=ann@example.com"))),
             200);
    const ReplyPointer later = Get(m_nginx.PlainUrl() + gLatin1("/packages/after"));
    QByteArray log;
    QTRY_VERIFY((log = m_nginx.Log(gLatin1("updates.log"))).contains("GET /packages/after"));
    QVERIFY(log.contains("GET /manifests/9.2.0.0.xml"));
    QVERIFY(!log.contains("ann@example.com"));
}

QTEST_GUILESS_MAIN(tst_NginxUpdates)
#include "tst_NginxUpdates.moc"
