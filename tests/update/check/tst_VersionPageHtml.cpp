// SPDX-License-Identifier: MIT

#include "update/check/VersionPageHtml.h"

#include "tests/support/FakeTranslator.h"

#include <QtTest>

class tst_VersionPageHtml : public QObject
{
    Q_OBJECT

private slots:
    void the_document_is_data();
    void the_document_is();
    void the_texts_are_translated_in_the_context_of_the_manager();
};

static const QString header =
    "<h4><b style=\"color:#D7D8DB\">Find new versions. You can update to the latest version. "
    "Would you like to update now?</b><br></h4>"
    "<h4><b style=\"color:#D7D8DB\">What's new:</b></h4>";

void tst_VersionPageHtml::the_document_is_data()
{
    QTest::addColumn<QStringList>("notes");
    QTest::addColumn<QString>("expected");
    QTest::newRow("without_notes_the_two_headings_only") << QStringList{} << header;
    QTest::newRow("one_entry_ends_with_an_opening_tag")
        << QStringList{"9.2", "<ol><li>a</li></ol>"}
        << header + "<b style=\"color:#D7D8DB\">Version 9.2:</b>"
                    "<b style=\"color:#516A7C\"><ol><li>a</li></ol><b>";
    QTest::newRow("two_entries_follow_each_other_without_a_separator")
        << QStringList{"9.2", "<ol>a</ol>", "9.1", "<ol>b</ol>"}
        << header +
               "<b style=\"color:#D7D8DB\">Version 9.2:</b><b style=\"color:#516A7C\"><ol>a</ol><b>"
               "<b style=\"color:#D7D8DB\">Version 9.1:</b><b "
               "style=\"color:#516A7C\"><ol>b</ol><b>";
    QTest::newRow("place_markers_in_the_notes_stay")
        << QStringList{"9.2", "<ol>50%1 %2</ol>"}
        << header + "<b style=\"color:#D7D8DB\">Version 9.2:</b>"
                    "<b style=\"color:#516A7C\"><ol>50%1 %2</ol><b>";
    QTest::newRow("a_place_marker_in_the_version_takes_the_notes_the_lowest_number_goes_first")
        << QStringList{"%1", "<ol>a</ol>"}
        << header + "<b style=\"color:#D7D8DB\">Version <ol>a</ol>:</b>"
                    "<b style=\"color:#516A7C\">%2<b>";
}

static QList<ReleaseNote> gNotesOf(const QStringList &texts)
{
    QList<ReleaseNote> notes;
    for (int index = 0; index < texts.size(); index += 2) {
        notes.append({texts.at(index), texts.at(index + 1)});
    }
    return notes;
}

void tst_VersionPageHtml::the_document_is()
{
    QFETCH(QStringList, notes);
    QFETCH(QString, expected);
    QCOMPARE(BuildVersionPageHtml(gNotesOf(notes)), expected);
}

void tst_VersionPageHtml::the_texts_are_translated_in_the_context_of_the_manager()
{
    FakeTranslator translator;
    translator.Add("LiveUpdateMgr",
                   "Find new versions. You can update to the latest version. Would you like to "
                   "update now?",
                   "Neu?");
    translator.Add("LiveUpdateMgr", "What's new:", "Neues:");
    translator.Add("LiveUpdateMgr", "Version %1:", "Fassung %1:");
    QCoreApplication::installTranslator(&translator);
    QCOMPARE(BuildVersionPageHtml(gNotesOf({"9.2", "<ol>a</ol>"})),
             QStringLiteral("<h4><b style=\"color:#D7D8DB\">Neu?</b><br></h4>"
                            "<h4><b style=\"color:#D7D8DB\">Neues:</b></h4>"
                            "<b style=\"color:#D7D8DB\">Fassung 9.2:</b>"
                            "<b style=\"color:#516A7C\"><ol>a</ol><b>"));
}

QTEST_GUILESS_MAIN(tst_VersionPageHtml)
#include "tst_VersionPageHtml.moc"
