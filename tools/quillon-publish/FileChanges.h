// SPDX-License-Identifier: MIT

#pragma once

#include <QList>
#include <QString>

/// Changes to a folder that others read at the same time. Each change is atomic. Without `Keep` the
/// destructor takes all of them back, the last one first.
class FileChanges
{
public:
    /// @param backupFolder an existing, empty folder in the same file system
    explicit FileChanges(const QString &backupFolder);
    /// Takes back the changes that were not kept. When one cannot be taken back, that is written to
    /// the standard error and the changes before it stay: a manifest that could not be taken back
    /// still names packages, which were changed before it.
    ~FileChanges();
    FileChanges(const FileChanges &) = delete;
    FileChanges &operator=(const FileChanges &) = delete;

    /// Makes @p folder unless it is there. @throws PublishError
    void MakeFolder(const QString &folder);

    /// Moves the file @p from to @p to, in the place of the file that is there. @throws
    /// PublishError
    void Move(const QString &from, const QString &to);

    /// Makes all changes so far permanent.
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
