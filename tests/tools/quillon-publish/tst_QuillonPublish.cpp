// SPDX-License-Identifier: MIT

#include "api/FileDigest.h"
#include "tests/support/TestFiles.h"
#include "tests/tools/quillon-publish/ArrivalWatch.h"
#include "tests/tools/quillon-publish/ReleaseDesk.h"

#include <QDir>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTest>

namespace
{
constexpr int patienceMs = 120000;
const char mainManifest[] = "manifest.xml";
const char patchName[] = "corvina-9.2.0.0-to-9.3.0.0.patch";

QString gLatin1(const char *text)
{
    return QString::fromLatin1(text);
}

/// A line of a script that waits until the test has written the file @p path.
QByteArray gWaitFor(const QString &path)
{
    return "while [ ! -e '" + path.toUtf8() + "' ]; do sleep 0.02; done\n";
}
} // namespace

/// quillon-publish as a release engineer runs it, with real installers.
class tst_QuillonPublish : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_desk.reset(new ReleaseDesk);
        m_desk->Write(gLatin1("notes.md"), "- Exports resume\n- Fewer stalls\n");
    }

    void publishes_a_package_that_patches_rebuild_and_manifests_describe();
    void clients_of_the_new_version_are_offered_nothing();
    void a_release_without_previous_installers_has_no_patch();
    void auto_notify_is_set_on_request_only();
    void the_slash_at_the_end_of_the_base_url_is_not_doubled();
    void the_next_release_replaces_every_older_offer();
    void the_same_release_can_be_published_again_with_other_notes();

    void a_package_of_the_size_of_another_is_warned_about();
    void a_patch_that_saves_nothing_is_warned_about();

    void patches_are_named_after_both_versions_data();
    void patches_are_named_after_both_versions();

    void packages_arrive_before_the_manifests_that_name_them();
    void published_files_are_readable_for_the_web_server();

    void failures_of_the_patch_programs_publish_nothing_data();
    void failures_of_the_patch_programs_publish_nothing();
    void a_failure_at_the_last_file_puts_everything_back();
    void a_failed_first_release_leaves_no_site();
    void another_package_of_the_same_name_is_refused();

    void tells_the_seconds_and_refuses_a_second_run_while_a_patch_is_made();
    void what_a_killed_run_left_is_removed();

private:
    /// Publishes with @p changes to the command line. @return whether it succeeded; a failure is
    /// printed.
    bool Publish(const QMap<QString, QString> &changes = {}, const QStringList &previous = {});
    /// The same for 9.2.0.0.
    bool PublishEarlier(QMap<QString, QString> changes = {}, const QStringList &previous = {});
    static QString Installer(const char *version)
    {
        return ReleaseDesk::Installer(gLatin1(version));
    }
    QString Package(const char *name) const
    {
        return m_desk->Site() + gLatin1("/packages/") + gLatin1(name);
    }
    QStringList Entries(const char *folder) const
    {
        return QDir(m_desk->Site() + QLatin1Char('/') + gLatin1(folder)).entryList(QDir::Files);
    }

    QScopedPointer<ReleaseDesk> m_desk;
};

bool tst_QuillonPublish::Publish(const QMap<QString, QString> &changes, const QStringList &previous)
{
    const ReleaseDesk::Outcome outcome = ReleaseDesk::Run(m_desk->Arguments(changes, previous));
    if (outcome.code != 0) {
        qWarning("%d: %s", outcome.code, qPrintable(outcome.err));
    }
    return outcome.code == 0;
}

bool tst_QuillonPublish::PublishEarlier(QMap<QString, QString> changes, const QStringList &previous)
{
    changes[gLatin1("product-version")] = gLatin1("9.2.0.0");
    changes[gLatin1("installer")] = Installer("9.2.0.0");
    return Publish(changes, previous);
}

