// SPDX-License-Identifier: MIT

#include "BaseLog.h"

#include <QLoggingCategory>
#include <QMutex>
#include <QtTest>

#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

namespace
{
struct Line {
    QtMsgType type;
    QString category;
    QString file;
    QString function;
    int line;
    QString message;
};

QMutex gMutex;
QVector<Line> gLines;

void gCollectLine(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    const QMutexLocker lock(&gMutex);
    gLines.append({type, QString::fromUtf8(context.category), QString::fromUtf8(context.file),
                   QString::fromUtf8(context.function), context.line, message});
}

void gCollectAndLogOnce(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    gCollectLine(type, context, message);
    if (message == QLatin1String("outer")) {
        GetGlobalLogInstance()->Log("BaseLogTest", "Handler", 1, "inner");
    }
}
} // namespace

class tst_BaseLog : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void a_line_reaches_the_category_of_its_source_file();
    void there_is_one_log_in_the_process();
    void values_are_put_into_the_format_as_printf_does();
    void one_call_is_one_line_whatever_a_server_sent_data();
    void one_call_is_one_line_whatever_a_server_sent();
    void a_message_may_be_of_any_length();
    void a_rule_of_the_host_silences_one_source();
    void lines_of_several_threads_arrive_whole();
    void a_message_handler_that_logs_does_not_lock_up();
    void callers_reach_a_logger_of_the_host_through_the_interface();
    void the_log_operation_is_the_second_virtual();
};

void tst_BaseLog::init()
{
    gLines.clear();
    qInstallMessageHandler(&gCollectLine);
}

void tst_BaseLog::cleanup()
{
    qInstallMessageHandler(nullptr);
    QLoggingCategory::setFilterRules(QString());
}

void tst_BaseLog::a_line_reaches_the_category_of_its_source_file()
{
    GetGlobalLogInstance()->Log("LiveUpdateMgr", "LiveUpdateMgr::UpdateNow", 42, "hello");

    QCOMPARE(gLines.size(), 1);
    QCOMPARE(gLines[0].type, QtInfoMsg);
    QCOMPARE(gLines[0].category, QStringLiteral("corvina.LiveUpdateMgr"));
    QCOMPARE(gLines[0].file, QStringLiteral("LiveUpdateMgr"));
    QCOMPARE(gLines[0].function, QStringLiteral("LiveUpdateMgr::UpdateNow"));
    QCOMPARE(gLines[0].line, 42);
    QCOMPARE(gLines[0].message, QStringLiteral("hello"));
}

void tst_BaseLog::there_is_one_log_in_the_process()
{
    QVERIFY(GetGlobalLogInstance() != nullptr);
    QCOMPARE(GetGlobalLogInstance(), GetGlobalLogInstance());
}

void tst_BaseLog::values_are_put_into_the_format_as_printf_does()
{
    const std::string umlaut = QStringLiteral("Gr\u00fc\u00dfe \u4f60\u597d").toStdString();
    GetGlobalLogInstance()->Log("BaseLogTest", "F", 1, "%s|%d|%lld|%5.2f|100%%", umlaut.c_str(), -7,
                                9007199254740993LL, 3.14159);

    QCOMPARE(gLines.size(), 1);
    QCOMPARE(gLines[0].message,
             QStringLiteral("Gr\u00fc\u00dfe \u4f60\u597d|-7|9007199254740993| 3.14|100%"));
}

void tst_BaseLog::one_call_is_one_line_whatever_a_server_sent_data()
{
    QTest::addColumn<QByteArray>("sent");
    QTest::addColumn<QString>("logged");
    QTest::newRow("a_line_feed_becomes_a_blank") << QByteArray("a\nb") << "a b";
    QTest::newRow("carriage_return_and_line_feed_become_two") << QByteArray("a\r\nb") << "a  b";
    QTest::newRow("a_blank_at_the_end_stays") << QByteArray("a\n") << "a ";
    QTest::newRow("a_terminals_escape_character_becomes_a_blank")
        << QByteArray("\x1b[2J") << " [2J";
    QTest::newRow("delete_becomes_a_blank") << QByteArray("a\x7f") << "a ";
    QTest::newRow("the_next_line_character_becomes_a_blank") << QByteArray("a\xc2\x85z") << "a z";
    QTest::newRow("the_line_separator_becomes_a_blank") << QByteArray("a\xe2\x80\xa8z") << "a z";
    QTest::newRow("a_percent_sign_is_no_format") << QByteArray("%s%n%d") << "%s%n%d";
    QTest::newRow("nothing_is_an_empty_line") << QByteArray("") << "";
}

