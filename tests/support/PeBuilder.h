// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <QtGlobal>

/// Builds a small Windows executable in memory: headers, a code section, and a resource section
/// whose tree holds an icon and, by default, a version resource. The program cannot be run.
///
///     0x000 DOS header, 0x080 "PE\0\0", COFF header, optional header, section table
///     0x400 .text
///     0x600 .rsrc: directories of type, name and language; data entries; VS_VERSIONINFO
class PeBuilder
{
public:
    enum class Format { Pe32, Pe32Plus };

    /// A version resource as a compiler writes it for a US-English Unicode program of @p
    /// fileVersion.
    static PeBuilder WithFileVersion(const QString &fileVersion);

    PeBuilder &SetFormat(Format format);
    /// Appends a pair to "\VarFileInfo\Translation".
    PeBuilder &AddTranslation(quint16 language, quint16 codePage);
    /// Appends a string to the table @p table, for example "040904b0"; @p value is stored with one
    /// terminating zero behind what it contains itself.
    PeBuilder &AddString(const QString &table, const QString &name, const QString &value);
    /// The four numbers of the binary part; no text is made from them.
    PeBuilder &SetFixedVersion(quint16 major, quint16 minor, quint16 build, quint16 revision);
    PeBuilder &PutTranslationsFirst();
    /// Appends the version resource of @p other as that of @p language; the builder's own one, which
    /// is of US English, is left out then.
    PeBuilder &AddLanguage(quint16 language, const PeBuilder &other);
    PeBuilder &LeaveOutVersionResource();
    PeBuilder &LeaveOutResources();

    QByteArray Build() const;

    /// Where the pieces lie in what `Build` returns; of several version resources the first one.
    static constexpr int resourceDirectory = 0x600;
    int VersionInfoOffset() const;
    int VersionInfoEnd() const;

private:
    struct Table {
        QString key;
        QList<QPair<QString, QString>> strings;
    };

    QByteArray Headers(int resourceSize) const;
    QByteArray OptionalHeader(int resourceSize) const;
    QByteArray ResourceSection() const;
    QByteArray ResourceTree() const;
    QList<QPair<quint16, QByteArray>> VersionResources() const;
    QByteArray VersionInfo() const;
    QByteArray StringFileInfo() const;
    QByteArray VarFileInfo() const;
    QByteArray FixedFileInfo() const;

    Format m_format = Format::Pe32Plus;
    QList<QPair<quint16, quint16>> m_translations;
    QList<Table> m_tables;
    QList<QPair<quint16, QByteArray>> m_languages;
    QList<quint16> m_fixedVersion = {1, 2, 3, 4};
    bool m_translationsFirst = false;
    bool m_versionResource = true;
    bool m_resources = true;
};
