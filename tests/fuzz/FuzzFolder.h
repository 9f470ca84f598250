// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>

/// A folder for the files of a fuzz target, in memory where the system has such a place.
///
/// Errors: what cannot be written ends the process.
class FuzzFolder
{
public:
    FuzzFolder();

    QString Path() const { return m_folder.path(); }

    /// Replaces the file @p name. No two versions of it have the same time, so that nobody takes a
    /// new one for the one that he knows.
    void Write(const char *name, const QByteArray &bytes) const;
    void Write(const char *name, const std::uint8_t *data, std::size_t size) const;

private:
    QTemporaryDir m_folder;
};
