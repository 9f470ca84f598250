// SPDX-License-Identifier: MIT

#include "update/plan/ManifestHandler.h"

namespace
{
// Nested items without texts of their own share the texts of the innermost, and each gets a copy.
constexpr int mostNotes = 4 * 1024 * 1024;
} // namespace

ManifestHandler::ManifestHandler(const ManifestSource &source)
    : m_source(source)
{
    m_fields.fill(-1);
}

bool ManifestHandler::startDTD(const QString & /*name*/, const QString & /*publicId*/,
                               const QString & /*systemId*/)
{
    // Declarations take the parser a stack and a time that nothing here can count. The parser has read
    // the end of the declaration, or what follows the "[" in front of the first of them.
    return m_source.Last() == QLatin1Char('>');
}

bool ManifestHandler::startElement(const QString & /*uri*/, const QString & /*localName*/,
                                   const QString &name, const QXmlAttributes & /*attributes*/)
{
    if (m_open.size() == mostLevels) {
        return false;
    }
    Open element{Kind::Other, -1};
    // The root has any name; values are looked for below it.
    if (!m_open.isEmpty()) {
        const int span = m_spans.size();
        const bool isField = TakeForFields(name, span);
        const bool isVersion =
            name == QLatin1String("Version") && TakeForItems(&Item::version, span);
        const bool isText = name == QLatin1String("Text") && TakeForItems(&Item::text, span);
        if (isField || isVersion || isText) {
            m_spans.append({m_text.size(), m_text.size()});
            element.span = span;
        }
        element.kind = Enter(name);
    }
    m_openPackages += name == QLatin1String("IncreasePackage") ? 1 : 0;
    m_open.append(element);
    return true;
}

bool ManifestHandler::endElement(const QString & /*uri*/, const QString & /*localName*/,
                                 const QString &name)
{
    m_openPackages -= name == QLatin1String("IncreasePackage") ? 1 : 0;
    const Open element = m_open.takeLast();
    if (element.span >= 0) {
        m_spans[element.span].end = m_text.size();
    }
    switch (element.kind) {
    case Kind::Other:
        break;
    case Kind::WhatNews:
        m_isInWhatNews = false;
        break;
    case Kind::Item:
        m_openItems.removeLast();
        break;
    case Kind::IncreasePackage:
        m_isInPackage = false;
        break;
    }
    return true;
}

bool ManifestHandler::characters(const QString &text)
{
    m_text += text;
    return true;
}

/// Notes that the children of an element of this name are looked for.
ManifestHandler::Kind ManifestHandler::Enter(const QString &name)
{
    if (name == QLatin1String("WhatNews") && !m_hasWhatNews) {
        m_hasWhatNews = true;
        m_isInWhatNews = true;
        return Kind::WhatNews;
    }
    if (name == QLatin1String("IncreasePackage") && !m_hasPackage) {
        m_hasPackage = true;
        m_isInPackage = true;
        return Kind::IncreasePackage;
    }
    if (name == QLatin1String("Item") && m_isInWhatNews) {
        m_openItems.append(m_items.size());
        m_items.append(Item());
        return Kind::Item;
    }
    return Kind::Other;
}

/// @return whether @p span is the text of a field that had none
bool ManifestHandler::TakeForFields(const QString &name, int span)
{
    enum class Where { Anywhere, InPackage, OutsideOfPackages };
    struct Place {
        const char *name;
        Where where;
    };
    // In the order of the enum. The name of the full package's MD5 is searched in the whole document.
    static constexpr std::array<Place, FieldCount> places{{{"ExeUrl_x64", Where::Anywhere},
                                                           {"Verify_x64", Where::Anywhere},
                                                           {"Verify_x64", Where::OutsideOfPackages},
                                                           {"OldVerify_x64", Where::Anywhere},
                                                           {"Url_x64", Where::InPackage},
                                                           {"Version", Where::InPackage},
                                                           {"Verify_x64", Where::InPackage},
                                                           {"Size_x64", Where::InPackage},
                                                           {"AutoNotify", Where::InPackage}}};
    bool isTaken = false;
    for (size_t field = 0; field < places.size(); ++field) {
        const Place &place = places[field];
        const bool isHere = place.where == Where::Anywhere ||
                            (place.where == Where::InPackage ? m_isInPackage : m_openPackages == 0);
        if (m_fields[field] < 0 && isHere && name == QLatin1String(place.name)) {
            m_fields[field] = span;
            isTaken = true;
        }
    }
    return isTaken;
}

/// The text belongs to every open item that has none. Items around one that has it have it, too.
bool ManifestHandler::TakeForItems(int Item::*text, int span)
{
    bool isTaken = false;
    for (auto index = m_openItems.crbegin();
         index != m_openItems.crend() && m_items[*index].*text < 0; ++index) {
        m_items[*index].*text = span;
        isTaken = true;
    }
    return isTaken;
}

QString ManifestHandler::Text(int span) const
{
    return span < 0 ? QString() : m_text.mid(m_spans[span].start, Length(span));
}

int ManifestHandler::Length(int span) const
{
    return span < 0 ? 0 : m_spans[span].end - m_spans[span].start;
}

QList<ReleaseNote> ManifestHandler::ReleaseNotes() const
{
    QList<ReleaseNote> notes;
    for (const Item &item : m_items) {
        notes.append({Text(item.version), Text(item.text)});
    }
    return notes;
}

ManifestValues ManifestHandler::Result() const
{
    qint64 notesLength = 0;
    for (const Item &item : m_items) {
        notesLength += Length(item.version) + Length(item.text);
    }
    if (notesLength > mostNotes) {
        return {};
    }
    ManifestValues manifest;
    manifest.exeUrl = Text(m_fields[ExeUrl]);
    if (m_fields[Verify] >= 0) {
        manifest.verify = Text(m_fields[Verify]);
    }
    manifest.ownVerify = Text(m_fields[OwnVerify]);
    if (m_fields[OldVerify] >= 0) {
        manifest.oldVerify = Text(m_fields[OldVerify]);
    }
    if (m_hasPackage) {
        manifest.increasePackage = {Text(m_fields[Url]), Text(m_fields[Version]),
                                    Text(m_fields[Md5]), Text(m_fields[Size]),
                                    Text(m_fields[AutoNotify])};
    }
    manifest.releaseNotes = ReleaseNotes();
    return manifest;
}
