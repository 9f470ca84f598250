// SPDX-License-Identifier: MIT

#include "update/UpdateCommon/VersionInfo.h"

#include "tests/support/LogCapture.h"

#include <QtTest>

/// A manifest with every element, its values numbered by @p suffix.
static QString gFullManifest(const QString &suffix)
{
    return QStringLiteral("<Any><ExeUrl_x64>exe%1</ExeUrl_x64><Verify_x64>md5%1</Verify_x64>"
                          "<OldVerify_x64>old%1</OldVerify_x64>"
                          "<WhatNews><Item><Version>v%1</Version><Text>t%1</Text></Item></WhatNews>"
                          "<IncreasePackage><Url_x64>url%1</Url_x64><Version>iv%1</Version>"
                          "<Verify_x64>imd5%1</Verify_x64><Size_x64>1%1</Size_x64>"
                          "<AutoNotify>1</AutoNotify></IncreasePackage></Any>")
        .arg(suffix);
}

/// The release notes as "version=notes", joined.
static QString gNotesText(const VersionInfo &info)
{
    QStringList texts;
    const QList<ReleaseNote> notes = info.ReleaseNotes();
    for (const ReleaseNote &note : notes) {
        texts.append(note.version + '=' + note.notes);
    }
    return texts.join('|');
}

class tst_VersionInfo : public QObject
{
    Q_OBJECT

private slots:
    void every_element_reaches_its_field();
    void what_does_not_parse_gives_nothing_and_no_log_line_data();
    void what_does_not_parse_gives_nothing_and_no_log_line();
    void a_verify_inside_the_incremental_package_alone_counts_for_both();
    void a_verify_behind_the_incremental_package_is_not_the_full_packages();
    void a_second_manifest_without_verify_keeps_the_firsts_md5_and_clears_the_rest();
    void a_second_manifest_replaces_the_release_notes();
    void elements_are_found_at_any_depth_and_not_trimmed();
    void element_names_are_case_sensitive();
    void markup_in_a_text_is_concatenated();
    void notes_are_wrapped_data();
    void notes_are_wrapped();
    void the_size_is_data();
    void the_size_is();
    void auto_notify_is_data();
    void auto_notify_is();
    void auto_notify_outside_the_incremental_package_is_ignored();
    void the_release_notes_are_data();
    void the_release_notes_are();
    void only_the_first_incremental_package_is_read();
    void the_values_are_logged_in_order();
    void absent_elements_are_not_logged();
    void an_empty_incremental_package_is_logged_with_empty_values();

private:
    static void CheckAllButTheFullMd5IsEmpty(const VersionInfo &info);
};

void tst_VersionInfo::CheckAllButTheFullMd5IsEmpty(const VersionInfo &info)
{
    QVERIFY(info.ExeUrl().isEmpty());
    QVERIFY(info.ReleaseNotes().isEmpty());
    QVERIFY(info.IncreaseUrl().isEmpty());
    QVERIFY(info.IncreaseVersion().isEmpty());
    QVERIFY(info.IncreaseMd5().isEmpty());
    QCOMPARE(info.IncreaseSize(), qint64(0));
    QVERIFY(!info.AutoNotify());
    QVERIFY(info.OldVerify().isEmpty());
}

void tst_VersionInfo::every_element_reaches_its_field()
{
    const VersionInfo info(gFullManifest("7"), nullptr);
    QCOMPARE(info.ExeUrl(), QStringLiteral("exe7"));
    QCOMPARE(info.FullPackageMd5(), QStringLiteral("md57"));
    QCOMPARE(info.OldVerify(), QStringLiteral("old7"));
    QCOMPARE(gNotesText(info), QStringLiteral("v7=<ol>t7</ol>"));
    QCOMPARE(info.IncreaseUrl(), QStringLiteral("url7"));
    QCOMPARE(info.IncreaseVersion(), QStringLiteral("iv7"));
    QCOMPARE(info.IncreaseMd5(), QStringLiteral("imd57"));
    QCOMPARE(info.IncreaseSize(), qint64(17));
    QVERIFY(info.AutoNotify());
    QVERIFY(info.HasExeUrl());
    QVERIFY(info.HasIncreasePackage());
}