void tst_BaseLog::one_call_is_one_line_whatever_a_server_sent()
{
    QFETCH(QByteArray, sent);
    QFETCH(QString, logged);
    GetGlobalLogInstance()->Log("BaseLogTest", "F", 1, "%s", sent.constData());

    QCOMPARE(gLines.size(), 1);
    QCOMPARE(gLines[0].message, logged);
}

void tst_BaseLog::a_message_may_be_of_any_length()
{
    const QByteArray text = QByteArray(300000, 'x') + "end";
    GetGlobalLogInstance()->Log("BaseLogTest", "F", 1, "%s", text.constData());

    QCOMPARE(gLines.size(), 1);
    QCOMPARE(gLines[0].message, QString::fromLatin1(text));
}

void tst_BaseLog::a_rule_of_the_host_silences_one_source()
{
    QLoggingCategory::setFilterRules(QStringLiteral("corvina.Silenced.info=false"));
    GetGlobalLogInstance()->Log("Silenced", "F", 1, "not heard");
    GetGlobalLogInstance()->Log("Heard", "F", 1, "heard");
    QCOMPARE(gLines.size(), 1);
    QCOMPARE(gLines[0].message, QStringLiteral("heard"));

    QLoggingCategory::setFilterRules(QString());
    GetGlobalLogInstance()->Log("Silenced", "F", 1, "heard again");
    QCOMPARE(gLines.size(), 2);
}

void tst_BaseLog::lines_of_several_threads_arrive_whole()
{
    constexpr int threads = 4;
    constexpr int linesEach = 200;
    std::vector<std::thread> writers;
    writers.reserve(threads);
    for (int thread = 0; thread < threads; ++thread) {
        writers.emplace_back([thread]() {
            const std::string file = "Thread" + std::to_string(thread);
            for (int i = 0; i < linesEach; ++i) {
                GetGlobalLogInstance()->Log(file.c_str(), "F", i, "%d of %d", i, thread);
            }
        });
    }
    for (std::thread &writer : writers) {
        writer.join();
    }

    QCOMPARE(gLines.size(), threads * linesEach);
    for (const Line &line : qAsConst(gLines)) {
        const QString thread = QString(line.file).remove(QStringLiteral("Thread"));
        QCOMPARE(line.category, QStringLiteral("corvina.Thread") + thread);
        QCOMPARE(line.message, QString::number(line.line) + QStringLiteral(" of ") + thread);
    }
}

void tst_BaseLog::a_message_handler_that_logs_does_not_lock_up()
{
    qInstallMessageHandler(&gCollectAndLogOnce);
    GetGlobalLogInstance()->Log("BaseLogTest", "F", 1, "outer");

    // Qt gives a line that a message handler logs to its default handler, not to the same handler.
    QCOMPARE(gLines.size(), 1);
    QCOMPARE(gLines[0].message, QStringLiteral("outer"));
}

namespace
{
class HostLog : public BaseLog
{
public:
    void Log(const char *file, const char *function, int line, const char *format, ...) override
        Q_ATTRIBUTE_FORMAT_PRINTF(5, 6);

    QString m_last;
};

// NOLINTNEXTLINE(cert-dcl50-cpp): the interface of the log
void HostLog::Log(const char *file, const char *function, int line, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    m_last = QStringLiteral("%1 %2 %3 ").arg(file, function).arg(line) +
             QString::vasprintf(format, arguments);
    va_end(arguments);
}
} // namespace

void tst_BaseLog::callers_reach_a_logger_of_the_host_through_the_interface()
{
    HostLog hostLog;
    BaseLog *log = &hostLog;
    log->Log("File", "Function", 3, "n=%d", 5);

    QCOMPARE(hostLog.m_last, QStringLiteral("File Function 3 n=5"));
    QVERIFY(gLines.isEmpty());
}

void tst_BaseLog::the_log_operation_is_the_second_virtual()
{
    // A pointer to a virtual member holds the offset of its entry in the table of virtuals; the
    // lowest bit marks it as such on some processors. The destructor, the first virtual, has two
    // entries.
    const auto operation = &BaseLog::Log;
    std::uintptr_t offset = 0;
    std::memcpy(&offset, &operation, sizeof(offset));
    QCOMPARE(offset & ~std::uintptr_t(1), 2 * sizeof(void *));
}

QTEST_APPLESS_MAIN(tst_BaseLog)
#include "tst_BaseLog.moc"
