// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>

/// A folder for the files of a fuzz target, in memory where the system has /dev/shm.
///
/// Errors: a file that cannot be written ends the process.
class FuzzFolder
{
public:
    FuzzFolder();

    QString Path() const { return m_folder.path(); }

    /// Replaces the file @p name. Each version has another time, because `QSettings` takes a file
    /// with the same size and time for the one that it has read already.
    void Write(const char *name, const QByteArray &bytes) const;
    void Write(const char *name, const std::uint8_t *data, std::size_t size) const;

private:
    QTemporaryDir m_folder;
};
