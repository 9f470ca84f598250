// SPDX-License-Identifier: MIT

#include "tools/quillon-publish/NotesReader.h"

#include "tools/quillon-publish/PublishError.h"

#include "update/UpdateCommon/VersionInfo.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTextCodec>

#include <md4c-html.h>

#include <algorithm>

namespace
{
QString gDecodeUtf8(const QByteArray &bytes, const QString &path)
{
    constexpr int utf8 = 106; // MIBenum of UTF-8, IANA registry of character sets
    QTextCodec::ConverterState state;
    const QString text =
        QTextCodec::codecForMib(utf8)->toUnicode(bytes.constData(), bytes.size(), &state);
    if (state.invalidChars > 0 || state.remainingChars > 0) {
        throw PublishError(QStringLiteral("%1 is not UTF-8").arg(path));
    }
    return text;
}

bool gIsForbiddenInXml(QChar character)
{
    const ushort code = character.unicode();
    const bool control = code < 0x20 && code != '\t' && code != '\n';
    return control || code == 0xFFFE || code == 0xFFFF;
}

QString gReadText(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        throw PublishError(QStringLiteral("cannot read %1: %2").arg(path, file.errorString()));
    }
    QString text = gDecodeUtf8(file.readAll(), path);
    text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    text.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    if (std::any_of(text.cbegin(), text.cend(), gIsForbiddenInXml)) {
        throw PublishError(QStringLiteral("%1 has control characters").arg(path));
    }
    return text;
}

QString gMarkdownToHtml(const QString &markdown)
{
    const auto append = [](const MD_CHAR *text, MD_SIZE size, void *html) {
        static_cast<QByteArray *>(html)->append(text, static_cast<int>(size));
    };
    const QByteArray source = markdown.toUtf8();
    QByteArray html;
    if (md_html(source.constData(), static_cast<MD_SIZE>(source.size()), append, &html,
                MD_FLAG_NOHTML, 0) != 0) {
        throw PublishError(QStringLiteral("the release notes cannot be converted to HTML"));
    }
    return QString::fromUtf8(html).trimmed();
}

/// The items of the bulleted list that is all of @p html; @p html itself when there is more.
QString gItemsOfSingleList(const QString &html)
{
    static const QRegularExpression listTag(QStringLiteral("</?ul>"));
    if (!html.startsWith(QLatin1String("<ul>"))) {
        return html;
    }
    int depth = 0;
    auto tags = listTag.globalMatch(html);
    while (tags.hasNext()) {
        const QRegularExpressionMatch tag = tags.next();
        depth += tag.capturedLength() == 4 ? 1 : -1;
        if (depth == 0) {
            const bool isAll = tag.capturedEnd() == html.size();
            return isAll ? html.mid(4, tag.capturedStart() - 4).trimmed() : html;
        }
    }
    return html;
}

QString gNotesFromMarkdown(const QString &markdown)
{
    const QString html = gMarkdownToHtml(markdown);
    const QString items = gItemsOfSingleList(html);
    // Clients make a list of the items only when they contain no numbered list.
    return VersionInfo::wrapNotes(items) == items ? html : items;
}
} // namespace

QString gReadNotes(const QString &path)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    const bool isMarkdown = suffix == QLatin1String("md") || suffix == QLatin1String("markdown");
    if (!isMarkdown && suffix != QLatin1String("html") && suffix != QLatin1String("htm")) {
        throw PublishError(
            QStringLiteral("release notes have to be a .md or a .html file: %1").arg(path));
    }
    const QString text = gReadText(path);
    const QString notes = isMarkdown ? gNotesFromMarkdown(text) : text;
    if (notes.trimmed().isEmpty()) {
        throw PublishError(QStringLiteral("there are no release notes in %1").arg(path));
    }
    return notes;
}
