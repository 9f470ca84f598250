// SPDX-License-Identifier: MIT

#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>
#include <QUrl>

/// A running quillon-serve.
///
/// Ownership: the creator; the destructor ends the process.
/// Errors: `Template` is empty when the service did not start.
class ServeProcess
{
public:
    explicit ServeProcess(const QString &directory, const QStringList &options = {});
    ~ServeProcess();

    /// The line that the service printed when it was ready, with its line end.
    QString Template() const { return m_template; }

    /// The address of @p path, which may carry a query, on this service.
    QUrl Url(const QString &path) const;

    QProcess &Process() { return m_process; }

private:
    QProcess m_process;
    QString m_template;
};
