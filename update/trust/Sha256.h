// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QtGlobal>

#include <memory>

/// Whether @p text is a SHA-256 as a signed manifest writes it: 64 lower-case hexadecimal digits.
bool gIsSha256(const QString &text);

/// The SHA-256 of the file at @p path; empty when it cannot be read to its end.
///
/// Thread: any; it blocks while the disk works.
QString gFileSha256(const QString &path);

/// The SHA-256 of bytes that come piece by piece.
///
/// Thread: any, one at a time.
class Sha256
{
public:
    Sha256();
    ~Sha256();

    void Add(const char *bytes, qint64 size);
    /// 64 lower-case hexadecimal digits. Nothing can be added behind.
    QString Hex();

private:
    struct State;

    std::unique_ptr<State> m_state;
};
