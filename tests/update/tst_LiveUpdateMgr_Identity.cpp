// SPDX-License-Identifier: MIT

#include "tests/support/FaultScript.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Md5.h"
#include "tests/support/TestBytes.h"
#include "tests/update/UpdateRig.h"
#include "update/UpdateCommon/VersionInfo.h"

#include <QtTest>

namespace
{
constexpr int packageSize = 100003;
constexpr int bytesOfHalf = 1000;
const QString failedText = QStringLiteral("Failed to download the update.");

QString gVerify(const QByteArray &package)
{
    return QStringLiteral("<Verify_x64>%1</Verify_x64>").arg(gMd5(package));
}

/// Each range gets its first bytes and then nothing.
HttpAnswer gHalfOf(const QByteArray &package)
{
    return HttpAnswer::Broken(package, HttpAnswer::Fault::StallAfter, bytesOfHalf);
}
} // namespace

/// What a resume state belongs to: one file, and one package. Nothing of another is gone on with, and
/// nothing is installed but the package that the manifest names.
class tst_LiveUpdateMgr_Identity : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_rig.reset(); }

    void an_interrupted_download_goes_on();
    void a_file_of_another_account_is_not_gone_on_with();
    void a_finished_state_does_not_vouch_for_another_file();
    void a_finished_state_does_not_vouch_for_a_file_that_looks_the_same();
    void a_package_that_was_replaced_starts_anew_data();
    void a_package_that_was_replaced_starts_anew();
    void a_state_without_an_identity_is_taken_at_its_word_once();
    void complete_ranges_with_another_total_start_anew();

    void servers_that_name_different_versions_data();
    void servers_that_name_different_versions();
    void another_package_than_the_manifests_is_discarded();
    void the_manifests_md5_may_be_in_upper_case();
    void the_md5_of_the_incremental_package_is_not_the_full_ones();
    void the_md5_of_an_earlier_manifest_is_not_compared();

    void a_page_gives_no_size_data();
    void a_page_gives_no_size();

private:
    void Begin(const QByteArray &package, const QString &manifestElements);
    void UpdateNow(const HttpAnswer &answer, const QString &manifestElements);
    /// How many of the five ranges were asked for from their first byte on.
    int FirstBytesAskedFor() const;
    bool IsPlaced(const QByteArray &package) const
    {
        return gReadFile(m_rig->Installer()) == package && !QFile::exists(m_rig->Target());
    }

    const QByteArray m_package = gTestBytes(packageSize);
    const QByteArray m_other = gTestBytes(packageSize, 7);
    std::unique_ptr<UpdateRig> m_rig;
};

void tst_LiveUpdateMgr_Identity::init()
{
    m_rig = std::make_unique<UpdateRig>();
    m_rig->Build();
}

/// A session that ends with a part of each range of @p package.
void tst_LiveUpdateMgr_Identity::Begin(const QByteArray &package, const QString &manifestElements)
{
    UpdateNow(gHalfOf(package), manifestElements);
    QTRY_COMPARE(m_rig->State().value("AlreadyDownload_size/AlreadyDownload_size"),
                 QString::number(5 * bytesOfHalf));
    m_rig->Destroy();
}

/// A new session.
void tst_LiveUpdateMgr_Identity::UpdateNow(const HttpAnswer &answer,
                                           const QString &manifestElements)
{
    m_rig->Server().Serve("/files/setup.exe", answer);
    m_rig->Build();
    m_rig->Forget();
    m_rig->Offer(QStringLiteral("/files/setup.exe"), manifestElements);
    m_rig->Manager().UpdateNow();
    UpdateRig::SettlePlan();
}

int tst_LiveUpdateMgr_Identity::FirstBytesAskedFor() const
{
    int count = 0;
    const QStringList headers = gRangeHeaders(m_rig->Server());
    for (const char *first :
         {"bytes=0-", "bytes=20000-", "bytes=40000-", "bytes=60000-", "bytes=80000-"}) {
        count += headers.filter(QLatin1String(first)).isEmpty() ? 0 : 1;
    }
    return count;
}

void tst_LiveUpdateMgr_Identity::an_interrupted_download_goes_on()
{
    Begin(m_package, gVerify(m_package));
    UpdateNow(HttpAnswer::Body(m_package), gVerify(m_package));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QCOMPARE(FirstBytesAskedFor(), 0);
    QVERIFY(IsPlaced(m_package));
}

void tst_LiveUpdateMgr_Identity::a_file_of_another_account_is_not_gone_on_with()
{
    Begin(m_package, QString());
    const QString ofOther = m_rig->Path("other");
    QVERIFY(gWriteFile(ofOther, QByteArray(packageSize, 'o')));
    QVERIFY(QFile::remove(m_rig->Target()) && QFile::rename(ofOther, m_rig->Target()));
    UpdateNow(HttpAnswer::Body(m_package), QString());
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QCOMPARE(FirstBytesAskedFor(), 5);
    QVERIFY(IsPlaced(m_package));
}

