// SPDX-License-Identifier: MIT

#include "tests/kill/SmallDisk.h"

#include <QDir>
#include <QFile>

#include <sys/mount.h>

namespace
{
bool gMountMemory(const QString &folder, qint64 bytes, unsigned long flags)
{
    const QByteArray options = "size=" + QByteArray::number(bytes);
    return mount("tmpfs", QFile::encodeName(folder).constData(), "tmpfs", flags,
                 options.constData()) == 0;
}
} // namespace

SmallDisk::SmallDisk(const QString &folder, qint64 bytes)
    : m_folder(folder)
    , m_isMounted(QDir().mkpath(folder) && gMountMemory(folder, bytes, 0))
{
}

SmallDisk::~SmallDisk()
{
    if (m_isMounted) {
        umount2(QFile::encodeName(m_folder).constData(), MNT_DETACH);
    }
}

bool SmallDisk::Grow(qint64 bytes) const
{
    return gMountMemory(m_folder, bytes, MS_REMOUNT);
}
