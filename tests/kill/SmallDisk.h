// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QtGlobal>

/// A small file system in memory, mounted on a folder. The destructor unmounts it.
class SmallDisk
{
public:
    SmallDisk(const QString &folder, qint64 bytes);
    ~SmallDisk();
    SmallDisk(const SmallDisk &) = delete;
    SmallDisk &operator=(const SmallDisk &) = delete;

    /// False when this process has no right to mount.
    bool IsMounted() const { return m_isMounted; }
    bool Grow(qint64 bytes) const;

private:
    QString m_folder;
    bool m_isMounted;
};
