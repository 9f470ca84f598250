// SPDX-License-Identifier: MIT

#include "tools/quillon-publish/ManifestWriter.h"

#include "tools/quillon-publish/PublishError.h"
#include "update/UpdateCommon/VersionInfo.h"

#include <QXmlStreamWriter>

namespace
{
/// Clients parse the bytes of the answer that arrive first. With TLS that is one record of at most
/// 16 KiB; 1 KiB of it is left for the head of the answer.
constexpr int maxManifestBytes = 15 * 1024;

void gWriteNotes(QXmlStreamWriter &xml, const Manifest &manifest)
{
    xml.writeStartElement(QStringLiteral("WhatNews"));
    xml.writeStartElement(QStringLiteral("Item"));
    xml.writeTextElement(QStringLiteral("Version"), manifest.version);
    xml.writeStartElement(QStringLiteral("Text"));
    xml.writeCDATA(manifest.notes);
    xml.writeEndElement();
    xml.writeEndElement();
    xml.writeEndElement();
}

void gWritePatch(QXmlStreamWriter &xml, const Manifest &manifest)
{
    xml.writeStartElement(QStringLiteral("IncreasePackage"));
    xml.writeTextElement(QStringLiteral("Url_x64"), manifest.patchUrl);
    xml.writeTextElement(QStringLiteral("Version"), manifest.version);
    xml.writeTextElement(QStringLiteral("Verify_x64"), manifest.md5);
    xml.writeTextElement(QStringLiteral("Size_x64"), QString::number(manifest.patchSize));
    xml.writeTextElement(QStringLiteral("AutoNotify"),
                         QString::number(manifest.autoNotify ? 1 : 0));
    xml.writeEndElement();
}

SignedStatement gStatement(const Manifest &manifest)
{
    SignedStatement statement;
    statement.serial = manifest.term->serial;
    statement.expires = manifest.term->expires;
    statement.forVersion = manifest.forVersion;
    statement.full = manifest.fullFile;
    statement.patch = manifest.patchFile;
    if (manifest.patchFile) {
        // The patch makes the full package.
        statement.resultSha256 = manifest.fullFile->sha256;
    }
    return statement;
}

QByteArray gManifestDocument(const Manifest &manifest)
{
    QByteArray document;
    QXmlStreamWriter xml(&document);
    xml.setAutoFormatting(true);
    xml.setAutoFormattingIndent(2);
    xml.writeStartDocument();
    xml.writeStartElement(QStringLiteral("Update"));
    xml.writeTextElement(QStringLiteral("ExeUrl_x64"), manifest.exeUrl);
    if (!manifest.exeUrl.isEmpty()) {
        // Before the element of this name of the patch: clients read the first one in the document
        // as the installer's.
        xml.writeTextElement(QStringLiteral("Verify_x64"), manifest.md5);
        if (!manifest.patchUrl.isEmpty()) {
            xml.writeTextElement(QStringLiteral("OldVerify_x64"), manifest.oldMd5);
        }
        gWriteNotes(xml, manifest);
        if (!manifest.patchUrl.isEmpty()) {
            gWritePatch(xml, manifest);
        }
    }
    if (manifest.term) {
        gWriteStatement(xml, gStatement(manifest));
    }
    xml.writeEndDocument();
    return document;
}

bool gHasNotes(const VersionInfo &read, const Manifest &manifest)
{
    const QList<ReleaseNote> notes = read.ReleaseNotes();
    return notes.size() == 1 && notes.first().version == manifest.version &&
           notes.first().notes == VersionInfo::wrapNotes(manifest.notes);
}

bool gHasPatch(const VersionInfo &read, const Manifest &manifest)
{
    return read.IncreaseUrl() == manifest.patchUrl && read.IncreaseVersion() == manifest.version &&
           read.IncreaseMd5() == manifest.md5 && read.IncreaseSize() == manifest.patchSize &&
           read.AutoNotify() == manifest.autoNotify && read.OldVerify() == manifest.oldMd5;
}

bool gReadsBack(const VersionInfo &read, const Manifest &manifest)
{
    if (manifest.exeUrl.isEmpty()) {
        return !read.HasExeUrl() && !read.HasIncreasePackage();
    }
    const bool hasRightPatch =
        manifest.patchUrl.isEmpty() ? !read.HasIncreasePackage() : gHasPatch(read, manifest);
    return read.ExeUrl() == manifest.exeUrl && read.FullPackageMd5() == manifest.md5 &&
           gHasNotes(read, manifest) && hasRightPatch;
}

[[noreturn]] void gRefuseMisreading()
{
    throw PublishError(
        QStringLiteral("clients would not read the manifest as it is meant; check the notes"));
}
} // namespace

QByteArray gWriteManifest(const Manifest &manifest)
{
    QByteArray document = gManifestDocument(manifest);
    gRefuseManifestSize(document.size());
    if (!gReadsBack(VersionInfo(QString::fromUtf8(document), nullptr), manifest)) {
        gRefuseMisreading();
    }
    return document;
}

void gCheckSignedManifest(const QByteArray &document, const ManifestValues &values,
                          const Manifest &manifest)
{
    VersionInfo trusted(QString(), nullptr);
    trusted.SetManifest(QString(), values);
    if (!values.statement || !gIsSameStatement(*values.statement, gStatement(manifest)) ||
        !gReadsBack(trusted, manifest) ||
        !gReadsBack(VersionInfo(QString::fromUtf8(document), nullptr), manifest)) {
        gRefuseMisreading();
    }
}

void gRefuseManifestSize(int bytes)
{
    if (bytes > maxManifestBytes) {
        throw PublishError(
            QStringLiteral("a manifest would have %1 bytes, and clients read no more "
                           "than %2: shorten the release notes")
                .arg(bytes)
                .arg(maxManifestBytes));
    }
}
