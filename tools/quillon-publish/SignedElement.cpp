// SPDX-License-Identifier: MIT

#include "tools/quillon-publish/SignedElement.h"

#include <QXmlStreamWriter>

#include <algorithm>
#include <tuple>

namespace
{
QString gExpiresText(const std::optional<QDateTime> &expires)
{
    return expires ? expires->toUTC().toString(Qt::ISODate) : QString();
}

QString gSizeText(const std::optional<SignedFile> &file)
{
    return file ? QString::number(file->size) : QString();
}

QString gDigest(const std::optional<SignedFile> &file)
{
    return file ? file->sha256 : QString();
}

/// Replaces the text of the first element @p name behind @p from. @return whether there is one
bool gReplaceText(QByteArray *document, int from, const QByteArray &name, const QByteArray &text)
{
    const QByteArray opening = '<' + name + '>';
    const int tag = document->indexOf(opening, from);
    if (tag < 0) {
        return false;
    }
    const int begin = tag + opening.size();
    const int end = document->indexOf("</" + name + '>', begin);
    if (end < 0) {
        return false;
    }
    document->replace(begin, end - begin, text);
    return true;
}

bool gIsSameFile(const std::optional<SignedFile> &one, const std::optional<SignedFile> &other)
{
    return gDigest(one) == gDigest(other) && gSizeText(one) == gSizeText(other);
}

bool gIsSamePackage(const std::optional<ManifestValues::IncreasePackage> &one,
                    const std::optional<ManifestValues::IncreasePackage> &other)
{
    if (!one || !other) {
        return one.has_value() == other.has_value();
    }
    const auto texts = [](const ManifestValues::IncreasePackage &package) {
        return std::tie(package.url, package.version, package.md5, package.size,
                        package.autoNotify);
    };
    return texts(*one) == texts(*other);
}

bool gIsSameNote(const ReleaseNote &one, const ReleaseNote &other)
{
    return one.version == other.version && one.notes == other.notes;
}
} // namespace

void gWriteStatement(QXmlStreamWriter &xml, const SignedStatement &statement)
{
    xml.writeStartElement(QStringLiteral("Signed"));
    xml.writeTextElement(QStringLiteral("Serial"), QString::number(statement.serial));
    xml.writeTextElement(QStringLiteral("Expires"), gExpiresText(statement.expires));
    xml.writeTextElement(QStringLiteral("ForVersion"), statement.forVersion);
    xml.writeTextElement(QStringLiteral("FullSha256"), gDigest(statement.full));
    xml.writeTextElement(QStringLiteral("FullSize"), gSizeText(statement.full));
    xml.writeTextElement(QStringLiteral("PatchSha256"), gDigest(statement.patch));
    xml.writeTextElement(QStringLiteral("PatchSize"), gSizeText(statement.patch));
    xml.writeTextElement(QStringLiteral("ResultSha256"), statement.resultSha256);
    xml.writeEndElement();
}

QByteArray gWithTerm(const QByteArray &document, const SigningTerm &term)
{
    // The last one: release notes can contain the same letters, and stand before it.
    const int begin = document.lastIndexOf("<Signed>");
    QByteArray renewed = document;
    if (begin < 0 || !gReplaceText(&renewed, begin, "Serial", QByteArray::number(term.serial)) ||
        !gReplaceText(&renewed, begin, "Expires", gExpiresText(term.expires).toLatin1())) {
        return {};
    }
    return renewed;
}

bool gIsSameOffer(const SignedStatement &one, const SignedStatement &other)
{
    return one.forVersion == other.forVersion && gIsSameFile(one.full, other.full) &&
           gIsSameFile(one.patch, other.patch) && one.resultSha256 == other.resultSha256;
}

bool gIsSameStatement(const SignedStatement &one, const SignedStatement &other)
{
    return one.serial == other.serial && one.expires == other.expires && gIsSameOffer(one, other);
}

bool gIsSameOffer(const ManifestValues &one, const ManifestValues &other)
{
    return one.exeUrl == other.exeUrl && one.verify == other.verify &&
           one.ownVerify == other.ownVerify && one.oldVerify == other.oldVerify &&
           gIsSamePackage(one.increasePackage, other.increasePackage) &&
           std::equal(one.releaseNotes.cbegin(), one.releaseNotes.cend(),
                      other.releaseNotes.cbegin(), other.releaseNotes.cend(), gIsSameNote) &&
           one.statement && other.statement && gIsSameOffer(*one.statement, *other.statement);
}
