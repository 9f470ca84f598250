// SPDX-License-Identifier: MIT

#include "update/plan/ResumeState.h"

#include <QVariant>

namespace
{
QByteArray gPackageSizeKey()
{
    return QByteArrayLiteral("FullPackage_size/FullPackage_size");
}

QByteArray gAlreadyDownloadedKey()
{
    return QByteArrayLiteral("AlreadyDownload_size/AlreadyDownload_size");
}

QByteArray gStartByteKey(int rangeNumber)
{
    return "DownLoad_Tasks/Start_Byte" + QByteArray::number(rangeNumber);
}

QByteArray gEndByteKey(int rangeNumber)
{
    return "DownLoad_Tasks/End_Byte" + QByteArray::number(rangeNumber);
}

QByteArray gBootIdKey()
{
    return QByteArrayLiteral("Flushed/Boot_Id");
}

QByteArray gFlushedByteKey(int rangeNumber)
{
    return "Flushed/Flushed_Byte" + QByteArray::number(rangeNumber);
}

QByteArray gTargetFileKey()
{
    return QByteArrayLiteral("Identity/Target_File");
}

QByteArray gPackageMd5Key()
{
    return QByteArrayLiteral("Identity/Package_Md5");
}

QByteArray gPackageVersionKey()
{
    return QByteArrayLiteral("Identity/Package_Version");
}

QByteArray gFailedPatchKey()
{
    return QByteArrayLiteral("Failed_Patch/Result_Md5");
}

/// As `QSettings` reads a number.
qint32 gNumber(const QByteArray &text)
{
    return QVariant(QString::fromUtf8(text)).toInt();
}
} // namespace

ResumeState::ResumeState(const QString &configDirectory)
    : m_values(StateValues::Of(configDirectory + QStringLiteral("/CvBreakResumeDownLoad.ini")))
{
    Reload();
}

qint32 ResumeState::PackageSize() const
{
    return gNumber(m_values->Value(gPackageSizeKey()));
}

void ResumeState::SetPackageSize(qint64 bytes)
{
    m_values->SetValue(gPackageSizeKey(), QByteArray::number(bytes));
}

qint32 ResumeState::AlreadyDownloaded() const
{
    return gNumber(m_values->Value(gAlreadyDownloadedKey()));
}

void ResumeState::SetAlreadyDownloaded(qint64 bytes)
{
    m_values->SetValue(gAlreadyDownloadedKey(), QByteArray::number(bytes));
}

qint32 ResumeState::StartByte(int rangeNumber) const
{
    return gNumber(m_values->Value(gStartByteKey(rangeNumber)));
}

void ResumeState::SetStartByte(int rangeNumber, qint64 byte)
{
    m_values->SetValue(gStartByteKey(rangeNumber), QByteArray::number(byte));
}

qint32 ResumeState::EndByte(int rangeNumber) const
{
    return gNumber(m_values->Value(gEndByteKey(rangeNumber)));
}

void ResumeState::SetEndByte(int rangeNumber, qint64 byte)
{
    m_values->SetValue(gEndByteKey(rangeNumber), QByteArray::number(byte));
}

bool ResumeState::KnowsBoot() const
{
    return m_values->Contains(gBootIdKey());
}

QString ResumeState::BootId() const
{
    return QString::fromUtf8(m_values->Value(gBootIdKey()));
}

void ResumeState::SetBootId(const QString &boot)
{
    m_values->SetValue(gBootIdKey(), boot.toUtf8());
}

qint32 ResumeState::FlushedByte(int rangeNumber) const
{
    return gNumber(m_values->Value(gFlushedByteKey(rangeNumber)));
}

void ResumeState::SetFlushedByte(int rangeNumber, qint64 byte)
{
    m_values->SetValue(gFlushedByteKey(rangeNumber), QByteArray::number(byte));
}

bool ResumeState::KnowsIdentity() const
{
    return m_values->Contains(gTargetFileKey());
}

DownloadIdentity ResumeState::Identity() const
{
    return {QString::fromUtf8(m_values->Value(gTargetFileKey())),
            QString::fromUtf8(m_values->Value(gPackageMd5Key())),
            QString::fromUtf8(m_values->Value(gPackageVersionKey()))};
}

void ResumeState::SetIdentity(const DownloadIdentity &identity)
{
    m_values->SetValue(gTargetFileKey(), identity.targetFile.toUtf8());
    m_values->SetValue(gPackageMd5Key(), identity.packageMd5.toUtf8());
    m_values->SetValue(gPackageVersionKey(), identity.version.toUtf8());
}

bool ResumeState::IsFailedPatch(const QString &resultMd5) const
{
    return m_values->Contains(gFailedPatchKey()) &&
           m_values->Value(gFailedPatchKey()) == resultMd5.simplified().toUtf8();
}

void ResumeState::SetFailedPatch(const QString &resultMd5)
{
    m_values->SetValue(gFailedPatchKey(), resultMd5.simplified().toUtf8());
}