void tst_LiveUpdateMgr_Identity::a_finished_state_does_not_vouch_for_another_file()
{
    UpdateNow(HttpAnswer::Body(m_package), QString());
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(gWriteFile(m_rig->Target(), QByteArray(packageSize, 'o')));
    UpdateNow(HttpAnswer::Body(m_package), QString());
    QTRY_COMPARE(m_rig->Boxes(), 2);
    QCOMPARE(FirstBytesAskedFor(), 5);
    QVERIFY(IsPlaced(m_package));
}

/// A file system that gives every file the same number.
void tst_LiveUpdateMgr_Identity::a_finished_state_does_not_vouch_for_a_file_that_looks_the_same()
{
    m_rig->System().fileIdentity = [](const QString &) { return QStringLiteral("one"); };
    a_finished_state_does_not_vouch_for_another_file();
}

void tst_LiveUpdateMgr_Identity::a_package_that_was_replaced_starts_anew_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after");
    QTest::newRow("by_its_md5") << gVerify(m_package) << gVerify(m_other);
    QTest::newRow("by_its_md5_which_it_had_not_before") << QString() << gVerify(m_other);
    QTest::newRow("by_its_version") << QStringLiteral("9.2.0.0") << QStringLiteral("9.2.0.1");
}

void tst_LiveUpdateMgr_Identity::a_package_that_was_replaced_starts_anew()
{
    QFETCH(QString, before);
    QFETCH(QString, after);
    const bool isVersion = before.startsWith('9');
    Begin(m_package, isVersion ? QString() : before);
    m_rig->Server().Serve("/files/setup.exe", HttpAnswer::Body(m_other));
    m_rig->Build();
    m_rig->Forget();
    QString manifest = UpdateRig::Manifest(m_rig->Server().Address("/files/setup.exe"),
                                           isVersion ? QString() : after);
    if (isVersion) {
        QVERIFY(manifest.contains(before));
        manifest.replace(before, after);
    }
    m_rig->Manager().findChild<VersionInfo *>()->setXml(manifest);
    m_rig->Manager().UpdateNow();
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QCOMPARE(FirstBytesAskedFor(), 5);
    QVERIFY(IsPlaced(m_other));
}

void tst_LiveUpdateMgr_Identity::a_state_without_an_identity_is_taken_at_its_word_once()
{
    QVERIFY(gWriteFile(m_rig->Target(), m_package));
    m_rig->WriteState(QString::number(packageSize), QString::number(packageSize - 19990),
                      {{{10, 19999},
                        {40000, 39999},
                        {60000, 59999},
                        {80000, 79999},
                        {packageSize, packageSize - 1}}});
    UpdateNow(gHalfOf(m_package), QString());
    QTRY_COMPARE(gRangeHeaders(m_rig->Server()), QStringList{"bytes=10-19999"});
    QVERIFY(!m_rig->State().value("Identity/Target_File").isEmpty());
    QCOMPARE(m_rig->State().value("Identity/Package_Version"), QStringLiteral("9.2.0.0"));
}

void tst_LiveUpdateMgr_Identity::complete_ranges_with_another_total_start_anew()
{
    QVERIFY(gWriteFile(m_rig->Target(), QByteArray(packageSize, 'o')));
    m_rig->WriteState(QString::number(packageSize), QString::number(packageSize - 1),
                      {{{20000, 19999},
                        {40000, 39999},
                        {60000, 59999},
                        {80000, 79999},
                        {packageSize, packageSize - 1}}});
    UpdateNow(HttpAnswer::Body(m_package), QString());
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(IsPlaced(m_package));
}

void tst_LiveUpdateMgr_Identity::servers_that_name_different_versions_data()
{
    QTest::addColumn<QByteArrayList>("tags");
    QTest::addColumn<bool>("isMd5Named");
    QTest::addColumn<bool>("isPlaced");
    const QByteArrayList strong{"\"one\"", "\"two\""};
    QTest::newRow("by_strong_tags_with_an_md5") << strong << true << true;
    QTest::newRow("by_strong_tags_without_an_md5") << strong << false << false;
    QTest::newRow("by_a_weak_form_of_the_tag")
        << QByteArrayList{"\"one\"", "W/\"one\""} << false << true;
    QTest::newRow("by_weak_tags") << QByteArrayList{"W/\"one\"", "W/\"two\""} << false << true;
}

