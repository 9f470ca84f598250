// SPDX-License-Identifier: MIT

#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

/// A corvina-demo, how this machine runs it, and how it sees the files of this machine. By default the
/// one of this build, which needs nothing in between.
struct HostProgram {
    QString path = QStringLiteral(CORVINA_DEMO);
    /// A program that runs it, with the arguments in front of its path; empty for none.
    QStringList launcher;
    /// Variables besides those of this process and of the user's home.
    QMap<QString, QString> environment;
    /// The drive that holds the root folder of this machine ("Z:"); empty on systems without drives.
    QString drive;

    /// @p file of this machine as the host calls it.
    QString Path(QString file) const
    {
        return drive.isEmpty() ? file : drive + file.replace(QLatin1Char('/'), QLatin1Char('\\'));
    }
};