void tst_VersionInfo::what_does_not_parse_gives_nothing_and_no_log_line_data()
{
    QTest::addColumn<QString>("xml");
    QTest::newRow("an_empty_string") << QString();
    QTest::newRow("no_xml_at_all") << "404 page not found";
    QTest::newRow("a_tag_that_does_not_match") << "<a><ExeUrl_x64>x</ExeUrl></a>";
    QTest::newRow("an_end_that_is_cut_off") << gFullManifest("1").chopped(30);
    QTest::newRow("text_behind_the_root") << gFullManifest("1") + "x";
}

void tst_VersionInfo::what_does_not_parse_gives_nothing_and_no_log_line()
{
    QFETCH(QString, xml);
    const LogCapture log;
    VersionInfo info(xml, nullptr);
    QVERIFY(info.FullPackageMd5().isEmpty());
    CheckAllButTheFullMd5IsEmpty(info);
    QVERIFY(!info.HasExeUrl());
    QVERIFY(!info.HasIncreasePackage());
    QCOMPARE(log.CountContaining({}), 0);
}

void tst_VersionInfo::a_verify_inside_the_incremental_package_alone_counts_for_both()
{
    const VersionInfo info("<a><IncreasePackage><Verify_x64>m</Verify_x64></IncreasePackage></a>",
                           nullptr);
    QCOMPARE(info.IncreaseMd5(), QStringLiteral("m"));
    QCOMPARE(info.FullPackageMd5(), QStringLiteral("m"));
}

void tst_VersionInfo::a_verify_behind_the_incremental_package_is_not_the_full_packages()
{
    const VersionInfo info("<a><IncreasePackage><Verify_x64>inner</Verify_x64></IncreasePackage>"
                           "<Verify_x64>outer</Verify_x64></a>",
                           nullptr);
    QCOMPARE(info.FullPackageMd5(), QStringLiteral("inner"));
}

void tst_VersionInfo::a_second_manifest_without_verify_keeps_the_firsts_md5_and_clears_the_rest()
{
    VersionInfo info(gFullManifest("1"), nullptr);
    info.setXml("<a/>");
    QCOMPARE(info.FullPackageMd5(), QStringLiteral("md51"));
    CheckAllButTheFullMd5IsEmpty(info);
}

void tst_VersionInfo::a_second_manifest_replaces_the_release_notes()
{
    VersionInfo info(gFullManifest("1"), nullptr);
    info.setXml(gFullManifest("2"));
    QCOMPARE(gNotesText(info), QStringLiteral("v2=<ol>t2</ol>"));
    QCOMPARE(info.FullPackageMd5(), QStringLiteral("md52"));
}

void tst_VersionInfo::elements_are_found_at_any_depth_and_not_trimmed()
{
    const VersionInfo info("<a><b><c><ExeUrl_x64> x </ExeUrl_x64></c></b>"
                           "<ExeUrl_x64>second</ExeUrl_x64></a>",
                           nullptr);
    QCOMPARE(info.ExeUrl(), QStringLiteral(" x "));
}

void tst_VersionInfo::element_names_are_case_sensitive()
{
    QVERIFY(!VersionInfo("<a><exeurl_x64>x</exeurl_x64></a>", nullptr).HasExeUrl());
}

void tst_VersionInfo::markup_in_a_text_is_concatenated()
{
    const VersionInfo info("<a><ExeUrl_x64>x<i>y</i><![CDATA[<z>]]>&amp;</ExeUrl_x64></a>",
                           nullptr);
    QCOMPARE(info.ExeUrl(), QStringLiteral("xy<z>&"));
}

