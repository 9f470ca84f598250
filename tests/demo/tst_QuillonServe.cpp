// SPDX-License-Identifier: MIT

#include "tests/demo/ServeProcess.h"
#include "tests/support/TestBytes.h"

#include <QDir>
#include <QElapsedTimer>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <memory>
#include <vector>

namespace
{
constexpr int packageSize = 300001;
constexpr int patience = 10000;
} // namespace

/// The update service for one machine, driven as a process.
class tst_QuillonServe : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void prints_its_address_template_when_ready();
    void chooses_the_manifest_by_version_data();
    void chooses_the_manifest_by_version();
    void answers_not_found_without_any_manifest();
    void head_tells_the_size_without_a_body();
    void answers_ranges_data();
    void answers_ranges();
    void refuses_ranges_outside_the_file_data();
    void refuses_ranges_outside_the_file();
    void an_empty_file_has_length_zero();
    void a_missing_package_is_not_found();
    void redirects_take_one_prefix_away_data();
    void redirects_take_one_prefix_away();
    void serves_nothing_outside_its_folders_data();
    void serves_nothing_outside_its_folders();
    void all_connections_share_the_rate();
    void idle_connections_keep_nobody_waiting();
    void the_access_log_has_no_queries();
    void ends_cleanly_in_the_middle_of_an_answer();
    void refuses_wrong_usage_data();
    void refuses_wrong_usage();
    void a_taken_port_is_an_error();

private:
    QNetworkReply *Send(const QByteArray &verb, const QUrl &url, const QByteArray &range = {});
    std::unique_ptr<QNetworkReply> Ask(const QByteArray &verb, const QUrl &url,
                                       const QByteArray &range = {});
    void Write(const QString &path, const QByteArray &content) const;
    static int Status(const std::unique_ptr<QNetworkReply> &reply);

    QTemporaryDir m_directory;
    QByteArray m_package = gTestBytes(packageSize);
    QNetworkAccessManager m_network;
};

void tst_QuillonServe::initTestCase()
{
    QVERIFY(m_directory.isValid());
    QVERIFY(QDir(m_directory.path()).mkpath(QStringLiteral("packages/empty folder")));
    QVERIFY(QDir(m_directory.path()).mkpath(QStringLiteral("manifests")));
    Write(QStringLiteral("manifest.xml"), "<any/>");
    Write(QStringLiteral("manifests/9.1.0.0.xml"), "<own/>");
    Write(QStringLiteral("packages/setup.run"), m_package);
    Write(QStringLiteral("packages/empty"), {});
    Write(QStringLiteral("secret"), "secret");
    QVERIFY(QFile::link(m_directory.filePath(QStringLiteral("secret")),
                        m_directory.filePath(QStringLiteral("packages/link"))));
}

void tst_QuillonServe::Write(const QString &path, const QByteArray &content) const
{
    QFile file(m_directory.filePath(path));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), qint64(content.size()));
}

QNetworkReply *tst_QuillonServe::Send(const QByteArray &verb, const QUrl &url,
                                      const QByteArray &range)
{
    QNetworkRequest request(url);
    // An idle connection would delay the end of the service.
    request.setRawHeader("Connection", "close");
    if (!range.isEmpty()) {
        request.setRawHeader("Range", range);
    }
    return m_network.sendCustomRequest(request, verb);
}

std::unique_ptr<QNetworkReply> tst_QuillonServe::Ask(const QByteArray &verb, const QUrl &url,
                                                     const QByteArray &range)
{
    std::unique_ptr<QNetworkReply> reply(Send(verb, url, range));
    QSignalSpy finished(reply.get(), &QNetworkReply::finished);
    if (!reply->isFinished()) {
        finished.wait(patience);
    }
    return reply;
}

