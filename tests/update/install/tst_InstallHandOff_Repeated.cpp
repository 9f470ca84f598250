// SPDX-License-Identifier: MIT

#include "tests/support/StandIn.h"
#include "tests/update/UpdateRig.h"
#include "update/base/DownloadState.h"

#include <QtTest>

/// Several offers in one process, and an offer that another process has left. The installers are
/// stand-ins that write a file "mark".
class tst_InstallHandOff_Repeated : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void install_after_a_later_cancel_starts_nothing();
    void install_after_a_later_yes_starts_the_later_installer();
    void an_installer_that_another_process_has_kept_is_offered();
    void a_download_that_is_put_off_replaces_the_kept_installer();

private:
    QString Mark() const { return m_rig->Path("mark"); }
    QString Kept(const QString &name = "kept installer.exe") const { return m_rig->Path(name); }
    /// An installer that writes @p text into "mark".
    QByteArray Installer(const QByteArray &text) const
    {
        return StandIn::Bytes("write\t" + Mark().toUtf8() + '\t' + text);
    }
    void AnswerOffer(UpdateRig::Answer answer)
    {
        const int boxes = m_rig->Boxes();
        m_rig->SetAnswer(answer);
        m_rig->Manager().LiveUpdate();
        QTRY_COMPARE(m_rig->Boxes(), boxes + 1);
    }

    std::unique_ptr<UpdateRig> m_rig;
};

void tst_InstallHandOff_Repeated::init()
{
    m_rig = std::make_unique<UpdateRig>();
    QVERIFY(gWriteFile(Kept(), Installer("kept")));
    m_rig->Build();
}

void tst_InstallHandOff_Repeated::cleanup()
{
    m_rig.reset();
}

void tst_InstallHandOff_Repeated::install_after_a_later_cancel_starts_nothing()
{
    m_rig->WriteSetting("SetupFile", Kept());
    AnswerOffer(UpdateRig::Answer::Yes);
    QTRY_VERIFY(QFile::exists(Mark()));
    QTRY_COMPARE(m_rig->Signals().count("InstallStarted"), 1);
    QVERIFY(QFile::remove(Mark()));
    AnswerOffer(UpdateRig::Answer::Cancel);
    QTRY_COMPARE(m_rig->Signals().count("CancelInstall"), 1);
    m_rig->Manager().Install();
    QCOMPARE(m_rig->Signals().count("InstallStarted"), 1);
    QVERIFY(!QFile::exists(Mark()));
}

void tst_InstallHandOff_Repeated::install_after_a_later_yes_starts_the_later_installer()
{
    QVERIFY(gWriteFile(Kept("later.exe"), Installer("later")));
    m_rig->WriteSetting("SetupFile", Kept());
    AnswerOffer(UpdateRig::Answer::Yes);
    QTRY_COMPARE(gReadFile(Mark()), QByteArray("kept"));
    m_rig->WriteSetting("SetupFile", Kept("later.exe"));
    AnswerOffer(UpdateRig::Answer::Yes);
    QTRY_COMPARE(gReadFile(Mark()), QByteArray("later"));
    QVERIFY(QFile::remove(Mark()));
    m_rig->Manager().Install();
    QTRY_COMPARE(gReadFile(Mark()), QByteArray("later"));
}

void tst_InstallHandOff_Repeated::an_installer_that_another_process_has_kept_is_offered()
{
    // Not through the settings class: within one process its objects share their values.
    const QByteArray before = gReadFile(m_rig->SettingsFile());
    QVERIFY(before.startsWith("[Quillon]"));
    QVERIFY(!before.contains("SetupFile"));
    QVERIFY(gWriteFile(m_rig->SettingsFile(), before + "SetupFile=" + Kept().toUtf8() + "\n"));
    AnswerOffer(UpdateRig::Answer::Cancel);
    QVERIFY(m_rig->Server().Requests().isEmpty());
    QCOMPARE(gDownloadState().installerReady, Kept());
}

void tst_InstallHandOff_Repeated::a_download_that_is_put_off_replaces_the_kept_installer()
{
    m_rig->WriteSetting("SetupFile", Kept());
    AnswerOffer(UpdateRig::Answer::Cancel);
    m_rig->StartFullDownload(HttpAnswer::Body(Installer("new")));
    QTRY_COMPARE(m_rig->Signals().count("CancelInstall"), 2);
    QCOMPARE(m_rig->Setting("SetupFile"), m_rig->Installer());
    AnswerOffer(UpdateRig::Answer::Yes);
    QTRY_COMPARE(gReadFile(Mark()), QByteArray("new"));
}

QTEST_MAIN(tst_InstallHandOff_Repeated)
#include "tst_InstallHandOff_Repeated.moc"