void tst_VersionInfo::notes_are_wrapped_data()
{
    QTest::addColumn<QString>("notes");
    QTest::addColumn<QString>("expected");
    QTest::newRow("two_items_get_a_list") << "<li>a</li><li>b</li>"
                                          << "<ol><li>a</li><li>b</li></ol>";
    QTest::newRow("a_list_at_the_front_stays") << "<ol><li>a</li></ol>"
                                               << "<ol><li>a</li></ol>";
    QTest::newRow("a_list_anywhere_stays") << "New: <ol>"
                                           << "New: <ol>";
    QTest::newRow("an_upper_case_list_is_wrapped_again") << "<OL><li>a</li></OL>"
                                                         << "<ol><OL><li>a</li></OL></ol>";
    QTest::newRow("a_list_with_attributes_is_wrapped_again") << "<ol type=\"a\"></ol>"
                                                             << "<ol><ol type=\"a\"></ol></ol>";
    QTest::newRow("no_notes_give_an_empty_list") << ""
                                                 << "<ol></ol>";
}

void tst_VersionInfo::notes_are_wrapped()
{
    QFETCH(QString, notes);
    QFETCH(QString, expected);
    QCOMPARE(VersionInfo::wrapNotes(notes), expected);
    const VersionInfo info("<a><WhatNews><Item><Version>1</Version><Text>" + notes.toHtmlEscaped() +
                               "</Text></Item></WhatNews></a>",
                           nullptr);
    QCOMPARE(info.ReleaseNotes().value(0).notes, expected);
}

void tst_VersionInfo::the_size_is_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint64>("expected");
    QTest::newRow("a_number") << "1234" << qint64(1234);
    QTest::newRow("the_largest") << "4294967295" << qint64(4294967295);
    QTest::newRow("one_more_overflows") << "4294967296" << qint64(0);
    QTest::newRow("a_negative_number") << "-1" << qint64(0);
    QTest::newRow("a_number_with_a_unit") << "12kB" << qint64(0);
    QTest::newRow("nothing") << "" << qint64(0);
    QTest::newRow("hexadecimal_digits") << "0x10" << qint64(0);
}

void tst_VersionInfo::the_size_is()
{
    QFETCH(QString, text);
    QFETCH(qint64, expected);
    const VersionInfo info(
        "<a><IncreasePackage><Size_x64>" + text + "</Size_x64></IncreasePackage></a>", nullptr);
    QCOMPARE(info.IncreaseSize(), expected);
}

void tst_VersionInfo::auto_notify_is_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("expected");
    QTest::newRow("one_is_on") << "1" << true;
    QTest::newRow("two_is_on") << "2" << true;
    QTest::newRow("a_negative_number_is_on") << "-1" << true;
    QTest::newRow("zero_is_off") << "0" << false;
    QTest::newRow("nothing_is_off") << "" << false;
    QTest::newRow("a_word_is_off") << "yes" << false;
    QTest::newRow("an_overflow_is_off") << "2147483648" << false;
}

void tst_VersionInfo::auto_notify_is()
{
    QFETCH(QString, text);
    QFETCH(bool, expected);
    const VersionInfo info(
        "<a><IncreasePackage><AutoNotify>" + text + "</AutoNotify></IncreasePackage></a>", nullptr);
    QCOMPARE(info.AutoNotify(), expected);
}

void tst_VersionInfo::auto_notify_outside_the_incremental_package_is_ignored()
{
    QVERIFY(!VersionInfo("<a><AutoNotify>1</AutoNotify></a>", nullptr).AutoNotify());
    QVERIFY(
        !VersionInfo("<a><AutoNotify>1</AutoNotify><IncreasePackage/></a>", nullptr).AutoNotify());
}

