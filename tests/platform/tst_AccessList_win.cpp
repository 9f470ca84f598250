// SPDX-License-Identifier: MIT

#include "platform/AccessList_win.h"

#include <QtTest>

#include <sddl.h>

namespace
{
const QString user = QStringLiteral("S-1-5-21-1-2-3-1001");
const QString another = QStringLiteral("S-1-5-21-1-2-3-1002");
const QString trustedInstaller =
    QStringLiteral("S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464");

struct LocalMemory {
    void operator()(void *memory) const { LocalFree(memory); }
};
using Memory = std::unique_ptr<void, LocalMemory>;

/// What is written in the system's language for owners and lists.
Memory gFolder(const QString &rules)
{
    PSECURITY_DESCRIPTOR folder = nullptr;
    ConvertStringSecurityDescriptorToSecurityDescriptorW(rules.toStdWString().c_str(),
                                                         SDDL_REVISION_1, &folder, nullptr);
    return Memory(folder);
}

Memory gAccount(const QString &text)
{
    PSID account = nullptr;
    ConvertStringSidToSidW(text.toStdWString().c_str(), &account);
    return Memory(account);
}

/// What a folder of the user has from the system, and one entry more.
QString gRules(const QString &entry)
{
    return QStringLiteral("O:%1D:%2(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;FA;;;%1)")
        .arg(user, entry);
}
} // namespace

/// Lists as the system writes them. No file system has to keep them, so all of it shows under Wine.
class tst_AccessList_win : public QObject
{
    Q_OBJECT

private slots:
    void what_an_entry_lets_others_do_data();
    void what_an_entry_lets_others_do();
    void the_owner_can_change_everything_data();
    void the_owner_can_change_everything();
    void without_a_list_everybody_can_change_everything();
    void an_empty_list_lets_nobody_change_anything();
    void without_an_owner_it_is_unknown();
    void an_entry_of_an_unknown_kind_may_let_others_do_it();
    void an_entry_behind_one_that_forbids_counts();
    void an_account_has_a_text();
};

void tst_AccessList_win::what_an_entry_lets_others_do_data()
{
    QTest::addColumn<QString>("entry");
    QTest::addColumn<bool>("isKept");
    QTest::addColumn<bool>("isNameKept");
    QTest::addColumn<bool>("isNameOnVolumeKept");
    const auto row = [](const char *name, const QString &entry, bool any, bool names, bool volume) {
        QTest::newRow(name) << entry << any << names << volume;
    };
    row("nothing_else", "", true, true, true);
    row("everybody_all", "(A;;FA;;;WD)", false, false, false);
    row("everybody_all_in_general", "(A;;GA;;;WD)", false, false, false);
    row("everybody_reads", "(A;OICI;0x1200a9;;;WD)", true, true, true);
    row("users_make_files", "(A;;0x2;;;BU)", false, true, true);
    row("users_make_folders", "(A;;0x4;;;BU)", false, true, true);
    row("users_write_attributes", "(A;;0x100;;;BU)", false, true, true);
    row("users_write_extended_attributes", "(A;;0x10;;;BU)", false, true, true);
    row("users_write_in_general", "(A;;GW;;;BU)", false, true, true);
    row("users_remove_it", "(A;;SD;;;BU)", false, false, true);
    row("users_modify", "(A;OICI;0x1301bf;;;AU)", false, false, true);
    row("users_remove_what_is_in_it", "(A;;0x40;;;BU)", false, false, false);
    row("another_account_sets_the_list", "(A;;WD;;;" + another + ")", false, false, false);
    row("another_account_takes_it", "(A;;WO;;;" + another + ")", false, false, false);
    row("inherited_from_above", "(A;OICIID;FA;;;" + another + ")", false, false, false);
    row("only_to_be_inherited", "(A;OICIIO;FA;;;AU)", false, true, true);
    row("its_maker", "(A;OICIIO;FA;;;CO)", true, true, true);
    row("the_makers_group", "(A;OICIIO;FA;;;CG)", false, true, true);
    row("its_owner", "(A;OICI;FA;;;S-1-3-4)", true, true, true);
    row("the_installer_of_windows", "(A;OICI;FA;;;" + trustedInstaller + ")", true, true, true);
    row("another_service", "(A;;FA;;;S-1-5-80-1-2-3-4-5)", false, false, false);
    row("a_packaged_program", "(A;;FA;;;S-1-15-2-1)", false, false, false);
    row("forbidden_to_everybody", "(D;;FA;;;WD)", true, true, true);
}

void tst_AccessList_win::what_an_entry_lets_others_do()
{
    QFETCH(QString, entry);
    const Memory folder = gFolder(gRules(entry));
    QVERIFY(folder != nullptr);
    const Memory self = gAccount(user);
    QTEST(gIsKeptFrom(FolderChange::Any, folder.get(), self.get()), "isKept");
    QTEST(gIsKeptFrom(FolderChange::Names, folder.get(), self.get()), "isNameKept");
    QTEST(gIsKeptFrom(FolderChange::NamesOfVolume, folder.get(), self.get()), "isNameOnVolumeKept");
}

