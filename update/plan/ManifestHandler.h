// SPDX-License-Identifier: MIT

#pragma once

#include "update/plan/Manifest.h"

#include <QString>
#include <QVector>
#include <QXmlDefaultHandler>
#include <QXmlInputSource>

#include <array>

QT_WARNING_PUSH
QT_WARNING_DISABLE_DEPRECATED

/// The text of a manifest for the parser. It remembers the last character that the parser took.
class ManifestSource : public QXmlInputSource
{
public:
    explicit ManifestSource(const QString &xml) { setData(xml); }

    QChar next() override { return m_last = QXmlInputSource::next(); }
    QChar Last() const { return m_last; }

private:
    QChar m_last;
};

/// Collects the values of a manifest while it is parsed, in one pass without a tree: the first element of
/// a name counts, and its text is that of all its descendants.
///
/// Thread: one thread. Ownership: the source belongs to the caller and outlives it.
/// Errors: the parser is told to stop.
class ManifestHandler : public QXmlDefaultHandler
{
public:
    /// More than any manifest has. The parser calls itself for each level.
    static constexpr int mostLevels = 1000;

    explicit ManifestHandler(const ManifestSource &source);

    bool startDTD(const QString &name, const QString &publicId, const QString &systemId) override;
    bool startElement(const QString &uri, const QString &localName, const QString &name,
                      const QXmlAttributes &attributes) override;
    bool endElement(const QString &uri, const QString &localName, const QString &name) override;
    bool characters(const QString &text) override;

    /// Valid once the whole document was parsed. Empty when the release notes repeat each other too often.
    ManifestValues Result() const;

private:
    enum Field {
        ExeUrl,
        Verify,
        OwnVerify,
        OldVerify,
        Url,
        Version,
        Md5,
        Size,
        AutoNotify,
        FieldCount
    };
    enum class Kind { Other, WhatNews, Item, IncreasePackage };

    /// An element whose end has not been reached.
    struct Open {
        Kind kind;
        int span;
    };
    /// Where the text of an element lies in the text of the document.
    struct Span {
        int start;
        int end;
    };
    /// Indexes of spans, -1 while the element has not been found, as in `m_fields`.
    struct Item {
        int version = -1;
        int text = -1;
    };

    Kind Enter(const QString &name);
    bool TakeForFields(const QString &name, int span);
    bool TakeForItems(int Item::*text, int span);
    QString Text(int span) const;
    int Length(int span) const;
    QList<ReleaseNote> ReleaseNotes() const;

    const ManifestSource &m_source;
    QString m_text;
    QVector<Open> m_open;
    QVector<Span> m_spans;
    std::array<int, FieldCount> m_fields{};
    QVector<Item> m_items;
    /// Indexes of the items whose end has not been reached.
    QVector<int> m_openItems;
    bool m_hasWhatNews = false;
    bool m_isInWhatNews = false;
    bool m_hasPackage = false;
    bool m_isInPackage = false;
    /// Elements of any incremental package whose end has not been reached.
    int m_openPackages = 0;
};

QT_WARNING_POP