void tst_VersionInfo::the_release_notes_are_data()
{
    QTest::addColumn<QString>("xml");
    QTest::addColumn<QString>("expected");
    const QString item = "<Item><Version>%1</Version><Text>%2</Text></Item>";
    const QString one = item.arg(1).arg("a");
    const QString two = item.arg(2).arg("b");
    QTest::newRow("the_items_in_document_order") << "<r><WhatNews>" + two + one + "</WhatNews></r>"
                                                 << "2=<ol>b</ol>|1=<ol>a</ol>";
    QTest::newRow("duplicates_are_kept") << "<r><WhatNews>" + one + one + "</WhatNews></r>"
                                         << "1=<ol>a</ol>|1=<ol>a</ol>";
    QTest::newRow("only_the_first_list_of_two")
        << "<r><WhatNews>" + one + "</WhatNews><WhatNews>" + two + "</WhatNews></r>"
        << "1=<ol>a</ol>";
    QTest::newRow("a_nested_item_is_listed_behind_its_parent")
        << "<r><WhatNews><Item><Version>1</Version><Text>a</Text>" + two + "</Item></WhatNews></r>"
        << "1=<ol>a</ol>|2=<ol>b</ol>";
    QTest::newRow("an_item_without_children_is_listed_as_well")
        << "<r><WhatNews><Item/></WhatNews></r>"
        << "=<ol></ol>";
    QTest::newRow("an_item_outside_the_list_is_not")
        << "<r>" + one + "<WhatNews>" + two + "</WhatNews></r>"
        << "2=<ol>b</ol>";
    QTest::newRow("an_empty_list") << "<r><WhatNews/></r>"
                                   << "";
}

void tst_VersionInfo::the_release_notes_are()
{
    QFETCH(QString, xml);
    QFETCH(QString, expected);
    QCOMPARE(gNotesText(VersionInfo(xml, nullptr)), expected);
}

void tst_VersionInfo::only_the_first_incremental_package_is_read()
{
    const VersionInfo info("<a><IncreasePackage><Url_x64>1</Url_x64></IncreasePackage>"
                           "<IncreasePackage><Url_x64>2</Url_x64><Version>2</Version>"
                           "</IncreasePackage></a>",
                           nullptr);
    QCOMPARE(info.IncreaseUrl(), QStringLiteral("1"));
    QVERIFY(info.IncreaseVersion().isEmpty());
}

void tst_VersionInfo::the_values_are_logged_in_order()
{
    const LogCapture log;
    const VersionInfo info(gFullManifest("7"), nullptr);
    const QStringList expected{"full package md5 = md57", "increase package url = url7",
                               "increase package version = iv7", "increase package verify = imd57",
                               "full package oldVerify = old7"};
    const QStringList messages = log.Messages("UpdateCommon");
    QCOMPARE(messages.size(), expected.size());
    for (int index = 0; index < expected.size(); ++index) {
        QVERIFY2(messages.at(index).endsWith(expected.at(index)), qPrintable(messages.at(index)));
        QCOMPARE(log.Count("UpdateCommon", "VersionInfo::ParseXml", expected.at(index)), 1);
    }
}

void tst_VersionInfo::absent_elements_are_not_logged()
{
    const LogCapture log;
    const VersionInfo info("<a><ExeUrl_x64>x</ExeUrl_x64></a>", nullptr);
    QVERIFY(info.HasExeUrl());
    QCOMPARE(log.Messages("UpdateCommon"), QStringList());
}

void tst_VersionInfo::an_empty_incremental_package_is_logged_with_empty_values()
{
    const LogCapture log;
    const VersionInfo info("<a><IncreasePackage/></a>", nullptr);
    QVERIFY(!info.HasIncreasePackage());
    const QStringList messages = log.Messages("UpdateCommon");
    QCOMPARE(messages.size(), 3);
    QVERIFY(messages.at(0).contains("increase package url ="));
    QVERIFY(messages.at(1).contains("increase package version ="));
    QVERIFY(messages.at(2).contains("increase package verify ="));
}

QTEST_GUILESS_MAIN(tst_VersionInfo)
#include "tst_VersionInfo.moc"
