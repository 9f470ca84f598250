// SPDX-License-Identifier: MIT

#include "update/UpdateCommon/VersionInfo.h"

#include "api/Log.h"
#include "update/plan/Manifest.h"

namespace
{
constexpr char logFile[] = "UpdateCommon";
constexpr char logFunction[] = "VersionInfo::ParseXml";
} // namespace

VersionInfo::VersionInfo(const QString &xml, QObject *parent)
    : QObject(parent)
    , m_xml(xml)
{
    ParseXml();
}

void VersionInfo::setXml(const QString &xml)
{
    m_xml = xml;
    ParseXml();
}

void VersionInfo::SetManifest(const QString &xml, const ManifestValues &manifest)
{
    m_xml = xml;
    TakeValues(manifest);
}

PackageOffer VersionInfo::Offer() const
{
    const bool namesVersion = !m_releaseNotes.isEmpty();
    return {namesVersion,  namesVersion ? m_releaseNotes.first().version : QString(),
            m_exeUrl,      m_ownFullPackageMd5,
            m_increaseUrl, m_increaseMd5,
            m_oldVerify,   m_statement};
}

QString VersionInfo::wrapNotes(QString notes)
{
    if (notes.contains(QLatin1String("<ol>"))) {
        return notes;
    }
    return QLatin1String("<ol>") + notes + QLatin1String("</ol>");
}

void VersionInfo::ParseXml()
{
    TakeValues(gReadManifest(m_xml));
}

void VersionInfo::TakeValues(const ManifestValues &manifest)
{
    m_exeUrl = manifest.exeUrl;
    m_statement = manifest.statement;
    // Not reset: publishers' manifests may leave it out after the first.
    if (manifest.verify) {
        m_fullPackageMd5 = *manifest.verify;
        QUILLON_LOG(logFile, logFunction, "full package md5 = %s",
                    m_fullPackageMd5.toLocal8Bit().constData());
    }
    m_ownFullPackageMd5 = manifest.ownVerify;
    m_releaseNotes.clear();
    for (const ReleaseNote &note : manifest.releaseNotes) {
        m_releaseNotes.append({note.version, wrapNotes(note.notes)});
    }
    TakeIncreasePackage(manifest.increasePackage);
    m_oldVerify = manifest.oldVerify.value_or(QString());
    if (manifest.oldVerify) {
        QUILLON_LOG(logFile, logFunction, "full package oldVerify = %s",
                    m_oldVerify.toLocal8Bit().constData());
    }
}

void VersionInfo::TakeIncreasePackage(const std::optional<ManifestValues::IncreasePackage> &package)
{
    const ManifestValues::IncreasePackage values =
        package.value_or(ManifestValues::IncreasePackage());
    m_increaseUrl = values.url;
    m_increaseVersion = values.version;
    m_increaseMd5 = values.md5;
    m_increaseSize = values.size.toUInt();
    m_autoNotify = values.autoNotify.toInt() != 0;
    if (!package) {
        return;
    }
    QUILLON_LOG(logFile, logFunction, "increase package url = %s",
                m_increaseUrl.toLocal8Bit().constData());
    QUILLON_LOG(logFile, logFunction, "increase package version = %s",
                m_increaseVersion.toLocal8Bit().constData());
    QUILLON_LOG(logFile, logFunction, "increase package verify = %s",
                m_increaseMd5.toLocal8Bit().constData());
}
