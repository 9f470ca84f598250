// SPDX-License-Identifier: MIT

#include "update/install/PostponedInstaller.h"

#include "api/Log.h"
#include "api/ProductSettings.h"
#include "platform/FileName.h"
#include "update/base/BackgroundWork.h"
#include "update/base/DownloadSystem.h"
#include "update/base/SettingsRoom.h"
#include "update/trust/Sha256.h"

#include <QFileInfo>
#include <QSettings>

namespace
{
QString gRead(QSettings *settings, const char *key)
{
    settings->sync();
    settings->beginGroup(QLatin1String(ProductSettings::quillonGroup));
    const QString value = settings->value(QLatin1String(key)).toString();
    settings->endGroup();
    return value;
}
} // namespace

QString gReadSetupFile(QSettings *settings)
{
    return gRead(settings, ProductSettings::setupFileKey);
}

QString gReadSetupSha256(QSettings *settings)
{
    return gRead(settings, ProductSettings::setupSha256Key);
}

void gWriteSetupFile(QSettings *settings, const QString &path, const QString &sha256)
{
    if (gHasRoomForSettings(settings->fileName())) {
        settings->beginGroup(QLatin1String(ProductSettings::quillonGroup));
        settings->setValue(QLatin1String(ProductSettings::setupFileKey), path);
        if (sha256.isEmpty()) {
            settings->remove(QLatin1String(ProductSettings::setupSha256Key));
        } else {
            settings->setValue(QLatin1String(ProductSettings::setupSha256Key), sha256);
        }
        settings->endGroup();
        settings->sync();
        if (settings->status() == QSettings::NoError) {
            return;
        }
    }
    QUILLON_LOG("LiveUpdateMgr", "LiveUpdateMgr::KeepInstaller",
                "disk failure, the settings cannot be written, file path = %s",
                settings->fileName().toStdString().c_str());
}

PostponedInstaller::PostponedInstaller(QSettings &settings, bool isSigned,
                                       const DownloadSystem &system, QObject *parent)
    : QObject(parent)
    , m_settings(settings)
    , m_isSigned(isSigned)
    , m_system(system)
{
    if (m_isSigned) {
        const auto remove = [privateFolder = m_system.privateFolder] {
            PrivateCopy::RemoveLeft(privateFolder);
            return true;
        };
        gRunInBackground<bool>(remove, this, [](bool /*done*/) {});
    }
}

void PostponedInstaller::Look()
{
    Cancel();
    const QString path = gReadSetupFile(&m_settings);
    if (!QFileInfo(path).isFile()) {
        emit NotFound();
    } else if (m_isSigned) {
        Verify(path, gReadSetupSha256(&m_settings));
    } else {
        emit Found(path, std::nullopt);
    }
}

void PostponedInstaller::Verify(const QString &path, const QString &sha256)
{
    if (!gIsSha256(sha256)) {
        Refuse(path, QStringLiteral("no SHA-256 was remembered"));
        return;
    }
    const auto copy = [path, name = gProgramName(QFileInfo(path).fileName()),
                       privateFolder = m_system.privateFolder] {
        return PrivateCopy::Make(path, name, PrivateCopy::mostBytesOfPackage, privateFolder);
    };
    gRunInBackground<PrivateCopy::Outcome>(
        copy, this, [this, path, sha256, run = m_run](const PrivateCopy::Outcome &copied) {
            if (run == m_run) {
                Judge(path, sha256, copied);
            }
        });
}

void PostponedInstaller::Judge(const QString &path, const QString &sha256,
                               const PrivateCopy::Outcome &copied)
{
    if (copied.copy != nullptr && copied.sha256 == sha256) {
        emit Found(path, copied);
        return;
    }
    Refuse(path, copied.copy == nullptr
                     ? copied.failure
                     : QStringLiteral("SHA-256 %1 instead of %2").arg(copied.sha256, sha256));
}

void PostponedInstaller::Refuse(const QString &path, const QString &why)
{
    QUILLON_LOG("LiveUpdateMgr", "LiveUpdateMgr::CheckVersion",
                "the kept installer %s is not offered, %s", path.toStdString().c_str(),
                why.toStdString().c_str());
    emit NotFound();
}
