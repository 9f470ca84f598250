// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

/// An installer on the release engineer's disk.
struct Installer {
    QString path;
    /// The file name, without folders.
    QString name;
    /// The version in the file itself (`FileVersionString`); clients recognise a kept installer by
    /// it.
    QString version;
    QString md5;
    qint64 size = 0;

    /// The installer that is to be published as @p version.
    /// @throws PublishError when clients could not download it or would not recognise it.
    static Installer ReadNew(const QString &path, const QString &version);

    /// The installers of earlier versions than @p newVersion.
    /// @throws PublishError when one carries no version, the new version, or that of another one.
    static QList<Installer> ReadPrevious(const QStringList &paths, const QString &newVersion);
};
