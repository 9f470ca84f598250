// SPDX-License-Identifier: MIT

#include "tests/demo/ServeProcess.h"
#include "tests/support/TestCertificates.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QtTest>

#include <memory>

/// quillon-serve over TLS, and the statistics records that it collects.
class tst_QuillonServeTls : public QObject
{
    Q_OBJECT

private:
    QStringList TlsOptions() const;
    std::unique_ptr<QNetworkReply> Get(const QString &address);
    static int Status(const std::unique_ptr<QNetworkReply> &reply);

    TestCertificates m_certificates;
    QTemporaryDir m_directory;
    QNetworkAccessManager m_network;

private slots:
    void initTestCase();
    void the_second_line_of_output_is_the_encrypted_template();
    void a_record_is_answered_with200_and_printed_as_one_json_line();
    void a_record_that_is_no_json_is_printed_as_text();
    void an_untrusted_service_is_not_talked_to();
    void tls_needs_port_certificate_and_key_data();
    void tls_needs_port_certificate_and_key();
    void a_key_that_does_not_fit_is_an_error();
};

QStringList tst_QuillonServeTls::TlsOptions() const
{
    return {QStringLiteral("--tls-port"), QStringLiteral("0"),     QStringLiteral("--cert"),
            m_certificates.ServerFile(),  QStringLiteral("--key"), m_certificates.ServerKeyFile()};
}

std::unique_ptr<QNetworkReply> tst_QuillonServeTls::Get(const QString &address)
{
    QNetworkRequest request((QUrl(address)));
    request.setRawHeader("Connection", "close");
    request.setRawHeader("User-Agent", "Tester/1");
    std::unique_ptr<QNetworkReply> reply(m_network.get(request));
    QSignalSpy finished(reply.get(), &QNetworkReply::finished);
    finished.wait(10000);
    return reply;
}

int tst_QuillonServeTls::Status(const std::unique_ptr<QNetworkReply> &reply)
{
    return reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

/// The encrypted service's address, "https://127.0.0.1:PORT", from its second line.
static QString gTlsAddress(ServeProcess &service)
{
    while (!service.Process().canReadLine() && service.Process().waitForReadyRead(10000)) {
    }
    return QString::fromUtf8(service.Process().readLine()).section(QLatin1Char('/'), 0, 2);
}

static QJsonObject gNextRecord(ServeProcess &service)
{
    while (!service.Process().canReadLine() && service.Process().waitForReadyRead(10000)) {
    }
    return QJsonDocument::fromJson(service.Process().readLine()).object();
}

void tst_QuillonServeTls::initTestCase()
{
    QFile manifest(m_directory.filePath(QStringLiteral("manifest.xml")));
    QVERIFY(manifest.open(QIODevice::WriteOnly));
    manifest.write("<any/>");
}

void tst_QuillonServeTls::an_untrusted_service_is_not_talked_to()
{
    const TestCertificates strangers;
    ServeProcess service(m_directory.path(), {QStringLiteral("--tls-port"), QStringLiteral("0"),
                                              QStringLiteral("--cert"), strangers.ServerFile(),
                                              QStringLiteral("--key"), strangers.ServerKeyFile()});
    const auto reply = Get(gTlsAddress(service) + QStringLiteral("/update?version=1"));
    QCOMPARE(reply->error(), QNetworkReply::SslHandshakeFailedError);
}

void tst_QuillonServeTls::the_second_line_of_output_is_the_encrypted_template()
{
    m_certificates.TrustAuthority();
    ServeProcess service(m_directory.path(), TlsOptions());
    QVERIFY(service.Template().startsWith(QStringLiteral("http://127.0.0.1:")));
    const QString address = gTlsAddress(service);
    QVERIFY(address.startsWith(QStringLiteral("https://127.0.0.1:")));
    const auto reply = Get(address + QStringLiteral("/update?pid=&version=&email="));
    QCOMPARE(Status(reply), 200);
    QCOMPARE(reply->readAll(), QByteArray("<any/>"));
}

void tst_QuillonServeTls::a_record_is_answered_with200_and_printed_as_one_json_line()
{
    ServeProcess service(m_directory.path(), TlsOptions());
    const auto reply =
        Get(gTlsAddress(service) +
            QStringLiteral("/tallow/visit/?data={\"act\":\"a+b%20c\",\"dvalue\":0}"));
    QCOMPARE(Status(reply), 200);
    const QJsonObject line = gNextRecord(service);
    QCOMPARE(line.value(QStringLiteral("data")).toObject(),
             (QJsonObject{{QStringLiteral("act"), QStringLiteral("a+b c")},
                          {QStringLiteral("dvalue"), 0}}));
    QCOMPARE(line.value(QStringLiteral("userAgent")).toString(), QStringLiteral("Tester/1"));
    const QDateTime time =
        QDateTime::fromString(line.value(QStringLiteral("time")).toString(), Qt::ISODateWithMs);
    QVERIFY(time.isValid());
    QCOMPARE(time.timeSpec(), Qt::UTC);
}

void tst_QuillonServeTls::a_record_that_is_no_json_is_printed_as_text()
{
    ServeProcess service(m_directory.path(), TlsOptions());
    const auto reply = Get(gTlsAddress(service) + QStringLiteral("/tallow/visit/?data=half{"));
    QCOMPARE(Status(reply), 200);
    QCOMPARE(gNextRecord(service).value(QStringLiteral("data")).toString(),
             QStringLiteral("half{"));
}

void tst_QuillonServeTls::tls_needs_port_certificate_and_key_data()
{
    QTest::addColumn<int>("missing");
    QTest::newRow("without_the_port") << 0;
    QTest::newRow("without_the_certificate") << 2;
    QTest::newRow("without_the_key") << 4;
}

void tst_QuillonServeTls::tls_needs_port_certificate_and_key()
{
    QFETCH(int, missing);
    QStringList options = TlsOptions();
    options.removeAt(missing);
    options.removeAt(missing);
    ServeProcess service(m_directory.path(), options);
    QTRY_COMPARE_WITH_TIMEOUT(service.Process().state(), QProcess::NotRunning, 10000);
    QCOMPARE(service.Process().exitCode(), 2);
    QVERIFY(service.Process().readAllStandardError().contains(
        "--tls-port, --cert and --key go together"));
}

void tst_QuillonServeTls::a_key_that_does_not_fit_is_an_error()
{
    const TestCertificates others;
    QStringList options = TlsOptions();
    options.last() = others.ServerKeyFile();
    ServeProcess service(m_directory.path(), options);
    QTRY_COMPARE_WITH_TIMEOUT(service.Process().state(), QProcess::NotRunning, 10000);
    QCOMPARE(service.Process().exitCode(), 1);
    QVERIFY(service.Process().readAllStandardError().contains("cannot use the certificate"));
}

QTEST_GUILESS_MAIN(tst_QuillonServeTls)

#include "tst_QuillonServeTls.moc"
