// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QtGlobal>

/// A file system of a few pages in memory, mounted on a folder while the object lives.
class SmallDisk
{
public:
    SmallDisk(const QString &folder, qint64 bytes);
    ~SmallDisk();
    SmallDisk(const SmallDisk &) = delete;
    SmallDisk &operator=(const SmallDisk &) = delete;

    /// False when the system does not let us mount anything.
    bool IsMounted() const { return m_isMounted; }
    bool Grow(qint64 bytes) const;

private:
    QString m_folder;
    bool m_isMounted;
};
