// SPDX-License-Identifier: MIT

#include "tests/tools/quillon-publish/ReleaseDesk.h"

#include <QFile>
#include <QTest>

using Changes = QMap<QString, QString>;

namespace
{
QString gLatin1(const char *text)
{
    return QString::fromLatin1(text);
}
} // namespace

/// The input that quillon-publish accepts or refuses: command lines, installers, release notes.
class tst_PublishInput : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void wrong_command_lines_are_usage_errors_data();
    void wrong_command_lines_are_usage_errors();
    void help_names_every_option();

    void refused_input_changes_nothing_data();
    void refused_input_changes_nothing();
    void a_package_of_two_gibibytes_is_refused_with_the_reason();
    void blanks_around_the_version_of_an_installer_do_not_count();

    void notes_become_what_the_version_page_shows_data();
    void notes_become_what_the_version_page_shows();

private:
    /// An installer of a few bytes that carries @p version.
    QString Small(const char *name, const QByteArray &version) const
    {
        return m_desk.Write(gLatin1(name), "#!/bin/sh\n# FileVersion=" + version + "\n");
    }
    void AddRefusal(const char *row, const Changes &changes, const QStringList &previous,
                    const char *says) const
    {
        QTest::newRow(row) << m_desk.Arguments(changes, previous) << gLatin1(says);
    }

    ReleaseDesk m_desk;
};

void tst_PublishInput::initTestCase()
{
    m_desk.Write(gLatin1("notes.md"), "- Exports resume\n");
    Small("corvina-9.3.0.0.exe", "9.3.0.0");
    Small("corvina-9.2.0.0.exe", "9.2.0.0");
}

void tst_PublishInput::wrong_command_lines_are_usage_errors_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("says");
    const auto add = [this](const char *row, const Changes &changes, const char *says) {
        QTest::newRow(row) << m_desk.Arguments(changes) << gLatin1(says);
    };
    QTest::newRow("nothing_at_all") << QStringList() << gLatin1("is missing");
    for (const char *option : {"site", "base-url", "product-version", "installer", "notes"}) {
        const QByteArray row = QByteArray("no --") + option;
        add(row.constData(), {{gLatin1(option), QString()}},
            QByteArray(QByteArray("--") + option + " is missing").constData());
    }
    QTest::newRow("an_unknown_option")
        << m_desk.Arguments() + QStringList{gLatin1("--force")} << gLatin1("force");
    QTest::newRow("an_argument_without_an_option")
        << m_desk.Arguments() + QStringList{gLatin1("extra")} << gLatin1("extra");
    QTest::newRow("two_sites") << m_desk.Arguments() + QStringList{gLatin1("--site"), gLatin1("b")}
                               << gLatin1("--site is given twice");
    add("a base URL of a file", {{gLatin1("base-url"), gLatin1("file:///srv/updates")}}, "http");
    add("a base URL without a host", {{gLatin1("base-url"), gLatin1("https:///x")}}, "http");
    add("a base URL with a query", {{gLatin1("base-url"), gLatin1("https://a.example/?x=1")}},
        "query");
    add("a base URL with a user", {{gLatin1("base-url"), gLatin1("https://me@a.example/")}},
        "user");
    add("a version with a blank", {{gLatin1("product-version"), gLatin1("9.3 beta")}}, "9.3 beta");
    add("a version that is a path", {{gLatin1("product-version"), gLatin1("../9.3")}}, "../9.3");
}

void tst_PublishInput::wrong_command_lines_are_usage_errors()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, says);
    QCOMPARE(m_desk.RefusalFault(arguments, says, 2), QString());
}

void tst_PublishInput::help_names_every_option()
{
    const ReleaseDesk::Outcome outcome = ReleaseDesk::Run({gLatin1("--help")});
    QCOMPARE(outcome.code, 0);
    QCOMPARE(outcome.err, QString());
    for (const char *option : {"--site", "--base-url", "--product-version", "--installer",
                               "--previous", "--notes", "--auto-notify", "--bspatch", "--bsdiff"}) {
        QVERIFY2(outcome.out.contains(gLatin1(option)), option);
    }
}

