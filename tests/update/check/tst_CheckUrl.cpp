// SPDX-License-Identifier: MIT

#include "update/check/CheckUrl.h"

#include <QtTest>

class tst_CheckUrl : public QObject
{
    Q_OBJECT

private slots:
    void the_address_is_data();
    void the_address_is();
    void an_empty_template_gives_only_the_values();
};

void tst_CheckUrl::the_address_is_data()
{
    QTest::addColumn<QString>("urlTemplate");
    QTest::addColumn<QStringList>("values");
    QTest::addColumn<QString>("expected");
    const QString full = "http://u.example/check?pid=&version=&email=";
    const QStringList plain{"1", "2", "3"};

    QTest::newRow("the_three_values_go_behind_their_keys")
        << full << plain << "http://u.example/check?pid=1&version=2&email=3";
    QTest::newRow("the_keys_may_stand_in_any_order")
        << "http://u.example/?email=&pid=&version=" << plain
        << "http://u.example/?email=3&pid=1&version=2";
    QTest::newRow("what_stood_behind_a_key_stays_behind_the_value")
        << "http://u.example/?pid=x&version=y&email=z" << plain
        << "http://u.example/?pid=1x&version=2y&email=3z";
    QTest::newRow("a_key_that_occurs_twice_gets_its_value_at_the_first_place_only")
        << "http://u.example/?pid=&pid=&version=&email=" << plain
        << "http://u.example/?pid=1&pid=&version=2&email=3";
    QTest::newRow("keys_are_case_sensitive")
        << "http://u.example/?PID=&pid=&version=&email=" << plain
        << "http://u.example/?PID=&pid=1&version=2&email=3";
    QTest::newRow("without_email_the_address_goes_to_position_5")
        << "http://u.example/?pid=&version=" << plain << "http:3//u.example/?pid=1&version=2";
    QTest::newRow("without_pid_the_product_goes_to_position_3")
        << "/check?version=&email=" << plain << "/ch1eck?version=2&email=3";
    QTest::newRow("without_version_the_version_goes_to_position_7")
        << "/checks/a?pid=&email=" << plain << "/checks2/a?pid=1&email=3";
    QTest::newRow("a_key_inside_an_inserted_value_is_found_by_the_next_search")
        << full << QStringList{"version=", "2", "3"}
        << "http://u.example/check?pid=version=2&version=&email=3";
    QTest::newRow("empty_values_leave_the_template")
        << full << QStringList{"", "", ""} << "http://u.example/check?pid=&version=&email=";
    QTest::newRow("separators_in_a_value_are_not_encoded")
        << full << QStringList{"a&b=c", "2", "me@u.example"}
        << "http://u.example/check?pid=a&b=c&version=2&email=me@u.example";
    QTest::newRow("a_number_sign_in_a_value_begins_the_fragment")
        << full << QStringList{"1", "2", "a#b"}
        << "http://u.example/check?pid=1&version=2&email=a#b";
    QTest::newRow("a_percent_escape_in_a_value_stays")
        << full << QStringList{"1", "2", "a%40b"}
        << "http://u.example/check?pid=1&version=2&email=a%40b";
    QTest::newRow("blanks_and_stray_percent_signs_are_tolerated")
        << full << QStringList{"a b", "100%", "3"}
        << "http://u.example/check?pid=a b&version=100%&email=3";
}

void tst_CheckUrl::the_address_is()
{
    QFETCH(QString, urlTemplate);
    QFETCH(QStringList, values);
    QFETCH(QString, expected);
    const QUrl url = gBuildCheckUrl(urlTemplate, values.at(0), values.at(1), values.at(2));
    QCOMPARE(url.toEncoded(), QUrl(expected, QUrl::TolerantMode).toEncoded());
    QVERIFY(!url.isEmpty());
}

void tst_CheckUrl::an_empty_template_gives_only_the_values()
{
    QString text = gBuildCheckUrl({}, "1", "2", "3").toString();
    text.remove("%20").remove(' ');
    std::sort(text.begin(), text.end());
    QCOMPARE(text, QStringLiteral("123"));
}

QTEST_GUILESS_MAIN(tst_CheckUrl)
#include "tst_CheckUrl.moc"