void tst_QuillonPublish::publishes_a_package_that_patches_rebuild_and_manifests_describe()
{
    const QStringList previous{Installer("9.1.0.0"), Installer("9.2.0.0")};
    const ReleaseDesk::Outcome outcome = ReleaseDesk::Run(m_desk->Arguments({}, previous));
    QCOMPARE(outcome.err, QString());
    QCOMPARE(outcome.code, 0);
    QVERIFY(outcome.out.contains(gLatin1("% of the full package")));

    const QString newMd5 = FileMd5Hex(Installer("9.3.0.0"));
    QCOMPARE(FileMd5Hex(Package("corvina-9.3.0.0.exe")), newMd5);
    for (const QString &version : {gLatin1("9.1.0.0"), gLatin1("9.2.0.0")}) {
        const QString name = gLatin1("corvina-%1-to-9.3.0.0.patch").arg(version);
        const QString patch = Package(qPrintable(name));
        const QString rebuilt = m_desk->Path(version);
        QCOMPARE(QProcess::execute(gLatin1("bspatch"),
                                   {ReleaseDesk::Installer(version), rebuilt, patch}),
                 0);
        QCOMPARE(FileMd5Hex(rebuilt), newMd5);

        const auto manifest = m_desk->Manifest(gLatin1("manifests/%1.xml").arg(version));
        QCOMPARE(manifest->ExeUrl(),
                 gLatin1("https://updates.example/corvina/packages/corvina-9.3.0.0.exe"));
        QCOMPARE(manifest->FullPackageMd5(), newMd5);
        QCOMPARE(manifest->OldVerify(), FileMd5Hex(ReleaseDesk::Installer(version)));
        QCOMPARE(manifest->IncreaseUrl(),
                 gLatin1("https://updates.example/corvina/packages/") + name);
        QCOMPARE(manifest->IncreaseVersion(), gLatin1("9.3.0.0"));
        QCOMPARE(manifest->IncreaseMd5(), newMd5);
        QCOMPARE(manifest->IncreaseSize(), QFileInfo(patch).size());
    }
    const auto others = m_desk->Manifest(gLatin1(mainManifest));
    QCOMPARE(others->FullPackageMd5(), newMd5);
    QCOMPARE(others->ReleaseNotes().value(0).version, gLatin1("9.3.0.0"));
    QVERIFY(!others->HasIncreasePackage());
    QVERIFY(others->OldVerify().isEmpty());
    QCOMPARE(m_desk->MissingPackages(), QStringList());
}

void tst_QuillonPublish::clients_of_the_new_version_are_offered_nothing()
{
    QVERIFY(Publish());
    const QByteArray document = gReadFile(m_desk->Site() + gLatin1("/manifests/9.3.0.0.xml"));
    QVERIFY(!document.isEmpty());
    QVERIFY(!m_desk->Manifest(gLatin1("manifests/9.3.0.0.xml"))->HasExeUrl());
}

void tst_QuillonPublish::a_release_without_previous_installers_has_no_patch()
{
    QVERIFY(Publish());
    QCOMPARE(Entries("packages"), QStringList{gLatin1("corvina-9.3.0.0.exe")});
    QCOMPARE(Entries("manifests"), QStringList{gLatin1("9.3.0.0.xml")});
    QVERIFY(m_desk->Manifest(gLatin1(mainManifest))->HasExeUrl());
}

void tst_QuillonPublish::auto_notify_is_set_on_request_only()
{
    const QString manifest = gLatin1("manifests/9.2.0.0.xml");
    const QStringList arguments = m_desk->Arguments(m_desk->QuickPatches(), {Installer("9.2.0.0")});
    QCOMPARE(ReleaseDesk::Run(arguments).code, 0);
    QVERIFY(!m_desk->Manifest(manifest)->AutoNotify());
    QCOMPARE(ReleaseDesk::Run(arguments + QStringList{gLatin1("--auto-notify")}).code, 0);
    QVERIFY(m_desk->Manifest(manifest)->AutoNotify());
}

void tst_QuillonPublish::the_slash_at_the_end_of_the_base_url_is_not_doubled()
{
    QVERIFY(Publish({{gLatin1("base-url"), gLatin1("http://127.0.0.1:8080/")}}));
    QCOMPARE(m_desk->Manifest(gLatin1(mainManifest))->ExeUrl(),
             gLatin1("http://127.0.0.1:8080/packages/corvina-9.3.0.0.exe"));
}

