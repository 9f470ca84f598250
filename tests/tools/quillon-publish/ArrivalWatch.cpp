// SPDX-License-Identifier: MIT

#include "tests/tools/quillon-publish/ArrivalWatch.h"

#include <QByteArray>
#include <QFile>

#include <cstring>

#include <sys/inotify.h>
#include <unistd.h>

ArrivalWatch::ArrivalWatch(const QStringList &folders)
    : m_handle(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
{
    constexpr uint32_t events =
        IN_MOVED_TO | IN_MOVED_FROM | IN_CREATE | IN_DELETE | IN_MODIFY | IN_ONLYDIR;
    for (const QString &folder : folders) {
        m_folders.insert(inotify_add_watch(m_handle, QFile::encodeName(folder).constData(), events),
                         folder);
    }
}

ArrivalWatch::~ArrivalWatch()
{
    close(m_handle);
}

QStringList ArrivalWatch::Events()
{
    QByteArray bytes(64 * 1024, '\0');
    const ssize_t size = read(m_handle, bytes.data(), static_cast<size_t>(bytes.size()));
    QStringList files;
    for (ssize_t at = 0; at < size;) {
        inotify_event event{};
        std::memcpy(&event, bytes.constData() + at, sizeof event);
        const QString path = m_folders.value(event.wd) + QLatin1Char('/') +
                             QFile::decodeName(bytes.constData() + at + sizeof event);
        files.append((event.mask & IN_MOVED_TO) != 0U ? path : QLatin1String("changed ") + path);
        at += static_cast<ssize_t>(sizeof event + event.len);
    }
    return files;
}