void tst_PublishInput::refused_input_changes_nothing_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("says");
    const QString installer = gLatin1("installer");
    const QString notes = gLatin1("notes");

    AddRefusal("an installer of another version", {{installer, Small("other.exe", "9.3.0.1")}}, {},
               "carries the version 9.3.0.1 and not 9.3.0.0");
    AddRefusal("a version that is only written alike",
               {{installer, Small("alike.exe", "9.3.0.00")}}, {}, "9.3.0.00");
    AddRefusal("an installer without a version",
               {{installer, m_desk.Write(gLatin1("none.exe"), "no version")}}, {},
               "carries no version");
    AddRefusal("an empty installer", {{installer, m_desk.Write(gLatin1("empty.exe"), "")}}, {},
               "empty.exe is empty");
    AddRefusal("an installer that is not there", {{installer, m_desk.Path(gLatin1("gone.exe"))}},
               {}, "cannot read");
    AddRefusal("a folder as the installer", {{installer, m_desk.Path(QString())}}, {},
               "cannot read");
    AddRefusal("a name with a blank", {{installer, Small("corvina 9.3.exe", "9.3.0.0")}}, {},
               "cannot be a package's name");
    AddRefusal("a name with a percent sign", {{installer, Small("corvina%2F9.exe", "9.3.0.0")}}, {},
               "cannot be a package's name");
    AddRefusal("a hidden file", {{installer, Small(".corvina.exe", "9.3.0.0")}}, {},
               "cannot be a package's name");

    AddRefusal("a previous installer of the new version", {}, {Small("same.exe", "9.3.0.0")},
               "carries the new version");
    AddRefusal("a previous installer without a version", {}, {m_desk.Path(gLatin1("none.exe"))},
               "carries no version");
    AddRefusal("a previous version that is no file name", {}, {Small("path.exe", "../9.2")},
               "cannot stand in an address");
    AddRefusal("two previous installers of one version", {},
               {m_desk.Path(gLatin1("corvina-9.2.0.0.exe")), Small("twin.exe", "9.2.0.0")},
               "two previous installers carry the version 9.2.0.0");
    AddRefusal("a previous installer that is not there", {}, {m_desk.Path(gLatin1("gone.exe"))},
               "cannot read");

    AddRefusal("notes of another kind", {{notes, m_desk.Write(gLatin1("n.txt"), "Hello")}}, {},
               ".md or a .html");
    AddRefusal("notes that are not there", {{notes, m_desk.Path(gLatin1("gone.md"))}}, {},
               "cannot read");
    AddRefusal("notes of blanks", {{notes, m_desk.Write(gLatin1("blank.md"), " \n\n")}}, {},
               "no release notes");
    AddRefusal("notes in another encoding",
               {{notes, m_desk.Write(gLatin1("l.md"), "- gr\xFC\xDF")}}, {}, "not UTF-8");
    AddRefusal("notes with control characters", {{notes, m_desk.Write(gLatin1("c.md"), "- a\x01")}},
               {}, "control characters");
    AddRefusal("notes beyond what clients read",
               {{notes, m_desk.Write(gLatin1("long.html"), QByteArray(15 * 1024, 'x'))}}, {},
               "shorten the release notes");
    AddRefusal("a file as the site", {{gLatin1("site"), m_desk.Path(gLatin1("notes.md"))}}, {},
               "not a folder");
    AddRefusal("a site in a folder that is not there",
               {{gLatin1("site"), m_desk.Path(gLatin1("gone/site"))}}, {}, "no such folder");
}

void tst_PublishInput::refused_input_changes_nothing()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, says);
    QCOMPARE(m_desk.RefusalFault(arguments, says), QString());
}

void tst_PublishInput::a_package_of_two_gibibytes_is_refused_with_the_reason()
{
    QFile huge(Small("huge.exe", "9.3.0.0"));
    // A sparse file: it takes no space on the disk.
    QVERIFY(huge.resize(Q_INT64_C(2147483648)));
    const ReleaseDesk::Outcome outcome =
        ReleaseDesk::Run(m_desk.Arguments({{gLatin1("installer"), huge.fileName()}}));
    QVERIFY(huge.remove());
    QCOMPARE(outcome.code, 1);
    QVERIFY2(outcome.err.contains(gLatin1("smaller than 2 GiB")), qPrintable(outcome.err));
    QVERIFY2(outcome.err.contains(gLatin1("32-bit")), qPrintable(outcome.err));
}

