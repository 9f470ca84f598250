// SPDX-License-Identifier: MIT

#pragma once

#include <QList>
#include <QString>

/// Changes to a folder that others read meanwhile: each is atomic, and all of them are taken back,
/// the last one first, unless they are kept in the end.
class FileChanges
{
public:
    /// @param backupFolder an existing, empty folder in the same file system
    explicit FileChanges(const QString &backupFolder);
    /// Takes back what was not kept. What cannot be taken back is told on the standard error, and
    /// everything that was changed before it stays: a file that a kept one names is never removed.
    ~FileChanges();
    FileChanges(const FileChanges &) = delete;
    FileChanges &operator=(const FileChanges &) = delete;

    /// Makes @p folder unless it is there. @throws PublishError
    void MakeFolder(const QString &folder);

    /// Moves the file @p from to @p to, in the place of the file that is there. @throws PublishError
    void Move(const QString &from, const QString &to);

    void Keep() { m_changes.clear(); }

private:
    enum class Kind { NewFolder, NewFile, ReplacedFile };
    struct Change {
        Kind kind;
        QString path;
        QString backup;
    };

    static bool TakeBack(const Change &change);

    QString m_backupFolder;
    QList<Change> m_changes;
};