void tst_QuillonPublish::the_next_release_replaces_every_older_offer()
{
    const QMap<QString, QString> changes = m_desk->QuickPatches();
    QVERIFY(PublishEarlier(changes, {Installer("9.1.0.0")}));
    QVERIFY(m_desk->Manifest(gLatin1("manifests/9.1.0.0.xml"))->HasIncreasePackage());

    QVERIFY(Publish(changes, {Installer("9.2.0.0")}));
    QCOMPARE(gReadFile(m_desk->Site() + gLatin1("/manifests/9.1.0.0.xml")),
             gReadFile(m_desk->Site() + gLatin1("/manifest.xml")));
    QVERIFY(m_desk->Manifest(gLatin1(mainManifest))
                ->ExeUrl()
                .endsWith(gLatin1("/packages/corvina-9.3.0.0.exe")));
    QVERIFY(m_desk->Manifest(gLatin1("manifests/9.2.0.0.xml"))->HasIncreasePackage());
    QVERIFY(!m_desk->Manifest(gLatin1("manifests/9.3.0.0.xml"))->HasExeUrl());
    // Clients may still be downloading them.
    QVERIFY(QFileInfo::exists(Package("corvina-9.2.0.0.exe")));
    QVERIFY(QFileInfo::exists(Package("corvina-9.1.0.0-to-9.2.0.0.patch")));
    QCOMPARE(m_desk->MissingPackages(), QStringList());
}

void tst_QuillonPublish::the_same_release_can_be_published_again_with_other_notes()
{
    QVERIFY(Publish());
    m_desk->Write(gLatin1("notes.md"), "- Something else\n");
    QVERIFY(Publish());
    QCOMPARE(m_desk->Manifest(gLatin1(mainManifest))->ReleaseNotes().value(0).notes,
             gLatin1("<ol><li>Something else</li></ol>"));
}

void tst_QuillonPublish::a_package_of_the_size_of_another_is_warned_about()
{
    const QString twin = m_desk->Path(gLatin1("twin-9.2.0.0.exe"));
    QVERIFY(QFile::copy(Installer("9.2.0.0"), twin));
    QVERIFY(QFile::resize(twin, QFileInfo(Installer("9.3.0.0")).size()));
    QVERIFY(
        Publish({{gLatin1("product-version"), gLatin1("9.2.0.0")}, {gLatin1("installer"), twin}}));
    const ReleaseDesk::Outcome outcome = ReleaseDesk::Run(m_desk->Arguments());
    QCOMPARE(outcome.code, 0);
    QVERIFY2(outcome.err.contains(gLatin1("has exactly the size of twin-9.2.0.0.exe")),
             qPrintable(outcome.err));
    QCOMPARE(
        ReleaseDesk::Run(m_desk->Arguments({{gLatin1("site"), m_desk->Path(gLatin1("other"))}}))
            .err,
        QString());
}

void tst_QuillonPublish::a_patch_that_saves_nothing_is_warned_about()
{
    const ReleaseDesk::Outcome outcome =
        ReleaseDesk::Run(m_desk->Arguments(m_desk->QuickPatches(), {Installer("9.2.0.0")}));
    QCOMPARE(outcome.code, 0);
    QVERIFY2(outcome.err.contains(gLatin1("is no smaller than the full package")),
             qPrintable(outcome.err));
    QVERIFY(outcome.out.contains(gLatin1("saves 0.0 %")));
}

void tst_QuillonPublish::patches_are_named_after_both_versions_data()
{
    QTest::addColumn<QString>("installer");
    QTest::addColumn<QString>("patch");
    QTest::newRow("the_version_in_the_name_is_replaced")
        << gLatin1("corvina-9.3.0.0.exe") << gLatin1("corvina-9.2.0.0-to-9.3.0.0.patch");
    QTest::newRow("what_stands_behind_the_version_stays")
        << gLatin1("corvina-9.3.0.0-x64.exe") << gLatin1("corvina-9.2.0.0-to-9.3.0.0-x64.patch");
    QTest::newRow("a_name_without_the_version_gets_both")
        << gLatin1("CorvinaSetup.exe") << gLatin1("CorvinaSetup-9.2.0.0-to-9.3.0.0.patch");
    QTest::newRow("a_name_without_a_suffix_loses_nothing")
        << gLatin1("corvina-9.3.0.0") << gLatin1("corvina-9.2.0.0-to-9.3.0.0.patch");
}

