// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

/// What an update service offers at one time: a package, its version and its name.
struct Publication {
    QString version;
    /// The last component of the package's address, which is the installer's file name as well.
    QString name;
    QByteArray bytes;

    /// A package of @p size bytes. It is a program that ends at once, so that it can be started.
    /// Another @p seed makes other bytes.
    static Publication Of(const QString &version, int size, quint64 seed);

    QByteArray Path() const { return "/packages/" + name.toUtf8(); }
    /// The manifest that offers the package of the service at @p baseUrl, with its MD5.
    QByteArray Manifest(const QString &baseUrl) const;
};
