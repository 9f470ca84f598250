// SPDX-License-Identifier: MIT

#pragma once

#include "platform/ProcessLock.h"

#include <QString>
#include <QtGlobal>

#include <functional>
#include <limits>
#include <memory>

/// Finds the folder that private copies are made in, see `gPrivateFolder`.
using PrivateFolderFunction = std::function<QString(QString *failure)>;

/// A copy of a file, in a folder that only this user can write to: what was verified stays what it is,
/// whoever may write to the folder of the original.
///
///     <private folder>/Corvina-<random>.lock     held by the object that uses the copy
///     <private folder>/Corvina-<random>/<name>   the copy
///
/// <random> has 32 lower-case hexadecimal digits.
/// The file is read once: the digest is that of the bytes that were written into the copy.
///
/// Thread:    any, one at a time. Ownership: shared by those who use the copy.
/// The destructor removes the copy, unless `Leave` was called.
class PrivateCopy
{
public:
    /// No package is larger: its ranges are counted in 32 bits.
    static constexpr qint64 mostBytesOfPackage = std::numeric_limits<qint32>::max();

    /// What `Make` did. Without a copy `failure` says why.
    struct Outcome {
        std::shared_ptr<PrivateCopy> copy;
        /// 64 lower-case hexadecimal digits.
        QString sha256;
        qint64 size = 0;
        QString failure;
    };

    /// Copies the file at @p source. Blocks while the disk works.
    /// @param name     of the copy, without a folder
    /// @param mostBytes a longer file is not read to its end, and its size is given as one byte more;
    ///                  at most `mostBytesOfPackage`
    static Outcome Make(const QString &source, const QString &name, qint64 mostBytes,
                        const PrivateFolderFunction &privateFolder);

    /// Removes the copies that nobody uses: those of installers that were started, and of processes that
    /// were ended. One that the system does not let go of stays until the next call.
    static void RemoveLeft(const PrivateFolderFunction &privateFolder);

    ~PrivateCopy();
    PrivateCopy(const PrivateCopy &) = delete;
    PrivateCopy &operator=(const PrivateCopy &) = delete;

    QString Path() const { return m_path; }
    /// The copy stays behind this object: it is a program that has just been started.
    void Leave() { m_isLeft = true; }

private:
    PrivateCopy() = default;
    bool MakeFolder(const PrivateFolderFunction &privateFolder, QString *failure);

    ProcessLock m_lock;
    QString m_folder;
    QString m_path;
    bool m_isLeft = false;
};
