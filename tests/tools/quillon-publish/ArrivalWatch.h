// SPDX-License-Identifier: MIT

#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

/// Notes in which order files arrive in folders, and whatever else happens to files there, without a
/// gap: the kernel keeps the events until they are read.
class ArrivalWatch
{
public:
    explicit ArrivalWatch(const QStringList &folders);
    ~ArrivalWatch();
    ArrivalWatch(const ArrivalWatch &) = delete;
    ArrivalWatch &operator=(const ArrivalWatch &) = delete;

    /// The files so far, in their order. What was not moved in whole stands there as "changed PATH".
    QStringList Events();

private:
    int m_handle;
    QMap<int, QString> m_folders;
};