int tst_QuillonServe::Status(const std::unique_ptr<QNetworkReply> &reply)
{
    return reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

void tst_QuillonServe::prints_its_address_template_when_ready()
{
    const ServeProcess server(m_directory.path());
    const QRegularExpression expected(
        QStringLiteral("^http://127\\.0\\.0\\.1:[1-9][0-9]*/update\\?pid=&version=&email=\n$"));
    QVERIFY2(expected.match(server.Template()).hasMatch(), qUtf8Printable(server.Template()));
}

void tst_QuillonServe::chooses_the_manifest_by_version_data()
{
    QTest::addColumn<QString>("query");
    QTest::addColumn<QByteArray>("manifest");
    QTest::newRow("a_version_with_a_manifest_of_its_own_gets_it")
        << "?pid=1&version=9.1.0.0&email=a@b" << QByteArray("<own/>");
    QTest::newRow("any_other_version_gets_the_common_one")
        << "?pid=1&version=9.0.0.0&email=a@b" << QByteArray("<any/>");
    QTest::newRow("no_version_gets_the_common_one")
        << "?pid=&version=&email=" << QByteArray("<any/>");
    QTest::newRow("a_version_with_a_path_separator_is_no_file_name")
        << "?version=../manifests/9.1.0.0" << QByteArray("<any/>");
    QTest::newRow("a_version_of_dots_is_no_file_name") << "?version=.." << QByteArray("<any/>");
}

void tst_QuillonServe::chooses_the_manifest_by_version()
{
    QFETCH(QString, query);
    QFETCH(QByteArray, manifest);
    const ServeProcess server(m_directory.path());
    const auto reply = Ask("GET", server.Url(QStringLiteral("/update") + query));
    QCOMPARE(Status(reply), 200);
    QCOMPARE(reply->header(QNetworkRequest::ContentTypeHeader).toString(),
             QStringLiteral("application/xml"));
    QCOMPARE(reply->readAll(), manifest);
}

void tst_QuillonServe::answers_not_found_without_any_manifest()
{
    const QTemporaryDir bare;
    const ServeProcess server(bare.path());
    QCOMPARE(Status(Ask("GET", server.Url(QStringLiteral("/update?version=9.1.0.0")))), 404);
}

void tst_QuillonServe::head_tells_the_size_without_a_body()
{
    const ServeProcess server(m_directory.path());
    const auto reply = Ask("HEAD", server.Url(QStringLiteral("/packages/setup.run")));
    QCOMPARE(Status(reply), 200);
    QCOMPARE(reply->header(QNetworkRequest::ContentLengthHeader).toInt(), packageSize);
    QCOMPARE(reply->rawHeader("Content-Type"), QByteArray("application/octet-stream"));
    QCOMPARE(reply->rawHeader("Accept-Ranges"), QByteArray("bytes"));
    QCOMPARE(reply->readAll(), QByteArray());
}

void tst_QuillonServe::answers_ranges_data()
{
    QTest::addColumn<QByteArray>("range");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("contentRange");
    QTest::addColumn<int>("first");
    QTest::addColumn<int>("length");
    QTest::newRow("without_a_range_the_whole_file_comes")
        << QByteArray() << 200 << QByteArray() << 0 << packageSize;
    QTest::newRow("a_closed_range") << QByteArray("bytes=1000-70999") << 206
                                    << QByteArray("bytes 1000-70999/300001") << 1000 << 70000;
    QTest::newRow("a_single_byte")
        << QByteArray("bytes=0-0") << 206 << QByteArray("bytes 0-0/300001") << 0 << 1;
    QTest::newRow("an_open_range_runs_to_the_end")
        << QByteArray("bytes=299990-") << 206 << QByteArray("bytes 299990-300000/300001") << 299990
        << 11;
    QTest::newRow("a_range_beyond_the_end_is_cut")
        << QByteArray("bytes=299990-400000") << 206 << QByteArray("bytes 299990-300000/300001")
        << 299990 << 11;
    QTest::newRow("a_suffix") << QByteArray("bytes=-5") << 206
                              << QByteArray("bytes 299996-300000/300001") << 299996 << 5;
    QTest::newRow("a_suffix_longer_than_the_file_is_the_file")
        << QByteArray("bytes=-400000") << 206 << QByteArray("bytes 0-300000/300001") << 0
        << packageSize;
}

void tst_QuillonServe::answers_ranges()
{
    QFETCH(QByteArray, range);
    QFETCH(int, status);
    QFETCH(QByteArray, contentRange);
    QFETCH(int, first);
    QFETCH(int, length);
    const ServeProcess server(m_directory.path());
    const auto reply = Ask("GET", server.Url(QStringLiteral("/packages/setup.run")), range);
    QCOMPARE(Status(reply), status);
    QCOMPARE(reply->rawHeader("Content-Range"), contentRange);
    QCOMPARE(reply->rawHeader("Content-Type"), QByteArray("application/octet-stream"));
    QCOMPARE(reply->header(QNetworkRequest::ContentLengthHeader).toInt(), length);
    QVERIFY(reply->readAll() == m_package.mid(first, length));
}

void tst_QuillonServe::refuses_ranges_outside_the_file_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("range");
    const QString package = QStringLiteral("/packages/setup.run");
    QTest::newRow("from_the_end_on") << package << QByteArray("bytes=300001-");
    QTest::newRow("far_beyond_the_end") << package << QByteArray("bytes=400000-500000");
    QTest::newRow("backwards") << package << QByteArray("bytes=20-10");
    QTest::newRow("no_bytes_from_the_end") << package << QByteArray("bytes=-0");
    QTest::newRow("several_ranges") << package << QByteArray("bytes=0-1,5-6");
    QTest::newRow("any_of_an_empty_file")
        << QStringLiteral("/packages/empty") << QByteArray("bytes=0-");
}