void tst_QuillonPublish::patches_are_named_after_both_versions()
{
    QFETCH(QString, installer);
    QFETCH(QString, patch);
    const QString folder = m_desk->Path(gLatin1("renamed"));
    QVERIFY(QDir().mkpath(folder));
    const QString renamed = folder + QLatin1Char('/') + installer;
    QVERIFY(QFile::copy(Installer("9.3.0.0"), renamed));
    QMap<QString, QString> changes = m_desk->QuickPatches();
    changes[gLatin1("installer")] = renamed;
    QVERIFY(Publish(changes, {Installer("9.2.0.0")}));
    QVERIFY(Entries("packages").contains(patch));
    QVERIFY(m_desk->Manifest(gLatin1("manifests/9.2.0.0.xml"))
                ->IncreaseUrl()
                .endsWith(gLatin1("/packages/") + patch));
}

void tst_QuillonPublish::packages_arrive_before_the_manifests_that_name_them()
{
    QVERIFY(PublishEarlier());
    const QString site = m_desk->Site();
    ArrivalWatch watch({site, site + gLatin1("/packages"), site + gLatin1("/manifests")});

    const auto process =
        ReleaseDesk::Start(m_desk->Arguments(m_desk->QuickPatches(), {Installer("9.2.0.0")}));
    while (!process->waitForFinished(1)) {
        QVERIFY2(process->state() == QProcess::Running, "never finished");
        QCOMPARE(m_desk->MissingPackages(), QStringList());
    }
    QCOMPARE(process->exitCode(), 0);
    QCOMPARE(watch.Events(), (QStringList{Package("corvina-9.3.0.0.exe"), Package(patchName),
                                          site + gLatin1("/manifests/9.2.0.0.xml"),
                                          site + gLatin1("/manifests/9.3.0.0.xml"),
                                          site + gLatin1("/manifest.xml")}));
}

void tst_QuillonPublish::published_files_are_readable_for_the_web_server()
{
    const QString secret = m_desk->Path(gLatin1("corvina-9.3.0.0.exe"));
    QVERIFY(QFile::copy(Installer("9.3.0.0"), secret));
    QVERIFY(QFile::setPermissions(secret, QFileDevice::ReadOwner | QFileDevice::WriteOwner));
    QVERIFY(Publish({{gLatin1("installer"), secret}}));
    for (const QString &path :
         {Package("corvina-9.3.0.0.exe"), m_desk->Site() + gLatin1("/manifest.xml"),
          m_desk->Site() + gLatin1("/manifests/9.3.0.0.xml"), m_desk->Site() + gLatin1("/packages"),
          m_desk->Site()}) {
        QVERIFY2(QFileInfo(path).permission(QFileDevice::ReadOther), qPrintable(path));
    }
}

void tst_QuillonPublish::failures_of_the_patch_programs_publish_nothing_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("says");
    const QString bsdiff = gLatin1("bsdiff");
    const QString bspatch = gLatin1("bspatch");
    QTest::newRow("bsdiff_fails_after_half_a_patch")
        << bsdiff << QByteArray("echo half > \"$3\"; echo no memory >&2; exit 3\n")
        << gLatin1("exit code 3: no memory");
    QTest::newRow("bsdiff_crashes")
        << bsdiff << QByteArray("kill -9 $$\n") << gLatin1("it crashed");
    QTest::newRow("bsdiff_writes_nothing")
        << bsdiff << QByteArray("exit 0\n") << gLatin1("no patch");
    QTest::newRow("bsdiff_is_not_there") << bsdiff << QByteArray() << gLatin1("cannot start");
    QTest::newRow("the_patch_program_fails")
        << bspatch << QByteArray("echo Corrupt patch >&2; exit 1\n") << gLatin1("Corrupt patch");
    QTest::newRow("the_patch_program_gives_another_file")
        << bspatch << QByteArray("cp \"$1\" \"$2\"\n") << gLatin1("does not give the installer");
    QTest::newRow("the_patch_program_gives_no_file")
        << bspatch << QByteArray("exit 0\n") << gLatin1("does not give the installer");
    QTest::newRow("the_patch_program_is_not_there")
        << bspatch << QByteArray() << gLatin1("cannot start");
}

void tst_QuillonPublish::failures_of_the_patch_programs_publish_nothing()
{
    QFETCH(QString, option);
    QFETCH(QByteArray, script);
    QFETCH(QString, says);
    QMap<QString, QString> programs{
        {gLatin1("bsdiff"), m_desk->Script(gLatin1("copying"), "cp \"$2\" \"$3\"\n")}};
    programs[option] = script.isEmpty() ? m_desk->Path(gLatin1("nothing"))
                                        : m_desk->Script(gLatin1("failing"), script);
    QVERIFY(PublishEarlier());
    const QStringList arguments = m_desk->Arguments(programs, {Installer("9.2.0.0")});

    QCOMPARE(m_desk->RefusalFault(arguments, says), QString());
}

