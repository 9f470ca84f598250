// SPDX-License-Identifier: MIT

#include "api/UpdateInit.h"

#include <QTest>

class tst_UpdateInit : public QObject
{
    Q_OBJECT

private slots:
    void both_values_are_empty_when_the_module_is_loaded();
    void a_value_is_returned_as_it_was_set_data();
    void a_value_is_returned_as_it_was_set();
    void the_last_value_set_counts();
    void the_two_values_do_not_touch_each_other();
    void a_getter_returns_a_copy();
};

void tst_UpdateInit::both_values_are_empty_when_the_module_is_loaded()
{
    QCOMPARE(UpdateInit::GetUpdateUrl(), QString());
    QCOMPARE(UpdateInit::GetUpdateVersion(), QString());
}

void tst_UpdateInit::a_value_is_returned_as_it_was_set_data()
{
    QTest::addColumn<QString>("value");
    QTest::newRow("an_address_template") << "https://updates.example/check?pid=&version=&email=";
    QTest::newRow("a_version_with_blanks_around_it") << " 9.1.0.0 ";
    QTest::newRow("text_beyond_ascii") << QString::fromUtf8("für 更新 %20");
    QTest::newRow("nothing") << QString();
}

void tst_UpdateInit::a_value_is_returned_as_it_was_set()
{
    QFETCH(QString, value);
    UpdateInit::SetUpdateUrl(value);
    QCOMPARE(UpdateInit::GetUpdateUrl(), value);
    UpdateInit::SetUpdateVersion(value);
    QCOMPARE(UpdateInit::GetUpdateVersion(), value);
}

void tst_UpdateInit::the_last_value_set_counts()
{
    UpdateInit::SetUpdateVersion("9.1.0.0");
    UpdateInit::SetUpdateVersion("9.2.0.0");
    QCOMPARE(UpdateInit::GetUpdateVersion(), QString("9.2.0.0"));
}

void tst_UpdateInit::the_two_values_do_not_touch_each_other()
{
    UpdateInit::SetUpdateUrl("url");
    UpdateInit::SetUpdateVersion("version");
    QCOMPARE(UpdateInit::GetUpdateUrl(), QString("url"));
    QCOMPARE(UpdateInit::GetUpdateVersion(), QString("version"));
}

void tst_UpdateInit::a_getter_returns_a_copy()
{
    UpdateInit::SetUpdateUrl("url");
    QString copy = UpdateInit::GetUpdateUrl();
    copy += "changed";
    QCOMPARE(UpdateInit::GetUpdateUrl(), QString("url"));
}

QTEST_GUILESS_MAIN(tst_UpdateInit)
#include "tst_UpdateInit.moc"