void tst_AccessList_win::the_owner_can_change_everything_data()
{
    QTest::addColumn<QString>("owner");
    QTest::addColumn<bool>("isKept");
    QTest::newRow("this_user") << user << true;
    QTest::newRow("the_system") << "SY" << true;
    QTest::newRow("the_administrators") << "BA" << true;
    QTest::newRow("the_installer_of_windows") << trustedInstaller << true;
    QTest::newRow("another_account") << another << false;
    QTest::newRow("everybody") << "WD" << false;
}

void tst_AccessList_win::the_owner_can_change_everything()
{
    QFETCH(QString, owner);
    const Memory folder = gFolder("O:" + owner + "D:(A;OICI;FA;;;" + user + ")");
    QVERIFY(folder != nullptr);
    const Memory self = gAccount(user);
    QTEST(gIsKeptFrom(FolderChange::Any, folder.get(), self.get()), "isKept");
    QTEST(gIsKeptFrom(FolderChange::Names, folder.get(), self.get()), "isKept");
    QTEST(gIsKeptFrom(FolderChange::NamesOfVolume, folder.get(), self.get()), "isKept");
}

void tst_AccessList_win::without_a_list_everybody_can_change_everything()
{
    const Memory self = gAccount(user);
    const Memory none = gFolder("O:" + user);
    QVERIFY(none != nullptr);
    QVERIFY(!gIsKeptFrom(FolderChange::Any, none.get(), self.get()));
    SECURITY_DESCRIPTOR null{};
    QVERIFY(InitializeSecurityDescriptor(&null, SECURITY_DESCRIPTOR_REVISION));
    QVERIFY(SetSecurityDescriptorOwner(&null, self.get(), FALSE));
    QVERIFY(SetSecurityDescriptorDacl(&null, TRUE, nullptr, FALSE));
    QVERIFY(!gIsKeptFrom(FolderChange::Any, &null, self.get()));
    QVERIFY(!gIsKeptFrom(FolderChange::NamesOfVolume, &null, self.get()));
}

void tst_AccessList_win::an_empty_list_lets_nobody_change_anything()
{
    ACL list{};
    QVERIFY(InitializeAcl(&list, sizeof list, ACL_REVISION));
    const Memory self = gAccount(user);
    SECURITY_DESCRIPTOR folder{};
    QVERIFY(InitializeSecurityDescriptor(&folder, SECURITY_DESCRIPTOR_REVISION));
    QVERIFY(SetSecurityDescriptorOwner(&folder, self.get(), FALSE));
    QVERIFY(SetSecurityDescriptorDacl(&folder, TRUE, &list, FALSE));
    QVERIFY(gIsKeptFrom(FolderChange::Any, &folder, self.get()));
}

void tst_AccessList_win::without_an_owner_it_is_unknown()
{
    const Memory folder = gFolder("D:(A;OICI;FA;;;" + user + ")");
    QVERIFY(folder != nullptr);
    QVERIFY(!gIsKeptFrom(FolderChange::Any, folder.get(), gAccount(user).get()));
}

void tst_AccessList_win::an_entry_of_an_unknown_kind_may_let_others_do_it()
{
    const Memory folder = gFolder(gRules("(A;;0x1200a9;;;WD)"));
    QVERIFY(folder != nullptr);
    const Memory self = gAccount(user);
    QVERIFY(gIsKeptFrom(FolderChange::Any, folder.get(), self.get()));
    PACL list = nullptr;
    BOOL hasList = FALSE;
    BOOL isDefault = FALSE;
    QVERIFY(GetSecurityDescriptorDacl(folder.get(), &hasList, &list, &isDefault));
    void *entry = nullptr;
    QVERIFY(GetAce(list, 0, &entry));
    static_cast<ACE_HEADER *>(entry)->AceType = ACCESS_ALLOWED_CALLBACK_ACE_TYPE;
    QVERIFY(!gIsKeptFrom(FolderChange::Any, folder.get(), self.get()));
}

void tst_AccessList_win::an_entry_behind_one_that_forbids_counts()
{
    const Memory folder = gFolder(gRules("(D;;0x2;;;WD)(A;;FA;;;WD)"));
    QVERIFY(folder != nullptr);
    QVERIFY(!gIsKeptFrom(FolderChange::Any, folder.get(), gAccount(user).get()));
}

void tst_AccessList_win::an_account_has_a_text()
{
    QCOMPARE(QString::fromStdWString(gAccountText(gAccount(user).get())), user);
    QVERIFY(gAccountText(nullptr).empty());
}

QTEST_GUILESS_MAIN(tst_AccessList_win)
#include "tst_AccessList_win.moc"
