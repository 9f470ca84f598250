// SPDX-License-Identifier: MIT

#include "platform/FileName.h"

#include <QtTest>

/// Which texts are names of files. The rules of both systems are tested on both.
class tst_FileName : public QObject
{
    Q_OBJECT

private slots:
    void a_name_data();
    void a_name();
    void two_names_of_one_file_data();
    void two_names_of_one_file();
    void the_name_of_a_program_data();
    void the_name_of_a_program();
    void the_rules_are_those_of_this_system();
};

void tst_FileName::a_name_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("onUnix");
    QTest::addColumn<bool>("onWindows");
    const auto row = [](const char *title, const QString &name, bool onUnix, bool onWindows) {
        QTest::newRow(title) << name << onUnix << onWindows;
    };
    row("an_installer", "Corvina 9.2(x64)-setup.exe", true, true);
    row("letters_of_any_script", QString::fromUtf8("установка älter.exe"), true, true);
    row("a_dot_in_front", ".setup", true, true);
    row("a_blank_in_front", " setup.exe", true, true);
    row("nothing", "", false, false);
    row("the_folder_itself", ".", false, false);
    row("the_folder_above", "..", false, false);
    row("three_dots", "...", true, false);
    row("a_slash", "a/b", false, false);
    row("a_nul", QString("setup") + QChar::Null + ".exe", false, false);
    row("a_backslash", "..\\setup.exe", true, false);
    row("a_drive", "C:setup.exe", true, false);
    row("a_stream", "setup.exe:hidden", true, false);
    row("a_query", "setup.exe?version=9", true, false);
    row("a_star", "setup*.exe", true, false);
    row("a_quotation_mark", "\"setup.exe\"", true, false);
    row("a_pipe", "setup|exe", true, false);
    row("angles", "<setup>", true, false);
    row("a_tab", "setup\t.exe", true, false);
    row("the_last_control_character", QString("setup") + QChar(31), true, false);
    row("a_dot_at_the_end", "setup.exe.", true, false);
    row("a_blank_at_the_end", "setup.exe ", true, false);
    row("a_device", "CON", true, false);
    row("a_device_in_lower_case", "nul", true, false);
    row("a_device_with_an_extension", "aux.exe", true, false);
    row("a_device_with_two_extensions", "prn.tar.gz", true, false);
    row("a_device_with_a_blank_and_an_extension", "con .exe", true, false);
    row("a_port", "com1.exe", true, false);
    row("the_last_port", "LPT9", true, false);
    row("a_port_with_a_raised_digit", QString("COM") + QChar(0xb9), true, false);
    row("the_console", "CONIN$", true, false);
    row("no_device_but_a_beginning", "console.exe", true, true);
    row("no_device_but_an_end", "icon.exe", true, true);
    row("no_port_with_two_digits", "com10.exe", true, true);
    row("the_longest", QString(255, 'a'), true, true);
    row("one_too_long", QString(256, 'a'), false, false);
    row("as_long_in_letters_of_two_bytes", QString(255, QChar(0xe4)), false, true);
}

void tst_FileName::a_name()
{
    QFETCH(QString, name);
    QTEST(gIsFileName(name, FileNameRules::Unix), "onUnix");
    QTEST(gIsFileName(name, FileNameRules::Windows), "onWindows");
}

void tst_FileName::two_names_of_one_file_data()
{
    QTest::addColumn<QString>("other");
    QTest::addColumn<bool>("onUnix");
    QTest::addColumn<bool>("onWindows");
    QTest::newRow("the_same") << "Setup.exe" << true << true;
    QTest::newRow("in_another_case") << "sETUP.EXE" << false << true;
    QTest::newRow("with_a_dot_behind") << "Setup.exe." << false << true;
    QTest::newRow("with_blanks_and_dots_behind") << "Setup.exe . ." << false << true;
    QTest::newRow("another") << "Setup2.exe" << false << false;
}

void tst_FileName::two_names_of_one_file()
{
    QFETCH(QString, other);
    QTEST(gIsSameFileName("Setup.exe", other, FileNameRules::Unix), "onUnix");
    QTEST(gIsSameFileName(other, "Setup.exe", FileNameRules::Windows), "onWindows");
}

void tst_FileName::the_name_of_a_program_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("onWindows");
    QTest::newRow("of_an_installer") << "Corvina 9.2(x64)-setup.exe"
                                     << "Corvina 9.2(x64)-setup.exe";
    QTest::newRow("in_capitals") << "SETUP.EXE"
                                 << "SETUP.EXE";
    QTest::newRow("without_an_ending") << "Corvina9"
                                       << "Corvina9.exe";
    QTest::newRow("of_a_batch_file") << "a&b.bat"
                                     << "a&b.bat.exe";
    QTest::newRow("with_the_ending_within") << "setup.exe.cmd"
                                            << "setup.exe.cmd.exe";
}

void tst_FileName::the_name_of_a_program()
{
    QFETCH(QString, name);
    QTEST(gProgramName(name, FileNameRules::Windows), "onWindows");
    QCOMPARE(gProgramName(name, FileNameRules::Unix), name);
}

void tst_FileName::the_rules_are_those_of_this_system()
{
    QCOMPARE(gIsFileName("con"), gFileNameRules() == FileNameRules::Unix);
    QCOMPARE(gIsSameFileName("a", "A"), gFileNameRules() == FileNameRules::Windows);
    QCOMPARE(gFileNameRules() == FileNameRules::Windows, QSysInfo::kernelType() == "winnt");
}

QTEST_APPLESS_MAIN(tst_FileName)
#include "tst_FileName.moc"
