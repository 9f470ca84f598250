// SPDX-License-Identifier: MIT

#include "update/UpdateCommon/VersionInfo.h"

#include "api/Log.h"

#include <QDomDocument>
#include <QXmlStreamReader>

namespace
{
constexpr char logFile[] = "UpdateCommon";
constexpr char logFunction[] = "VersionInfo::ParseXml";

/// The first descendant of @p context with the name @p tag; a null element when there is none.
QDomElement gFirstElement(const QDomElement &context, const char *tag)
{
    return context.elementsByTagName(QLatin1String(tag)).at(0).toElement();
}

QString gTextOfFirst(const QDomElement &context, const char *tag)
{
    return gFirstElement(context, tag).text();
}

/// The MD5 that @p document names for the full package: the first one outside of the incremental
/// package, whose own would be compared with the wrong file.
QString gOwnFullPackageMd5(const QDomElement &document)
{
    const QDomNodeList all = document.elementsByTagName(QStringLiteral("Verify_x64"));
    for (int index = 0; index < all.length(); ++index) {
        QDomNode parent = all.at(index).parentNode();
        while (!parent.isNull() && parent.nodeName() != QLatin1String("IncreasePackage")) {
            parent = parent.parentNode();
        }
        if (parent.isNull()) {
            return all.at(index).toElement().text();
        }
    }
    return {};
}

/// Whether the elements of @p xml are nested as a manifest's are, and not so deep that walking down to
/// them would take more stack than there is.
bool gIsShallow(const QString &xml)
{
    constexpr int mostLevels = 64;

    QXmlStreamReader reader(xml);
    reader.setNamespaceProcessing(false);
    int level = 0;
    while (!reader.atEnd() && level <= mostLevels) {
        const QXmlStreamReader::TokenType token = reader.readNext();
        if (token == QXmlStreamReader::StartElement) {
            ++level;
        } else if (token == QXmlStreamReader::EndElement) {
            --level;
        }
    }
    return level <= mostLevels;
}
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

PackageOffer VersionInfo::Offer() const
{
    const bool namesVersion = !m_releaseNotes.isEmpty();
    return {namesVersion,  namesVersion ? m_releaseNotes.first().version : QString(),
            m_exeUrl,      m_ownFullPackageMd5,
            m_increaseUrl, m_increaseMd5,
            m_oldVerify};
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
    // The full package's MD5 is not reset: publishers' manifests may leave it out after the first.
    m_releaseNotes.clear();
    m_exeUrl.clear();
    m_increaseUrl.clear();
    m_increaseVersion.clear();
    m_increaseMd5.clear();
    m_oldVerify.clear();
    m_increaseSize = 0;
    m_autoNotify = false;

    QDomDocument document;
    if (!gIsShallow(m_xml) || !document.setContent(m_xml, false)) {
        // The parser keeps what it read before the error, and half a manifest could start an update.
        document.clear();
    }
    const QDomElement root = document.documentElement();

    m_exeUrl = gTextOfFirst(root, "ExeUrl_x64");
    // Searched in the whole document, so it has to stand before the incremental package's checksum.
    if (const QDomElement verify = gFirstElement(root, "Verify_x64"); !verify.isNull()) {
        m_fullPackageMd5 = verify.text();
        QUILLON_LOG(logFile, logFunction, "full package md5 = %s",
                    m_fullPackageMd5.toLocal8Bit().constData());
    }
    m_ownFullPackageMd5 = gOwnFullPackageMd5(root);
    ParseReleaseNotes(root);
    ParseIncreasePackage(root);
    if (const QDomElement oldVerify = gFirstElement(root, "OldVerify_x64"); !oldVerify.isNull()) {
        m_oldVerify = oldVerify.text();
        QUILLON_LOG(logFile, logFunction, "full package oldVerify = %s",
                    m_oldVerify.toLocal8Bit().constData());
    }
}

void VersionInfo::ParseReleaseNotes(const QDomElement &document)
{
    const QDomNodeList items =
        gFirstElement(document, "WhatNews").elementsByTagName(QStringLiteral("Item"));
    for (int index = 0; index < items.length(); ++index) {
        const QDomElement item = items.at(index).toElement();
        m_releaseNotes.append(
            {gTextOfFirst(item, "Version"), wrapNotes(gTextOfFirst(item, "Text"))});
    }
}

void VersionInfo::ParseIncreasePackage(const QDomElement &document)
{
    const QDomElement package = gFirstElement(document, "IncreasePackage");
    if (package.isNull()) {
        return;
    }
    m_increaseUrl = gTextOfFirst(package, "Url_x64");
    m_increaseVersion = gTextOfFirst(package, "Version");
    m_increaseMd5 = gTextOfFirst(package, "Verify_x64");
    m_increaseSize = gTextOfFirst(package, "Size_x64").toUInt();
    m_autoNotify = gTextOfFirst(package, "AutoNotify").toInt() != 0;
    QUILLON_LOG(logFile, logFunction, "increase package url = %s",
                m_increaseUrl.toLocal8Bit().constData());
    QUILLON_LOG(logFile, logFunction, "increase package version = %s",
                m_increaseVersion.toLocal8Bit().constData());
    QUILLON_LOG(logFile, logFunction, "increase package verify = %s",
                m_increaseMd5.toLocal8Bit().constData());
}
