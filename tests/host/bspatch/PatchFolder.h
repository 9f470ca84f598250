// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

/// A folder with the three files that a patch has to do with, and nothing else.
class PatchFolder
{
public:
    QString OldPath() const { return Path(QStringLiteral("old")); }
    QString NewPath() const { return Path(QStringLiteral("new")); }
    QString PatchPath() const { return Path(QStringLiteral("patch")); }
    QString Path(const QString &name) const { return m_folder.filePath(name); }

    /// The names of all files in the folder, hidden ones too, sorted.
    QStringList Names() const;

    /// Writes one file; a test that calls it fails by itself when that does not work.
    static void Write(const QString &path, const QByteArray &content);
    /// The content of a file; nothing but a null array when there is none.
    static QByteArray Read(const QString &path);

    /// Puts @p patch into the folder, beside a new file from earlier, and applies it in this
    /// process. Empty when that failed as it should: one line of error about the patch, the earlier
    /// new file as it was, nothing else left behind. Otherwise what was wrong.
    QString Refuses(const QByteArray &patch) const;

private:
    QTemporaryDir m_folder;
};