void tst_PublishInput::blanks_around_the_version_of_an_installer_do_not_count()
{
    QTemporaryDir folder;
    const QString installer = Small("blanks-9.3.exe", "  9.3.0.0  ");
    const ReleaseDesk::Outcome outcome = ReleaseDesk::Run(m_desk.Arguments(
        {{gLatin1("installer"), installer}, {gLatin1("site"), folder.filePath(gLatin1("site"))}}));
    QCOMPARE(outcome.err, QString());
    QCOMPARE(outcome.code, 0);
}

void tst_PublishInput::notes_become_what_the_version_page_shows_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("shown");
    const QString markdown = gLatin1("n.md");
    const QString html = gLatin1("n.html");
    QTest::newRow("a_markdown_list_becomes_items")
        << markdown << QByteArray("- One\n- *Two*\n")
        << gLatin1("<ol><li>One</li>\n<li><em>Two</em></li></ol>");
    QTest::newRow("a_numbered_list_stays_one")
        << markdown << QByteArray("1. One\n2. Two\n")
        << gLatin1("<ol>\n<li>One</li>\n<li>Two</li>\n</ol>");
    QTest::newRow("a_numbered_list_inside_a_bulleted_one_leaves_both_whole")
        << markdown << QByteArray("- One\n  1. Two\n")
        << gLatin1("<ul>\n<li>One<ol>\n<li>Two</li>\n</ol>\n</li>\n</ul>");
    QTest::newRow("a_bulleted_list_inside_another_stays_in_its_item")
        << markdown << QByteArray("- One\n  - Two\n")
        << gLatin1("<ol><li>One<ul>\n<li>Two</li>\n</ul>\n</li></ol>");
    QTest::newRow("two_lists_stay_what_they_are")
        << markdown << QByteArray("- One\n\n# Fixed\n\n- Two\n")
        << gLatin1("<ol><ul>\n<li>One</li>\n</ul>\n<h1>Fixed</h1>\n<ul>\n<li>Two</li>\n</ul></ol>");
    QTest::newRow("html_inside_markdown_is_text")
        << markdown << QByteArray("- a <b> & c\n")
        << gLatin1("<ol><li>a &lt;b&gt; &amp; c</li></ol>");
    QTest::newRow("html_is_taken_as_it_is") << html << QByteArray("<li>One &amp; <b>Two</b></li>  ")
                                            << gLatin1("<ol><li>One &amp; <b>Two</b></li>  </ol>");
    QTest::newRow("a_list_of_its_own_is_not_wrapped_again")
        << html << QByteArray("<ol><li>One</li></ol>") << gLatin1("<ol><li>One</li></ol>");
    QTest::newRow("the_end_of_a_cdata_section_is_only_text")
        << html << QByteArray("<li>a[b[0]]>c ]]> ]]]]>></li>")
        << gLatin1("<ol><li>a[b[0]]>c ]]> ]]]]>></li></ol>");
    QTest::newRow("letters_of_every_script_come_through")
        << markdown << QByteArray("- Gr\xC3\xBC\xC3\x9F\x65 \xF0\x9F\x9A\x80\n")
        << QString::fromUtf8("<ol><li>Gr\xC3\xBC\xC3\x9F\x65 \xF0\x9F\x9A\x80</li></ol>");
    QTest::newRow("a_byte_order_mark_and_line_ends_of_other_systems_are_nothing")
        << html << QByteArray("\xEF\xBB\xBF<li>One</li>\r\n<li>Two</li>")
        << gLatin1("<ol><li>One</li>\n<li>Two</li></ol>");
}

void tst_PublishInput::notes_become_what_the_version_page_shows()
{
    QFETCH(QString, file);
    QFETCH(QByteArray, content);
    QFETCH(QString, shown);
    const QString notes = m_desk.Write(file, content);
    const ReleaseDesk::Outcome outcome =
        ReleaseDesk::Run(m_desk.Arguments({{gLatin1("notes"), notes}}));
    QCOMPARE(outcome.err, QString());
    QCOMPARE(outcome.code, 0);
    const QList<ReleaseNote> read = m_desk.Manifest(gLatin1("manifest.xml"))->ReleaseNotes();
    QCOMPARE(read.size(), 1);
    QCOMPARE(read.first().version, gLatin1("9.3.0.0"));
    QCOMPARE(read.first().notes, shown);
}

QTEST_GUILESS_MAIN(tst_PublishInput)
#include "tst_PublishInput.moc"
