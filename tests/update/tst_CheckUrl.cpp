#include "update/CheckUrl.h"

#include <QtTest>

class tst_CheckUrl : public QObject
{
    Q_OBJECT

private slots:
    void TheAddressIs_data();
    void TheAddressIs();
    void AnEmptyTemplateGivesOnlyTheValues();
};

void tst_CheckUrl::TheAddressIs_data()
{
    QTest::addColumn<QString>("urlTemplate");
    QTest::addColumn<QStringList>("values");
    QTest::addColumn<QString>("expected");
    const QString full = "http://u.example/check?pid=&version=&email=";
    const QStringList plain{"1", "2", "3"};

    QTest::newRow("the three values go behind their keys")
        << full << plain << "http://u.example/check?pid=1&version=2&email=3";
    QTest::newRow("the keys may stand in any order")
        << "http://u.example/?email=&pid=&version=" << plain
        << "http://u.example/?email=3&pid=1&version=2";
    QTest::newRow("what stood behind a key stays behind the value")
        << "http://u.example/?pid=x&version=y&email=z" << plain
        << "http://u.example/?pid=1x&version=2y&email=3z";
    QTest::newRow("a key that occurs twice gets its value at the first place only")
        << "http://u.example/?pid=&pid=&version=&email=" << plain
        << "http://u.example/?pid=1&pid=&version=2&email=3";
    QTest::newRow("keys are case-sensitive")
        << "http://u.example/?PID=&pid=&version=&email=" << plain
        << "http://u.example/?PID=&pid=1&version=2&email=3";
    QTest::newRow("without email= the address goes to position 5")
        << "http://u.example/?pid=&version=" << plain << "http:3//u.example/?pid=1&version=2";
    QTest::newRow("without pid= the product goes to position 3")
        << "/check?version=&email=" << plain << "/ch1eck?version=2&email=3";
    QTest::newRow("without version= the version goes to position 7")
        << "/checks/a?pid=&email=" << plain << "/checks2/a?pid=1&email=3";
    QTest::newRow("a key inside an inserted value is found by the next search")
        << full << QStringList{"version=", "2", "3"}
        << "http://u.example/check?pid=version=2&version=&email=3";
    QTest::newRow("empty values leave the template")
        << full << QStringList{"", "", ""} << "http://u.example/check?pid=&version=&email=";
    QTest::newRow("separators in a value are not encoded")
        << full << QStringList{"a&b=c", "2", "me@u.example"}
        << "http://u.example/check?pid=a&b=c&version=2&email=me@u.example";
    QTest::newRow("a number sign in a value begins the fragment")
        << full << QStringList{"1", "2", "a#b"}
        << "http://u.example/check?pid=1&version=2&email=a#b";
    QTest::newRow("a percent escape in a value stays")
        << full << QStringList{"1", "2", "a%40b"}
        << "http://u.example/check?pid=1&version=2&email=a%40b";
    QTest::newRow("blanks and stray percent signs are tolerated")
        << full << QStringList{"a b", "100%", "3"}
        << "http://u.example/check?pid=a b&version=100%&email=3";
}

void tst_CheckUrl::TheAddressIs()
{
    QFETCH(QString, urlTemplate);
    QFETCH(QStringList, values);
    QFETCH(QString, expected);
    const QUrl url = gBuildCheckUrl(urlTemplate, values.at(0), values.at(1), values.at(2));
    QCOMPARE(url.toEncoded(), QUrl(expected, QUrl::TolerantMode).toEncoded());
    QVERIFY(!url.isEmpty());
}

void tst_CheckUrl::AnEmptyTemplateGivesOnlyTheValues()
{
    QString text = gBuildCheckUrl({}, "1", "2", "3").toString();
    text.remove("%20").remove(' ');
    std::sort(text.begin(), text.end());
    QCOMPARE(text, QStringLiteral("123"));
}

QTEST_GUILESS_MAIN(tst_CheckUrl)
#include "tst_CheckUrl.moc"
