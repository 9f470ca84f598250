// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

#include <atomic>
#include <chrono>

/// The file of the resume state on disk. A plan puts a new file in the place of the old one, in one
/// step and on stable storage; what changes behind it is written over it in place, with one write
/// that the system keeps when the process is killed.
///
/// Thread:    GUI thread, but for `gReplaceStateFile`.
/// Errors:    returned; the file is as it was when a new one could not be made.
class StateFile
{
public:
    explicit StateFile(const QString &path);

    QString Path() const { return m_path; }
    /// The whole text; empty without a file.
    QByteArray Read() const;

    /// Opens the file that was put in place with @p text.
    void Open(const QByteArray &text);
    void Close();
    /// Bytes that can be written over; 0 while the file is not open.
    int Size() const { return m_text.size(); }
    /// The open file is still there: one that was removed takes bytes on some systems, and loses them.
    bool HasName() const;

    /// Writes @p text, of `Size` bytes at most, over the beginning of the file. Where that fails, what
    /// was there is put back, and the file is closed: it has to be replaced.
    bool Overwrite(const QByteArray &text);

private:
    QString m_path;
    QFile m_file;
    /// What is in the open file.
    QByteArray m_text;
};

/// Puts a new file with @p text in the place of the one at @p path, which must not be open here. Its
/// bytes are on stable storage before it takes the name.
/// @param patience  how long a program that holds the old file is waited for; virus scanners do so
/// @param isGivenUp may be set on another thread: nothing is waited for any more
///
/// Thread: any; it waits for the disk. @return whether it is in place
bool gReplaceStateFile(const QString &path, const QByteArray &text,
                       std::chrono::milliseconds patience = std::chrono::milliseconds(0),
                       const std::atomic<bool> *isGivenUp = nullptr);
