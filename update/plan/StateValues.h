// SPDX-License-Identifier: MIT

#pragma once

#include "update/plan/IniFormat.h"
#include "update/plan/StateFile.h"

#include <QByteArray>
#include <QString>

#include <array>
#include <cstddef>
#include <memory>

/// The values of the resume state, in memory and on disk.
///
/// A plan is a new file. Behind it the file is written over in place, so a chunk costs one write of a
/// sector. The text has three parts, each of whole sectors and filled up with blanks: what every chunk
/// changes, what every flush changes, and the rest. A disk that loses power writes a sector whole or
/// not at all, and any mixture of older and newer parts is safe: the smaller of Start_Byte and
/// Flushed_Byte counts behind a loss of power.
///
/// Thread:    GUI thread.
/// Ownership: shared by all that use a file, so that each sees what the others have set.
/// Errors:    returned; what is not on disk stays here and is tried again with the next call.
class StateValues
{
public:
    explicit StateValues(const QString &path);

    /// The values of the file at @p path that are in use, or new ones.
    static std::shared_ptr<StateValues> Of(const QString &path);

    QString Path() const { return m_file.Path(); }
    /// Texts are in UTF-8.
    QByteArray Value(const QByteArray &key) const;
    bool Contains(const QByteArray &key) const;
    void SetValue(const QByteArray &key, const QByteArray &value);

    /// See `ResumeState`.
    void Reload();
    bool Sync();
    bool SyncProgress();
    void Close() { m_file.Close(); }
    QByteArray BeginReplacement();
    void EndReplacement(bool isReplaced);
    void AbandonReplacement();
    bool IsOpen() const { return m_file.Size() > 0; }

private:
    static constexpr std::size_t partCount = 3;

    static std::size_t PartOf(const QByteArray &key);
    QByteArray Text() const;
    QByteArray TextInPlace() const;

    StateFile m_file;
    std::array<IniValues, partCount> m_parts;
    /// Something is not on disk yet.
    bool m_isChanged = false;
};
