// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

/// An update service in a process of its own, on a free port of the loopback interface, that serves
/// a site folder: "packages/", "manifest.xml", "manifests/". A path with N leading "/redirect" is
/// answered after N redirects.
///
/// Ownership: the creator; the process ends with the object.
class LocalServer
{
public:
    LocalServer() = default;
    LocalServer(const LocalServer &) = delete;
    LocalServer &operator=(const LocalServer &) = delete;
    virtual ~LocalServer() = default;

    /// Starts serving @p site. @p bytesPerSecond limits the speed, of all answers together
    /// (quillon-serve) or of each (nginx); 0 is unlimited. @return whether it is ready.
    virtual bool Start(const QString &site, int bytesPerSecond) = 0;

    /// Ends the process; later connections are refused.
    virtual void Stop() = 0;

    /// "http://127.0.0.1:PORT"
    QString BaseUrl() const { return m_baseUrl; }

    /// The check's address template.
    QString CheckTemplate() const;

    /// The requests so far, a line each: method, path, range or "-", status.
    virtual QStringList Requests() = 0;

protected:
    QString m_baseUrl;
};