void tst_QuillonServe::refuses_ranges_outside_the_file()
{
    QFETCH(QString, path);
    QFETCH(QByteArray, range);
    const ServeProcess server(m_directory.path());
    const auto reply = Ask("GET", server.Url(path), range);
    QCOMPARE(Status(reply), 416);
    QCOMPARE(reply->readAll(), QByteArray());
}

void tst_QuillonServe::an_empty_file_has_length_zero()
{
    const ServeProcess server(m_directory.path());
    for (const char *verb : {"HEAD", "GET"}) {
        const auto reply = Ask(verb, server.Url(QStringLiteral("/packages/empty")));
        QCOMPARE(Status(reply), 200);
        QCOMPARE(reply->rawHeader("Content-Length"), QByteArray("0"));
        QCOMPARE(reply->rawHeader("Content-Type"), QByteArray("application/octet-stream"));
    }
}

void tst_QuillonServe::a_missing_package_is_not_found()
{
    const ServeProcess server(m_directory.path());
    QCOMPARE(Status(Ask("HEAD", server.Url(QStringLiteral("/packages/none")))), 404);
    QCOMPARE(Status(Ask("GET", server.Url(QStringLiteral("/packages/none")), "bytes=0-1")), 404);
    QCOMPARE(Status(Ask("GET", server.Url(QStringLiteral("/packages/empty folder")))), 404);
}

void tst_QuillonServe::redirects_take_one_prefix_away_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("location");
    QTest::newRow("one_prefix_leads_to_the_package")
        << "/redirect/packages/setup.run" << 302 << QByteArray("/packages/setup.run");
    QTest::newRow("two_prefixes_lead_to_one") << "/redirect/redirect/packages/setup.run" << 302
                                              << QByteArray("/redirect/packages/setup.run");
    QTest::newRow("an_address_stays_encoded")
        << "/redirect/packages/a%20b" << 302 << QByteArray("/packages/a%20b");
    QTest::newRow("no_redirect_to_another_host")
        << "/redirect//other.example/packages/x" << 404 << QByteArray();
}

void tst_QuillonServe::redirects_take_one_prefix_away()
{
    QFETCH(QString, path);
    QFETCH(int, status);
    QFETCH(QByteArray, location);
    const ServeProcess server(m_directory.path());
    for (const char *verb : {"HEAD", "GET"}) {
        const auto reply = Ask(verb, server.Url(path), "bytes=0-9");
        QCOMPARE(Status(reply), status);
        QCOMPARE(reply->rawHeader("Location"), location);
    }
}

void tst_QuillonServe::serves_nothing_outside_its_folders_data()
{
    QTest::addColumn<QByteArray>("target");
    QTest::newRow("dots") << QByteArray("/packages/../secret");
    QTest::newRow("encoded_dots") << QByteArray("/packages/%2e%2e/secret");
    QTest::newRow("encoded_separators") << QByteArray("/packages/..%2Fsecret");
    QTest::newRow("dots_further_down") << QByteArray("/packages/empty%20folder/../../secret");
    QTest::newRow("a_link_that_leads_out") << QByteArray("/packages/link");
    QTest::newRow("an_absolute_path") << QByteArray("/packages//etc/passwd");
    QTest::newRow("the_folder_itself") << QByteArray("/secret");
}

void tst_QuillonServe::serves_nothing_outside_its_folders()
{
    QFETCH(QByteArray, target);
    const ServeProcess server(m_directory.path());
    // Written by hand, because a client library would normalise the path.
    QTcpSocket socket;
    socket.connectToHost(QStringLiteral("127.0.0.1"), quint16(server.Url({}).port()));
    socket.write("GET " + target + " HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n");
    QTRY_COMPARE_WITH_TIMEOUT(socket.state(), QAbstractSocket::UnconnectedState, patience);
    const QByteArray answer = socket.readAll();
    QVERIFY2(answer.startsWith("HTTP/1.1 404 "), answer.constData());
}

void tst_QuillonServe::all_connections_share_the_rate()
{
    const ServeProcess server(m_directory.path(),
                              {QStringLiteral("--rate"), QStringLiteral("1000000")});
    QElapsedTimer clock;
    clock.start();
    const std::unique_ptr<QNetworkReply> one(
        Send("GET", server.Url(QStringLiteral("/packages/setup.run"))));
    const std::unique_ptr<QNetworkReply> other(
        Send("GET", server.Url(QStringLiteral("/packages/setup.run"))));
    QTRY_VERIFY_WITH_TIMEOUT(one->isFinished() && other->isFinished(), patience);
    // 600002 bytes at 1000000 a second; a limit for each connection would need half of it.
    QVERIFY2(clock.elapsed() >= 500, qPrintable(QString::number(clock.elapsed())));
    QVERIFY(one->readAll() == m_package);
    QVERIFY(other->readAll() == m_package);
}

