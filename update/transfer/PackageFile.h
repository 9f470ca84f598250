// SPDX-License-Identifier: MIT

#pragma once

#include <QFile>
#include <QString>

#include <string_view>

/// The file that a package is written into. It is made only where the caller says so: a target that
/// has vanished together with bytes of the package is a failure and not a new, empty package.
///
/// Thread: GUI thread. Errors: `Failure` has the system's text for the last call that failed.
class PackageFile
{
public:
    enum class IfMissing { Fail, Make };

    void SetPath(const QString &path);
    QString Path() const { return m_file.fileName(); }

    /// Opens the file at @p position if it is not open there yet. One that was removed or renamed
    /// since it was opened is not written to any more.
    bool Open(qint64 position, IfMissing ifMissing = IfMissing::Fail);
    void Close() { m_file.close(); }

    /// Writes @p bytes at the position of the file, and is with the system when it returns.
    /// @return how many were written; fewer than given when the rest failed.
    qint64 Write(std::string_view bytes);

    QString Failure() const { return m_failure; }

private:
    QFile m_file;
    QString m_failure;
};
