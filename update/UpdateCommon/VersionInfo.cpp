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
QDomElement gFirst(const QDomElement &context, const char *tag)
{
    return context.elementsByTagName(QLatin1String(tag)).at(0).toElement();
}

QString gFirstText(const QDomElement &context, const char *tag)
{
    return gFirst(context, tag).text();
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

QString VersionInfo::wrapNotes(QString notes)
{
    if (notes.contains(QLatin1String("<ol>"))) {
        return notes;
    }
    return QLatin1String("<ol>") + notes + QLatin1String("</ol>");
}

void VersionInfo::ParseXml()
{
    // The full package's MD5 is not among the resets: it outlives a manifest that lacks it.
    // Deliberate.
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
        // The parser keeps what it read before the error. Half a manifest must not start an update.
        document.clear();
    }
    const QDomElement root = document.documentElement();

    m_exeUrl = gFirstText(root, "ExeUrl_x64");
    // Searched in the whole document: it has to stand before the incremental package's own
    // checksum.
    if (const QDomElement verify = gFirst(root, "Verify_x64"); !verify.isNull()) {
        m_fullPackageMd5 = verify.text();
        QUILLON_LOG(logFile, logFunction, "full package md5 = %s",
                    m_fullPackageMd5.toLocal8Bit().constData());
    }
    ParseReleaseNotes(root);
    ParseIncreasePackage(root);
    if (const QDomElement oldVerify = gFirst(root, "OldVerify_x64"); !oldVerify.isNull()) {
        m_oldVerify = oldVerify.text();
        QUILLON_LOG(logFile, logFunction, "full package oldVerify = %s",
                    m_oldVerify.toLocal8Bit().constData());
    }
}

void VersionInfo::ParseReleaseNotes(const QDomElement &document)
{
    const QDomNodeList items =
        gFirst(document, "WhatNews").elementsByTagName(QStringLiteral("Item"));
    for (int index = 0; index < items.length(); ++index) {
        const QDomElement item = items.at(index).toElement();
        m_releaseNotes.append({gFirstText(item, "Version"), wrapNotes(gFirstText(item, "Text"))});
    }
}

void VersionInfo::ParseIncreasePackage(const QDomElement &document)
{
    const QDomElement package = gFirst(document, "IncreasePackage");
    if (package.isNull()) {
        return;
    }
    m_increaseUrl = gFirstText(package, "Url_x64");
    m_increaseVersion = gFirstText(package, "Version");
    m_increaseMd5 = gFirstText(package, "Verify_x64");
    m_increaseSize = gFirstText(package, "Size_x64").toUInt();
    m_autoNotify = gFirstText(package, "AutoNotify").toInt() != 0;
    QUILLON_LOG(logFile, logFunction, "increase package url = %s",
                m_increaseUrl.toLocal8Bit().constData());
    QUILLON_LOG(logFile, logFunction, "increase package version = %s",
                m_increaseVersion.toLocal8Bit().constData());
    QUILLON_LOG(logFile, logFunction, "increase package verify = %s",
                m_increaseMd5.toLocal8Bit().constData());
}
