// SPDX-License-Identifier: MIT

#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

/// A corvina-demo, the way to run it on this machine, and the paths by which it finds files. By
/// default the one of this build, which is run directly.
struct HostProgram {
    QString path = QStringLiteral(CORVINA_DEMO);
    /// A program that runs it, with the arguments in front of its path; empty for none.
    QStringList launcher;
    /// Variables besides those of this process and of the user's home.
    QMap<QString, QString> environment;
    /// The drive that stands for the root folder of this machine ("Z:"); empty where the host uses
    /// the paths of this machine.
    QString drive;

    /// The path by which the host finds @p file of this machine.
    QString Path(QString file) const
    {
        return drive.isEmpty() ? file : drive + file.replace(QLatin1Char('/'), QLatin1Char('\\'));
    }
};
