// SPDX-License-Identifier: MIT

#include "update/report/EventRecord.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

/// The exact text of a record, and the address that carries it.
class tst_EventRecord : public QObject
{
    Q_OBJECT

private slots:
    void the_text_is_exactly_this();
    void blanks_are_deleted_inside_of_values_too_data();
    void blanks_are_deleted_inside_of_values_too();
    void empty_strings_are_sent_as_empty_strings();
    void numbers_are_integers_and_texts_are_texts();
    void the_time_is_an_integer_of32_bits_data();
    void the_time_is_an_integer_of32_bits();
    void every_event_code_is_sent_as_it_is_data();
    void every_event_code_is_sent_as_it_is();

    void the_address_is_exactly_this();
    void the_address_carries_the_text_data();
    void the_address_carries_the_text();
};

static EventRecord gSampleRecord()
{
    EventRecord record;
    record.pid = "1234";
    record.oldVersion = "2.0.0";
    record.newVersion = "2.1.0";
    record.packageType = "ins";
    record.uid = "{0000ABCD-0000-000A-B123-00AABBCCDDEE}";
    record.result = -3;
    record.time = 1700000000;
    return record;
}

static QJsonObject gParsedJson(const EventRecord &record)
{
    return QJsonDocument::fromJson(gEventRecordJson(record)).object();
}

void tst_EventRecord::the_text_is_exactly_this()
{
    // The keys stand in the order of their names, whatever the order of the values above.
    QCOMPARE(
        gEventRecordJson(gSampleRecord()),
        QByteArray(R"({"act":"result","category":"upgrade","dvalue":0,)"
                   R"("label":{"newver":"2.1.0","oldver":"2.0.0","pid":"1234","result":-3,)"
                   R"("type":"ins"},"modver":"4.0.0","ostime":1700000000,"pagepath":"",)"
                   R"("tid":"tid-upgrade-001","uid":"{0000ABCD-0000-000A-B123-00AABBCCDDEE}"})"));
}

void tst_EventRecord::blanks_are_deleted_inside_of_values_too_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("sent");
    QTest::newRow("one_blank") << "1.2 beta"
                               << "1.2beta";
    QTest::newRow("blanks_around_and_within") << "  1 . 2  "
                                              << "1.2";
    QTest::newRow("nothing_else") << "   "
                                  << "";
    QTest::newRow("a_line_feed_is_escaped_and_stays") << "1.2\nbeta"
                                                      << "1.2\nbeta";
    QTest::newRow("a_tabulator_stays") << "1.2\tbeta"
                                       << "1.2\tbeta";
    QTest::newRow("a_no_break_space_stays")
        << QString::fromUtf8("1.2\u00a0beta") << QString::fromUtf8("1.2\u00a0beta");
}

void tst_EventRecord::blanks_are_deleted_inside_of_values_too()
{
    QFETCH(QString, value);
    EventRecord record = gSampleRecord();
    record.pid = record.oldVersion = record.newVersion = record.packageType = record.uid = value;
    const QByteArray json = gEventRecordJson(record);
    QVERIFY(!json.contains(' ') && !json.contains('\n'));
    const QJsonObject label = gParsedJson(record).value("label").toObject();
    QTEST(label.value("pid").toString(), "sent");
    QTEST(label.value("oldver").toString(), "sent");
    QTEST(label.value("newver").toString(), "sent");
    QTEST(label.value("type").toString(), "sent");
    QTEST(gParsedJson(record).value("uid").toString(), "sent");
}

void tst_EventRecord::empty_strings_are_sent_as_empty_strings()
{
    const QByteArray json = gEventRecordJson(EventRecord());
    QVERIFY(json.contains(R"("newver":"","oldver":"","pid":"","result":0,"type":"")"));
    QVERIFY(json.contains(R"("uid":"")"));
    QVERIFY(json.contains(R"("pagepath":"")"));
}

void tst_EventRecord::numbers_are_integers_and_texts_are_texts()
{
    const QJsonObject record = gParsedJson(gSampleRecord());
    const QJsonObject label = record.value("label").toObject();
    for (const char *key : {"ostime", "dvalue"}) {
        QVERIFY2(record.value(QLatin1String(key)).isDouble(), key);
    }
    QVERIFY(label.value("result").isDouble());
    for (const char *key : {"tid", "uid", "pagepath", "category", "act", "modver"}) {
        QVERIFY2(record.value(QLatin1String(key)).isString(), key);
    }
    for (const char *key : {"pid", "oldver", "newver", "type"}) {
        QVERIFY2(label.value(QLatin1String(key)).isString(), key);
    }
    QCOMPARE(record.size(), 9);
    QCOMPARE(label.size(), 5);
}

void tst_EventRecord::the_time_is_an_integer_of32_bits_data()
{
    QTest::addColumn<quint32>("time");
    QTest::addColumn<QByteArray>("sent");
    QTest::newRow("a_time_of_today") << 1700000000U << QByteArray("1700000000");
    QTest::newRow("beyond_2038") << 2147483648U << QByteArray("2147483648");
    QTest::newRow("the_last_second") << 4294967295U << QByteArray("4294967295");
}

void tst_EventRecord::the_time_is_an_integer_of32_bits()
{
    QFETCH(quint32, time);
    QFETCH(QByteArray, sent);
    EventRecord record = gSampleRecord();
    record.time = time;
    QVERIFY(gEventRecordJson(record).contains("\"ostime\":" + sent + ','));
}

void tst_EventRecord::every_event_code_is_sent_as_it_is_data()
{
    QTest::addColumn<int>("code");
    for (const int code : {1, -1, -2, -3, -4, -6}) {
        QTest::addRow("%d", code) << code;
    }
}

void tst_EventRecord::every_event_code_is_sent_as_it_is()
{
    QFETCH(int, code);
    EventRecord record = gSampleRecord();
    record.result = code;
    QVERIFY(gEventRecordJson(record).contains("\"result\":" + QByteArray::number(code) + ','));
}

void tst_EventRecord::the_address_is_exactly_this()
{
    const QUrl url = gEventRecordUrl("stats.example:8443", R"({"act":"result","dvalue":-3})");
    QVERIFY(url.isValid());
    QCOMPARE(url.toEncoded(), QByteArray("https://stats.example:8443/tallow/visit/"
                                         "?data=%7B%22act%22:%22result%22,%22dvalue%22:-3%7D"));
}

void tst_EventRecord::the_address_carries_the_text_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<QByteArray>("encoded");
    QTest::newRow("a_plain_version") << "9.2.0.0" << QByteArray("9.2.0.0");
    QTest::newRow("beyond_ascii_as_utf_8") << QString::fromUtf8("9é") << QByteArray("9%C3%A9");
    QTest::newRow("a_plus_sign_and_an_ampersand_are_not_escaped") << "9+a&b" << QByteArray("9+a&b");
}

void tst_EventRecord::the_address_carries_the_text()
{
    QFETCH(QString, version);
    QFETCH(QByteArray, encoded);
    EventRecord record = gSampleRecord();
    record.newVersion = version;
    const QByteArray json = gEventRecordJson(record);
    const QByteArray address = gEventRecordUrl("stats.example", json).toEncoded();
    QVERIFY(address.startsWith("https://stats.example/tallow/visit/?data=%7B%22act%22"));
    QVERIFY2(address.contains("%22newver%22:%22" + encoded + "%22"), address.constData());
    QCOMPARE(QByteArray::fromPercentEncoding(address.mid(address.indexOf("?data=") + 6)), json);
}

QTEST_GUILESS_MAIN(tst_EventRecord)
#include "tst_EventRecord.moc"