void tst_QuillonServe::idle_connections_keep_nobody_waiting()
{
    const ServeProcess server(m_directory.path());
    std::vector<std::unique_ptr<QTcpSocket>> idle;
    for (int i = 0; i < 32; ++i) {
        idle.push_back(std::make_unique<QTcpSocket>());
        QTcpSocket &socket = *idle.back();
        socket.connectToHost(QStringLiteral("127.0.0.1"), quint16(server.Url({}).port()));
        socket.write("HEAD /packages/empty HTTP/1.1\r\nHost: x\r\n\r\n");
        QTRY_VERIFY_WITH_TIMEOUT(socket.bytesAvailable() > 0, patience);
    }
    QCOMPARE(Status(Ask("GET", server.Url(QStringLiteral("/packages/setup.run")))), 200);
    for (const auto &socket : idle) {
        QCOMPARE(socket->state(), QAbstractSocket::ConnectedState);
    }
}

void tst_QuillonServe::the_access_log_has_no_queries()
{
    ServeProcess server(m_directory.path());
    Ask("GET", server.Url(QStringLiteral("/update?pid=1&version=9.1.0.0&email=someone@b.example")));
    Ask("GET", server.Url(QStringLiteral("/packages/setup.run")), "bytes=0-9");
    server.Process().terminate();
    QVERIFY(server.Process().waitForFinished(patience));
    // A line is written after its answer, so the order of the two lines is not fixed.
    QList<QByteArray> lines = server.Process().readAllStandardError().trimmed().split('\n');
    std::sort(lines.begin(), lines.end());
    QCOMPARE(lines,
             (QList<QByteArray>{"GET /packages/setup.run bytes=0-9 206", "GET /update - 200"}));
}

void tst_QuillonServe::ends_cleanly_in_the_middle_of_an_answer()
{
    ServeProcess server(m_directory.path(), {QStringLiteral("--rate"), QStringLiteral("1000")});
    const std::unique_ptr<QNetworkReply> reply(
        Send("GET", server.Url(QStringLiteral("/packages/setup.run"))));
    QTRY_VERIFY_WITH_TIMEOUT(reply->bytesAvailable() > 0, patience);
    server.Process().terminate();
    QVERIFY(server.Process().waitForFinished(patience));
    QCOMPARE(server.Process().exitStatus(), QProcess::NormalExit);
    QCOMPARE(server.Process().exitCode(), 0);
}

void tst_QuillonServe::refuses_wrong_usage_data()
{
    QTest::addColumn<QStringList>("arguments");
    const QString directory = m_directory.path();
    QTest::newRow("no_folder") << QStringList();
    QTest::newRow("a_folder_that_is_not_there") << QStringList{directory + "/none"};
    QTest::newRow("two_folders") << QStringList{directory, directory};
    QTest::newRow("an_unknown_option") << QStringList{directory, "--verbose"};
    QTest::newRow("a_port_without_number") << QStringList{directory, "--port"};
    QTest::newRow("a_port_that_is_none") << QStringList{directory, "--port", "65536"};
    QTest::newRow("a_rate_with_a_unit") << QStringList{directory, "--rate", "1k"};
    QTest::newRow("a_rate_of_nothing") << QStringList{directory, "--rate", "0"};
}

void tst_QuillonServe::refuses_wrong_usage()
{
    QFETCH(QStringList, arguments);
    QProcess process;
    process.start(QStringLiteral(QUILLON_SERVE), arguments);
    QVERIFY(process.waitForFinished(patience));
    QCOMPARE(process.exitCode(), 2);
    QVERIFY(process.readAllStandardError().contains("usage: quillon-serve"));
    QCOMPARE(process.readAllStandardOutput(), QByteArray());
}

void tst_QuillonServe::a_taken_port_is_an_error()
{
    QTcpServer holder;
    QVERIFY(holder.listen(QHostAddress::LocalHost));
    QProcess process;
    process.start(QStringLiteral(QUILLON_SERVE), {m_directory.path(), QStringLiteral("--port"),
                                                  QString::number(holder.serverPort())});
    QVERIFY(process.waitForFinished(patience));
    QCOMPARE(process.exitCode(), 1);
    QCOMPARE(process.readAllStandardOutput(), QByteArray());
}

QTEST_GUILESS_MAIN(tst_QuillonServe)
#include "tst_QuillonServe.moc"
