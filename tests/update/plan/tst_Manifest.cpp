// SPDX-License-Identifier: MIT

#include "update/plan/Manifest.h"

#include <QThread>
#include <QtTest>

/// Which documents are read as a manifest, and that none of them exhausts the stack or the memory.
class tst_Manifest : public QObject
{
    Q_OBJECT

private slots:
    void a_document_is_read_data();
    void a_document_is_read();
    void a_document_is_dropped_data();
    void a_document_is_dropped();
    void white_space_alone_is_no_text();
    void an_item_without_a_text_of_its_own_has_that_of_the_item_inside();
    void an_item_that_has_its_texts_keeps_them_from_the_items_inside();
    void an_item_gets_no_text_from_behind_its_end();
    void the_version_of_an_item_inside_the_incremental_package_counts_for_both();
    void notes_that_repeat_each_other_have_a_limit();
    void the_full_packages_own_md5_stands_outside_of_incremental_packages_data();
    void the_full_packages_own_md5_stands_outside_of_incremental_packages();
    void the_deepest_manifest_takes_little_of_the_callers_stack();
};

static const QString address = "<ExeUrl_x64>u</ExeUrl_x64>";

/// @p inner inside so many elements.
static QString gNested(int levels, const QString &inner)
{
    return QString("<a>").repeated(levels) + inner + QString("</a>").repeated(levels);
}

void tst_Manifest::a_document_is_read_data()
{
    QTest::addColumn<QString>("xml");
    const QString plain = "<a>" + address + "</a>";
    QTest::newRow("of_xml_1.1") << "<?xml version=\"1.1\"?>" + plain;
    QTest::newRow("that_claims_another_encoding")
        << R"(<?xml version="1.0" encoding="latin1"?>)" + plain;
    QTest::newRow("that_names_its_type") << "<!DOCTYPE a>" + plain;
    QTest::newRow("whose_type_is_described_elsewhere")
        << R"(<!DOCTYPE a PUBLIC "p" "http://u.example/a.dtd" >)" + plain;
    QTest::newRow("with_an_entity_that_is_not_declared") << "<a>" + address + "&nbsp;</a>";
    QTest::newRow("of_a_thousand_levels") << gNested(999, address);
    QTest::newRow("of_a_thousand_levels_in_xml_1.1")
        << "<?xml version=\"1.1\"?>" + gNested(999, address);
    QTest::newRow("with_very_many_shallow_elements")
        << "<a>" + QString("<b/>").repeated(100000) + address + "</a>";
}

void tst_Manifest::a_document_is_read()
{
    QFETCH(QString, xml);
    QCOMPARE(gReadManifest(xml).exeUrl, QStringLiteral("u"));
}

void tst_Manifest::a_document_is_dropped_data()
{
    QTest::addColumn<QString>("xml");
    const QString plain = "<a>" + address + "</a>";
    QTest::newRow("of_a_thousand_and_one_levels") << gNested(1000, address);
    QTest::newRow("whose_last_element_is_too_deep") << "<a>" + address + gNested(1000, "") + "</a>";
    QTest::newRow("of_a_hundred_thousand_levels") << "<a>" + address + gNested(100000, "") + "</a>";
    QTest::newRow("of_a_hundred_thousand_levels_in_xml_1.1")
        << "<?xml version=\"1.1\"?><a>" + address + gNested(100000, "") + "</a>";
    QTest::newRow("of_a_hundred_thousand_levels_without_an_end")
        << "<a>" + address + QString("<a>").repeated(100000);
    QTest::newRow("that_declares_a_type") << "<!DOCTYPE a [<!ELEMENT a ANY>]>" + plain;
    QTest::newRow("that_declares_a_type_without_a_space") << "<!DOCTYPE a[ ]>" + plain;
    QTest::newRow("that_declares_a_type_behind_an_address")
        << "<!DOCTYPE a SYSTEM \">\" [<!ELEMENT a ANY>]>" + plain;
    const QString parentheses = QString("(").repeated(300000);
    QTest::newRow("whose_type_is_nested_without_an_end")
        << "<!DOCTYPE a [<!ELEMENT a " + parentheses + ">]>" + plain;
    QTest::newRow("whose_type_is_nested_by_an_entity")
        << "<!DOCTYPE a [<!ENTITY % x \"&#60;!ELEMENT a " + parentheses + ">\">%x;]>" + plain;
    QTest::newRow("behind_which_something_follows") << plain + "<b/>";
}

void tst_Manifest::a_document_is_dropped()
{
    QFETCH(QString, xml);
    const ManifestValues manifest = gReadManifest(xml);
    QVERIFY(manifest.exeUrl.isEmpty());
    QVERIFY(!manifest.verify);
    QVERIFY(manifest.releaseNotes.isEmpty());
}

void tst_Manifest::white_space_alone_is_no_text()
{
    QVERIFY(gReadManifest("<a><ExeUrl_x64> \n</ExeUrl_x64></a>").exeUrl.isEmpty());
}