void tst_QuillonPublish::a_failure_at_the_last_file_puts_everything_back()
{
    QVERIFY(PublishEarlier());
    QVERIFY(QFile::remove(m_desk->Site() + gLatin1("/manifest.xml")));
    QVERIFY(QDir().mkpath(m_desk->Site() + gLatin1("/manifest.xml/a folder in its place")));
    const QStringList arguments = m_desk->Arguments();

    QCOMPARE(m_desk->RefusalFault(arguments, gLatin1("manifest.xml")), QString());
}

void tst_QuillonPublish::a_failed_first_release_leaves_no_site()
{
    const QStringList arguments = m_desk->Arguments(
        {{gLatin1("bsdiff"), m_desk->Path(gLatin1("nothing"))}}, {Installer("9.2.0.0")});
    const auto before = m_desk->Files();
    QCOMPARE(ReleaseDesk::Run(arguments).code, 1);
    QCOMPARE(m_desk->Files(), before);
}

void tst_QuillonPublish::another_package_of_the_same_name_is_refused()
{
    QVERIFY(Publish());
    QFile published(Package("corvina-9.3.0.0.exe"));
    QVERIFY(published.open(QIODevice::Append) && published.write("more") == 4);
    published.close();

    const QStringList arguments = m_desk->Arguments();
    QCOMPARE(m_desk->RefusalFault(arguments, gLatin1("another package named corvina-9.3.0.0.exe")),
             QString());
}

void tst_QuillonPublish::tells_the_seconds_and_refuses_a_second_run_while_a_patch_is_made()
{
    const QString go = m_desk->Path(gLatin1("go"));
    const QString slow =
        m_desk->Script(gLatin1("slow"), gWaitFor(go) + "exec bsdiff \"$1\" \"$2\" \"$3\"\n");
    const auto process =
        ReleaseDesk::Start(m_desk->Arguments({{gLatin1("bsdiff"), slow}}, {Installer("9.2.0.0")}));
    QByteArray told;
    QTRY_VERIFY_WITH_TIMEOUT(
        (told += process->readAllStandardOutput()).contains("making the patch: 3 s"), patienceMs);

    const ReleaseDesk::Outcome second = ReleaseDesk::Run(m_desk->Arguments());
    QCOMPARE(second.code, 1);
    QVERIFY2(second.err.contains(gLatin1("another run is publishing")), qPrintable(second.err));

    m_desk->Write(gLatin1("go"), "now");
    QVERIFY(process->waitForFinished(patienceMs));
    QCOMPARE(process->exitCode(), 0);
    QVERIFY(QFileInfo::exists(Package(patchName)));
}

void tst_QuillonPublish::what_a_killed_run_left_is_removed()
{
    const QString started = m_desk->Path(gLatin1("started"));
    const QString go = m_desk->Path(gLatin1("go"));
    const QString endless =
        m_desk->Script(gLatin1("endless"), "touch '" + started.toUtf8() + "'\n" + gWaitFor(go));
    const QStringList arguments = m_desk->Arguments();
    const QStringList slowArguments =
        m_desk->Arguments({{gLatin1("bsdiff"), endless}}, {Installer("9.2.0.0")});
    const QStringList entriesBefore =
        QDir(m_desk->Path(QString())).entryList(QDir::AllEntries | QDir::Hidden);

    const auto process = ReleaseDesk::Start(slowArguments);
    QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(started), patienceMs);
    process->kill();
    QVERIFY(process->waitForFinished(patienceMs));
    m_desk->Write(gLatin1("go"), "now");
    QVERIFY(!QFileInfo::exists(m_desk->Site()));

    QCOMPARE(ReleaseDesk::Run(arguments).code, 0);
    QVERIFY(QFile::remove(started));
    QVERIFY(QFile::remove(go));
    QCOMPARE(QDir(m_desk->Path(QString())).entryList(QDir::AllEntries | QDir::Hidden),
             entriesBefore + QStringList{gLatin1("site")});
}

QTEST_GUILESS_MAIN(tst_QuillonPublish)
#include "tst_QuillonPublish.moc"