void tst_LiveUpdateMgr_Identity::servers_that_name_different_versions()
{
    QFETCH(QByteArrayList, tags);
    QFETCH(bool, isMd5Named);
    QFETCH(bool, isPlaced);
    const QString elements = isMd5Named ? gVerify(m_package) : QString();
    // The first range that is asked for names one version, the others name the other.
    const FaultAnswer honest = FaultAnswer::File(m_package);
    FaultScript script;
    script.When("HEAD", "/files/setup.exe").Answer(honest);
    script.When("GET", "/files/setup.exe")
        .Answer(honest.Header("ETag", tags.at(0)))
        .Then(honest.Header("ETag", tags.at(1)));
    m_rig->Server().Play(script);
    m_rig->Build();
    m_rig->Offer(QStringLiteral("/files/setup.exe"), elements);
    m_rig->Manager().UpdateNow();
    if (isPlaced) {
        QTRY_COMPARE(m_rig->Boxes(), 1);
        QVERIFY(IsPlaced(m_package));
        return;
    }
    QTRY_COMPARE(m_rig->HintText(), failedText);
    QVERIFY(!QFile::exists(m_rig->Installer()));
    m_rig->Server().Play({});
    UpdateNow(HttpAnswer::Body(m_package), elements);
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(IsPlaced(m_package));
}

void tst_LiveUpdateMgr_Identity::another_package_than_the_manifests_is_discarded()
{
    const LogCapture log;
    UpdateNow(HttpAnswer::Body(m_other), gVerify(m_package));
    QTRY_COMPARE(m_rig->HintText(), failedText);
    QCOMPARE(m_rig->Pages().constLast(), QStringLiteral("hint"));
    QCOMPARE(m_rig->Boxes(), 0);
    QVERIFY(!QFile::exists(m_rig->Installer()));
    QVERIFY(!QFile::exists(m_rig->Target()));
    const QStringList lines = log.Messages("UpdateCommon", "DownloadMgr::_DownloadFinished");
    QCOMPARE(lines.filter(QStringLiteral("is another package")).size(), 1);
    QVERIFY(lines.filter(gMd5(m_package)).size() == 1 && lines.filter(gMd5(m_other)).size() == 1);

    UpdateNow(HttpAnswer::Body(m_package), gVerify(m_package));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QCOMPARE(FirstBytesAskedFor(), 5);
    QVERIFY(IsPlaced(m_package));
}

void tst_LiveUpdateMgr_Identity::the_manifests_md5_may_be_in_upper_case()
{
    Begin(m_package, gVerify(m_package));
    UpdateNow(HttpAnswer::Body(m_package),
              QStringLiteral("<Verify_x64>%1</Verify_x64>").arg(gMd5(m_package).toUpper()));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QCOMPARE(FirstBytesAskedFor(), 0);
    QVERIFY(IsPlaced(m_package));
}

void tst_LiveUpdateMgr_Identity::the_md5_of_the_incremental_package_is_not_the_full_ones()
{
    UpdateNow(HttpAnswer::Body(m_package),
              QStringLiteral("<IncreasePackage>%1</IncreasePackage>").arg(gVerify(m_other)));
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(IsPlaced(m_package));
}

void tst_LiveUpdateMgr_Identity::the_md5_of_an_earlier_manifest_is_not_compared()
{
    m_rig->Server().Serve("/files/setup.exe", HttpAnswer::Body(m_package));
    m_rig->Offer(QStringLiteral("/files/setup.exe"), gVerify(m_other));
    m_rig->Offer(QStringLiteral("/files/setup.exe"));
    m_rig->Manager().UpdateNow();
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QVERIFY(IsPlaced(m_package));
}

void tst_LiveUpdateMgr_Identity::a_page_gives_no_size_data()
{
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<bool>("isBehindRedirects");
    QTest::newRow("of_html") << QByteArray("text/html; charset=utf-8") << false;
    QTest::newRow("of_plain_text") << QByteArray("Text/Plain") << false;
    QTest::newRow("behind_redirects") << QByteArray("text/html") << true;
}

void tst_LiveUpdateMgr_Identity::a_page_gives_no_size()
{
    QFETCH(QByteArray, type);
    QFETCH(bool, isBehindRedirects);
    Begin(m_package, QString());
    const QByteArray state = gReadFile(m_rig->StateFile());
    const QByteArray target = gReadFile(m_rig->Target());
    HttpAnswer page = HttpAnswer::Body("<html>Please log in.</html>");
    page.contentType = type;
    if (isBehindRedirects) {
        m_rig->Server().Serve("/login", page);
        m_rig->Server().Serve("/portal",
                              HttpAnswer::Redirect(m_rig->Server().Address("/login").toLatin1()));
        page = HttpAnswer::Redirect(m_rig->Server().Address("/portal").toLatin1());
    }
    UpdateNow(page, QString());
    QCOMPARE(m_rig->HintText(), failedText);
    QVERIFY(gRangeHeaders(m_rig->Server()).isEmpty());
    QCOMPARE(gReadFile(m_rig->StateFile()), state);
    QVERIFY(gReadFile(m_rig->Target()) == target);

    UpdateNow(HttpAnswer::Body(m_package), QString());
    QTRY_COMPARE(m_rig->Boxes(), 1);
    QCOMPARE(FirstBytesAskedFor(), 0);
    QVERIFY(IsPlaced(m_package));
}

QTEST_MAIN(tst_LiveUpdateMgr_Identity)
#include "tst_LiveUpdateMgr_Identity.moc"
