// SPDX-License-Identifier: MIT

#include "tests/update/trust/TrustScene.h"

#include "api/UpdateInit.h"
#include "platform/FileVersion.h"
#include "tests/support/PatchProgram.h"
#include "tests/support/StandIn.h"
#include "tests/support/TestBytes.h"

#include <QDirIterator>
#include <QtTest>

TrustScene::TrustScene(const TestCertificates &certificates)
    : m_statistics(std::make_unique<StatisticsServer>(certificates))
    , m_rig(std::make_unique<UpdateRig>())
{
    m_rig->SendReportsTo(*m_statistics);
    m_rig->SetPublicKeys({m_key.PublicKey()});
    m_manifest.exeUrl = m_rig->Server().Address(QStringLiteral("/files/setup.exe"));
    m_manifest.full = Installer("9.2.0.0");
}

QByteArray TrustScene::Installer(const QByteArray &word) const
{
    return StandIn::Bytes("write\t" + Mark().toUtf8() + '\t' + word,
                          gTestBytes(20000, 4) + gTestBytes(100, qHash(word)));
}

void TrustScene::AddPatch()
{
    m_manifest.kept = Installer("9.1.0.0");
    gPutFile(Kept(), m_manifest.kept);
    // Read from the file, because on Windows a stand-in has the version resource of its program.
    UpdateInit::SetUpdateVersion(FileVersionString(Kept()));
    m_manifest.patchUrl = m_rig->Server().Address(QStringLiteral("/files/setup.patch"));
    m_manifest.result = m_manifest.full;
    m_manifest.patch = PatchProgram::MakePatch(m_manifest.kept, m_manifest.full);
}

void TrustScene::Publish()
{
    ServeCheck(m_key.Sign(m_manifest.Document()));
    ServeFull(m_manifest.full);
    ServePatch(m_manifest.patch);
    m_rig->Build();
}

void TrustScene::ServeCheck(const QByteArray &answer)
{
    HttpAnswer xml = HttpAnswer::Body(answer);
    xml.contentType = "text/xml";
    m_rig->Server().Serve("/check", xml);
}

void TrustScene::ServeFull(const QByteArray &bytes)
{
    m_rig->Server().Serve("/files/setup.exe", HttpAnswer::Body(bytes));
}

void TrustScene::ServePatch(const QByteArray &bytes)
{
    m_rig->Server().Serve("/files/setup.patch", HttpAnswer::Body(bytes));
}

QString TrustScene::Check()
{
    m_rig->Forget();
    const QString version = UpdateInit::GetUpdateVersion();
    m_rig->Manager().LiveUpdate(QStringLiteral("1"), version, QStringLiteral("me@u.example"));
    // Either a page behind the first one, or the signals behind the question about a kept installer.
    const bool isEnded = QTest::qWaitFor(
        [this] {
            return m_rig->Pages().last() != QLatin1String("progress") ||
                   !m_rig->Signals().isEmpty();
        },
        20000);
    return isEnded ? m_rig->Pages().last() : QStringLiteral("no end");
}

void TrustScene::UpdateNow()
{
    m_rig->Manager().UpdateNow();
    const bool isEnded = QTest::qWaitFor(
        [this] {
            const QStringList told = m_rig->Signals();
            return m_rig->Pages().last() == QLatin1String("hint") ||
                   told.contains(QStringLiteral("InstallStarted")) ||
                   (told.contains(QStringLiteral("CancelInstall")) &&
                    told.contains(QStringLiteral("Close")));
        },
        20000);
    QVERIFY(isEnded);
}

bool TrustScene::CheckSilently()
{
    return m_rig->Manager().IsNeedUpdate();
}

QByteArray TrustScene::Started(const QByteArray &expected) const
{
    constexpr int momentMs = 300;

    // The one that is expected is waited for as long as it takes; that none comes shows in a moment.
    const int limit = expected.isEmpty() ? momentMs : 20000;
    (void)QTest::qWaitFor([this] { return QFile::exists(Mark()); }, limit);
    return gReadFile(Mark());
}

QStringList TrustScene::PrivateFiles() const
{
    QStringList names;
    QDirIterator files(m_rig->PrivateFolder(), QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        files.next();
        names += files.fileName();
    }
    return names;
}

QList<int> TrustScene::Reports()
{
    gSettleReports();
    return m_statistics->Results();
}

QString TrustScene::Rule() const
{
    const QString begin = QStringLiteral("the manifest is refused, ");
    const QStringList lines = m_log.Messages(QStringLiteral("LiveUpdateMgr"));
    for (const QString &line : lines) {
        const int at = line.indexOf(begin);
        if (at >= 0) {
            return line.mid(at + begin.size());
        }
    }
    return {};
}
