// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

/// A temporary folder for the three files of a patch: old, new and patch.
class PatchFolder
{
public:
    QString OldPath() const { return Path(QStringLiteral("old")); }
    QString NewPath() const { return Path(QStringLiteral("new")); }
    QString PatchPath() const { return Path(QStringLiteral("patch")); }
    QString Path(const QString &name) const { return m_folder.filePath(name); }

    /// The names of all files in the folder, hidden ones too, sorted.
    QStringList Names() const;

    /// Writes one file. Errors are not reported; the test that uses the file fails.
    static void Write(const QString &path, const QByteArray &content);

    /// Puts @p patch into the folder, beside a new file from earlier, and applies it in this
    /// process, which is to fail.
    /// @return empty when it failed as required: one line of error about the patch, the earlier new
    ///         file unchanged, no further file left. Otherwise a text with the difference.
    QString Refuses(const QByteArray &patch) const;

private:
    QTemporaryDir m_folder;
};
