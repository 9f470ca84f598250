// SPDX-License-Identifier: MIT

#include "api/UpdateTrust.h"

#include "api/QuillonInit.h"
#include "api/UpdateInit.h"
#include "api/UpdateMain.h"
#include "tests/support/HttpServer.h"
#include "tests/support/MinisignKeyPair.h"
#include "tests/support/SignedManifest.h"
#include "tests/support/SystemPlaces.h"

#include <QtTest>

class tst_UpdateTrust : public QObject
{
    Q_OBJECT

private slots:
    void it_is_off_when_the_module_is_loaded();
    void the_last_list_counts();
    void a_getter_returns_a_copy();
    void a_dialog_keeps_the_keys_that_it_was_constructed_with();
};

void tst_UpdateTrust::it_is_off_when_the_module_is_loaded()
{
    QCOMPARE(UpdateTrust::GetPublicKeys(), QStringList());
}

void tst_UpdateTrust::the_last_list_counts()
{
    UpdateTrust::SetPublicKeys({"one", "two"});
    UpdateTrust::SetPublicKeys({"three"});
    QCOMPARE(UpdateTrust::GetPublicKeys(), QStringList{"three"});
    UpdateTrust::SetPublicKeys({});
    QCOMPARE(UpdateTrust::GetPublicKeys(), QStringList());
}

void tst_UpdateTrust::a_getter_returns_a_copy()
{
    UpdateTrust::SetPublicKeys({"one"});
    QStringList copy = UpdateTrust::GetPublicKeys();
    copy.clear();
    QCOMPARE(UpdateTrust::GetPublicKeys(), QStringList{"one"});
}

void tst_UpdateTrust::a_dialog_keeps_the_keys_that_it_was_constructed_with()
{
    const QTemporaryDir folder;
    const SystemPlaces places(folder.path());
    QuillonInit::SetConfigFileDir(folder.path());
    UpdateInit::SetUpdateVersion("9.1.0.0");
    HttpServer server;
    UpdateInit::SetUpdateUrl(server.Address("/check?pid=&version=&email="));
    const MinisignKeyPair pair('k');
    SignedManifest manifest;
    manifest.exeUrl = "http://u.example/setup.exe";
    manifest.full = "a package";
    server.Serve("/check", HttpAnswer::Body(manifest.Document()));

    UpdateTrust::SetPublicKeys({});
    UpdateMain trusting;
    UpdateTrust::SetPublicKeys({pair.PublicKey()});
    UpdateMain asking;
    UpdateTrust::SetPublicKeys({});
    QVERIFY(trusting.IsNeedUpdate());
    QVERIFY(!asking.IsNeedUpdate());
    server.Serve("/check", HttpAnswer::Body(pair.Sign(manifest.Document())));
    QVERIFY(trusting.IsNeedUpdate());
    QVERIFY(asking.IsNeedUpdate());
}

QTEST_MAIN(tst_UpdateTrust)
#include "tst_UpdateTrust.moc"
