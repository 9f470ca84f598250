// SPDX-License-Identifier: MIT

#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

/// Records the order in which files arrive in folders, and every other change of files there. None
/// is missed, because the kernel keeps the events until they are read.
class ArrivalWatch
{
public:
    explicit ArrivalWatch(const QStringList &folders);
    ~ArrivalWatch();
    ArrivalWatch(const ArrivalWatch &) = delete;
    ArrivalWatch &operator=(const ArrivalWatch &) = delete;

    /// The files so far, in their order. A change other than a rename into the folder is "changed
    /// PATH".
    QStringList Events();

private:
    int m_handle;
    QMap<int, QString> m_folders;
};
