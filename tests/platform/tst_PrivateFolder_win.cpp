// SPDX-License-Identifier: MIT

#include "platform/PrivateFolder.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include <windows.h>

#include <aclapi.h>
#include <sddl.h>

namespace
{
std::wstring gNativeName(const QString &path)
{
    return QDir::toNativeSeparators(path).toStdWString();
}

/// The owner and the list of the folder, in the system's language for them.
QString gRules(const QString &path)
{
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    const SECURITY_INFORMATION parts = OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;
    if (GetNamedSecurityInfoW(gNativeName(path).c_str(), SE_FILE_OBJECT, parts, nullptr, nullptr,
                              nullptr, nullptr, &descriptor) != ERROR_SUCCESS) {
        return {};
    }
    wchar_t *text = nullptr;
    ConvertSecurityDescriptorToStringSecurityDescriptorW(descriptor, SDDL_REVISION_1, parts, &text,
                                                         nullptr);
    const QString rules = QString::fromWCharArray(text);
    LocalFree(text);
    LocalFree(descriptor);
    return rules;
}

/// Gives the folder the list of @p rules, and none from above. Without rules it gets a null list.
bool gSetList(const QString &path, const QString &rules)
{
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    PACL list = nullptr;
    BOOL hasList = TRUE;
    BOOL isDefault = FALSE;
    if (!rules.isEmpty() &&
        (ConvertStringSecurityDescriptorToSecurityDescriptorW(
             rules.toStdWString().c_str(), SDDL_REVISION_1, &descriptor, nullptr) == FALSE ||
         GetSecurityDescriptorDacl(descriptor, &hasList, &list, &isDefault) == FALSE)) {
        return false;
    }
    std::wstring name = gNativeName(path);
    const DWORD error =
        SetNamedSecurityInfoW(name.data(), SE_FILE_OBJECT,
                              DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION,
                              nullptr, nullptr, list, nullptr);
    LocalFree(descriptor);
    return error == ERROR_SUCCESS;
}
} // namespace

/// The owner and the list of folders on this disk. tst_AccessList_win tells what an entry means.
class tst_PrivateFolder_win : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void its_list_names_only_this_user_and_the_system();
    void a_list_that_lets_others_write_is_refused_data();
    void a_list_that_lets_others_write_is_refused();
    void a_list_that_lets_others_read_is_taken();
    void a_folder_above_that_is_open_is_refused_data();
    void a_folder_above_that_is_open_is_refused();
    void a_folder_on_the_network_is_refused();

private:
    QString Path(const QString &name) const { return m_folder->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void tst_PrivateFolder_win::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QString failure;
    QVERIFY2(gMakePrivateFolder(Path("made"), &failure), qPrintable(failure));
    QVERIFY2(gIsPrivateFolder(Path("made"), &failure), qPrintable(failure));
}

void tst_PrivateFolder_win::its_list_names_only_this_user_and_the_system()
{
    const QRegularExpression form("^O:(.+)D:[PAIR]*(\\(.+\\))$");
    const QRegularExpressionMatch rules = form.match(gRules(Path("made")));
    QVERIFY2(rules.hasMatch(), qPrintable(gRules(Path("made"))));
    const QString owner = rules.captured(1);
    const QStringList all = rules.captured(2).split(')', Qt::SkipEmptyParts);
    QVERIFY(all.contains("(A;OICI;FA;;;SY"));
    for (const QString &entry : all) {
        const QString account = entry.mid(entry.lastIndexOf(';') + 1);
        QVERIFY2(account == "SY" || account == "BA" || account.startsWith("S-1-5-21-"),
                 qPrintable(entry));
        QVERIFY2(entry.startsWith("(A;OICI;FA;;;"), qPrintable(entry));
    }
    QVERIFY2(owner == "BA" || owner.startsWith("S-1-5-21-"), qPrintable(owner));
}

void tst_PrivateFolder_win::a_list_that_lets_others_write_is_refused_data()
{
    QTest::addColumn<QString>("list");
    QTest::newRow("everybody") << "D:P(A;OICI;FA;;;BA)(A;OICI;FA;;;WD)";
    QTest::newRow("everybody_modifies") << "D:P(A;OICI;FA;;;BA)(A;OICI;0x1301bf;;;WD)";
    QTest::newRow("null") << "";
}

void tst_PrivateFolder_win::a_list_that_lets_others_write_is_refused()
{
    QFETCH(QString, list);
    QVERIFY(gSetList(Path("made"), list));
    QString failure;
    QVERIFY(!gIsPrivateFolder(Path("made"), &failure));
    QCOMPARE(failure, "another account can change " + Path("made"));
}

void tst_PrivateFolder_win::a_list_that_lets_others_read_is_taken()
{
    QVERIFY(gSetList(Path("made"), "D:P(A;OICI;FA;;;BA)(A;OICI;0x1200a9;;;WD)"));
    QVERIFY2(gRules(Path("made")).endsWith("0x1200a9;;;WD)"), qPrintable(gRules(Path("made"))));
    QString failure;
    QVERIFY2(gIsPrivateFolder(Path("made"), &failure), qPrintable(failure));
}

void tst_PrivateFolder_win::a_folder_above_that_is_open_is_refused_data()
{
    QTest::addColumn<QString>("inner");
    QTest::newRow("the_next") << "made/inner";
    QTest::newRow("one_further_up") << "made/next/inner";
}

void tst_PrivateFolder_win::a_folder_above_that_is_open_is_refused()
{
    QFETCH(QString, inner);
    QString failure;
    QVERIFY(gMakePrivateFolder(Path("made/next"), &failure));
    QVERIFY2(gIsKeptAbove(Path(inner), &failure), qPrintable(failure));
    QVERIFY(gSetList(Path("made"), "D:P(A;OICI;FA;;;BA)(A;OICI;FA;;;WD)"));
    QVERIFY(!gIsKeptAbove(Path(inner), &failure));
    QCOMPARE(failure, "another account can change " + Path("made"));
}

void tst_PrivateFolder_win::a_folder_on_the_network_is_refused()
{
    QString failure;
    QVERIFY(!gIsKeptAbove("//localhost/missing share/folder", &failure));
    QVERIFY2(failure.startsWith("it is unknown who can change //localhost"), qPrintable(failure));
}

QTEST_GUILESS_MAIN(tst_PrivateFolder_win)
#include "tst_PrivateFolder_win.moc"
