// SPDX-License-Identifier: MIT

#include "update/plan/ResumeState.h"

#include "platform/SettingsLock.h"
#include "update/plan/IniFormat.h"

namespace
{
const QString &gPackageSizeKey()
{
    static const QString key = QStringLiteral("FullPackage_size/FullPackage_size");
    return key;
}

const QString &gAlreadyDownloadedKey()
{
    static const QString key = QStringLiteral("AlreadyDownload_size/AlreadyDownload_size");
    return key;
}

QString gStartByteKey(int rangeNumber)
{
    return QStringLiteral("DownLoad_Tasks/Start_Byte%1").arg(rangeNumber);
}

QString gEndByteKey(int rangeNumber)
{
    return QStringLiteral("DownLoad_Tasks/End_Byte%1").arg(rangeNumber);
}

const QString &gBootIdKey()
{
    static const QString key = QStringLiteral("Flushed/Boot_Id");
    return key;
}

QString gFlushedByteKey(int rangeNumber)
{
    return QStringLiteral("Flushed/Flushed_Byte%1").arg(rangeNumber);
}

const QString &gTargetFileKey()
{
    static const QString key = QStringLiteral("Identity/Target_File");
    return key;
}

const QString &gPackageMd5Key()
{
    static const QString key = QStringLiteral("Identity/Package_Md5");
    return key;
}

const QString &gPackageVersionKey()
{
    static const QString key = QStringLiteral("Identity/Package_Version");
    return key;
}

const QString &gFailedPatchKey()
{
    static const QString key = QStringLiteral("Failed_Patch/Result_Md5");
    return key;
}
} // namespace

ResumeState::ResumeState(const QString &configDirectory)
    : m_settings(gWithoutStaleLock(configDirectory + QStringLiteral("/CvBreakResumeDownLoad.ini")),
                 gIniFormat())
{
}

qint32 ResumeState::PackageSize() const
{
    return m_settings.value(gPackageSizeKey()).toInt();
}

void ResumeState::SetPackageSize(qint64 bytes)
{
    m_settings.setValue(gPackageSizeKey(), QString::number(bytes));
}

qint32 ResumeState::AlreadyDownloaded() const
{
    return m_settings.value(gAlreadyDownloadedKey()).toInt();
}

void ResumeState::SetAlreadyDownloaded(qint64 bytes)
{
    m_settings.setValue(gAlreadyDownloadedKey(), QString::number(bytes));
}

qint32 ResumeState::StartByte(int rangeNumber) const
{
    return m_settings.value(gStartByteKey(rangeNumber)).toInt();
}

void ResumeState::SetStartByte(int rangeNumber, qint64 byte)
{
    m_settings.setValue(gStartByteKey(rangeNumber), byte);
}

qint32 ResumeState::EndByte(int rangeNumber) const
{
    return m_settings.value(gEndByteKey(rangeNumber)).toInt();
}

void ResumeState::SetEndByte(int rangeNumber, qint64 byte)
{
    m_settings.setValue(gEndByteKey(rangeNumber), byte);
}

bool ResumeState::KnowsBoot() const
{
    return m_settings.contains(gBootIdKey());
}

QString ResumeState::BootId() const
{
    return m_settings.value(gBootIdKey()).toString();
}

void ResumeState::SetBootId(const QString &boot)
{
    m_settings.setValue(gBootIdKey(), boot);
}

qint32 ResumeState::FlushedByte(int rangeNumber) const
{
    return m_settings.value(gFlushedByteKey(rangeNumber)).toInt();
}

void ResumeState::SetFlushedByte(int rangeNumber, qint64 byte)
{
    m_settings.setValue(gFlushedByteKey(rangeNumber), byte);
}

bool ResumeState::KnowsIdentity() const
{
    return m_settings.contains(gTargetFileKey());
}

DownloadIdentity ResumeState::Identity() const
{
    return {m_settings.value(gTargetFileKey()).toString(),
            m_settings.value(gPackageMd5Key()).toString(),
            m_settings.value(gPackageVersionKey()).toString()};
}

void ResumeState::SetIdentity(const DownloadIdentity &identity)
{
    m_settings.setValue(gTargetFileKey(), identity.targetFile);
    m_settings.setValue(gPackageMd5Key(), identity.packageMd5);
    m_settings.setValue(gPackageVersionKey(), identity.version);
}

bool ResumeState::IsFailedPatch(const QString &resultMd5) const
{
    return m_settings.contains(gFailedPatchKey()) &&
           m_settings.value(gFailedPatchKey()).toString() == resultMd5.simplified();
}

void ResumeState::SetFailedPatch(const QString &resultMd5)
{
    m_settings.setValue(gFailedPatchKey(), resultMd5.simplified());
}

bool ResumeState::Sync()
{
    m_settings.sync();
    if (m_settings.status() == QSettings::NoError) {
        return true;
    }
    // A QSettings that has failed once keeps that status. Another one on the same file shares the
    // values that are not on disk yet, and has a status of its own.
    QSettings again(m_settings.fileName(), gIniFormat());
    again.sync();
    return again.status() == QSettings::NoError;
}