void tst_Manifest::an_item_without_a_text_of_its_own_has_that_of_the_item_inside()
{
    const QList<ReleaseNote> notes =
        gReadManifest("<a><WhatNews><Item><Item><Version>1</Version><Text>t</Text></Item>"
                      "<Version>2</Version><Item><Text>s</Text></Item></Item></WhatNews></a>")
            .releaseNotes;
    QCOMPARE(notes.size(), 3);
    QCOMPARE(notes.at(0).version, QStringLiteral("1"));
    QCOMPARE(notes.at(0).notes, QStringLiteral("t"));
    QCOMPARE(notes.at(1).version, QStringLiteral("1"));
    QCOMPARE(notes.at(2).version, QString());
    QCOMPARE(notes.at(2).notes, QStringLiteral("s"));
}

void tst_Manifest::an_item_that_has_its_texts_keeps_them_from_the_items_inside()
{
    const QList<ReleaseNote> notes =
        gReadManifest("<a><WhatNews><Item><Text>t<Item><Text>s</Text></Item>u</Text></Item>"
                      "</WhatNews></a>")
            .releaseNotes;
    QCOMPARE(notes.size(), 2);
    QCOMPARE(notes.at(0).notes, QStringLiteral("tsu"));
    QCOMPARE(notes.at(1).notes, QStringLiteral("s"));
}

void tst_Manifest::an_item_gets_no_text_from_behind_its_end()
{
    const QList<ReleaseNote> notes =
        gReadManifest("<a><WhatNews><Item/><Item><Text>t</Text></Item><Text>u</Text>"
                      "</WhatNews></a>")
            .releaseNotes;
    QCOMPARE(notes.size(), 2);
    QCOMPARE(notes.at(0).notes, QString());
    QCOMPARE(notes.at(1).notes, QStringLiteral("t"));
}

void tst_Manifest::the_version_of_an_item_inside_the_incremental_package_counts_for_both()
{
    const ManifestValues manifest =
        gReadManifest("<a><IncreasePackage><WhatNews><Item><Version>1</Version></Item></WhatNews>"
                      "</IncreasePackage><Version>2</Version></a>");
    QCOMPARE(manifest.releaseNotes.value(0).version, QStringLiteral("1"));
    QCOMPARE(manifest.increasePackage->version, QStringLiteral("1"));
}

void tst_Manifest::notes_that_repeat_each_other_have_a_limit()
{
    const auto manifest = [](int length) {
        return gReadManifest("<a>" + address + "<WhatNews>" + QString("<Item>").repeated(4) +
                             "<Text>" + QString(length, 'x') + "</Text>" +
                             QString("</Item>").repeated(4) + "</WhatNews></a>");
    };
    constexpr int quarter = 1024 * 1024;
    QCOMPARE(manifest(quarter).releaseNotes.size(), 4);
    QCOMPARE(manifest(quarter).releaseNotes.at(3).notes.size(), quarter);
    QVERIFY(manifest(quarter + 1).releaseNotes.isEmpty());
    QVERIFY(manifest(quarter + 1).exeUrl.isEmpty());
}

void tst_Manifest::the_full_packages_own_md5_stands_outside_of_incremental_packages_data()
{
    QTest::addColumn<QString>("xml");
    QTest::addColumn<QString>("own");
    const QString own = "<Verify_x64>full</Verify_x64>";
    const QString package =
        "<IncreasePackage><b><Verify_x64>patched</Verify_x64></b></IncreasePackage>";
    QTest::newRow("before_it") << "<a>" + own + package + "</a>"
                               << "full";
    QTest::newRow("behind_it") << "<a>" + package + own + "</a>"
                               << "full";
    QTest::newRow("behind_two") << "<a>" + package + package + own + "</a>"
                                << "full";
    QTest::newRow("nowhere") << "<a>" + package + package + "</a>"
                             << "";
    QTest::newRow("nowhere_but_in_nested_packages")
        << "<a><IncreasePackage>" + package + own + "</IncreasePackage></a>"
        << "";
}

void tst_Manifest::the_full_packages_own_md5_stands_outside_of_incremental_packages()
{
    QFETCH(QString, xml);
    QTEST(gReadManifest(xml).ownVerify, "own");
}

void tst_Manifest::the_deepest_manifest_takes_little_of_the_callers_stack()
{
    class Caller : public QThread
    {
    public:
        ManifestValues manifest;

    protected:
        void run() override { manifest = gReadManifest(gNested(999, address)); }
    };
    Caller caller;
    caller.setStackSize(128 * 1024);
    caller.start();
    QVERIFY(caller.wait());
    QCOMPARE(caller.manifest.exeUrl, QStringLiteral("u"));
}

QTEST_GUILESS_MAIN(tst_Manifest)
#include "tst_Manifest.moc"
