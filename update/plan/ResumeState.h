// SPDX-License-Identifier: MIT

#pragma once

#include "update/plan/StateValues.h"

#include <QByteArray>
#include <QString>

#include <memory>

/// What a resume state belongs to: the file that its ranges lie in, and the package that they are cut
/// out of.
struct DownloadIdentity {
    /// Empty for no file at all, which no file ever is.
    QString targetFile;
    /// In lower case; empty when the manifest names none.
    QString packageMd5;
    QString version;
};

/// The resume-state file "CvBreakResumeDownLoad.ini": which package is being downloaded, and how
/// far each of its five ranges has come. It lies in the configuration directory and outlives the
/// process.
///
/// | group                | key                  | written as   | meaning                      |
/// |----------------------|----------------------|--------------|------------------------------|
/// | FullPackage_size     | FullPackage_size     | decimal text | size of the package in bytes |
/// | AlreadyDownload_size | AlreadyDownload_size | decimal text | bytes written, all ranges    |
/// | DownLoad_Tasks       | Start_Byte1 to 5     | integer      | next byte to fetch           |
/// | DownLoad_Tasks       | End_Byte1 to 5       | integer      | last byte, inclusive         |
///
/// | Flushed              | Boot_Id              | text         | boot that wrote the data     |
/// | Flushed              | Flushed_Byte1 to 5   | integer      | next byte not yet flushed    |
/// | Identity             | Target_File          | text         | `gFileIdentity` of the file  |
/// | Identity             | Package_Md5          | text         | as the manifest names it     |
/// | Identity             | Package_Version      | text         | as the manifest names it     |
/// | Failed_Patch         | Result_Md5           | text         | see `IsFailedPatch`          |
///
/// Every number is read as a 32-bit integer: 0 when it is missing, the low 32 bits of a number that
/// does not fit. Range N is complete when Start_ByteN equals End_ByteN + 1.
///
/// `StateValues` puts them on disk.
///
/// Thread: GUI thread. Objects on the same file share what is not on disk yet.
class ResumeState
{
public:
    static constexpr int rangeCount = 5;

    /// Reads the file in @p configDirectory.
    explicit ResumeState(const QString &configDirectory);

    qint32 PackageSize() const;
    void SetPackageSize(qint64 bytes);

    qint32 AlreadyDownloaded() const;
    void SetAlreadyDownloaded(qint64 bytes);

    /// @param rangeNumber 1 to 5, here and below
    qint32 StartByte(int rangeNumber) const;
    void SetStartByte(int rangeNumber, qint64 byte);

    qint32 EndByte(int rangeNumber) const;
    void SetEndByte(int rangeNumber, qint64 byte);

    /// Whether the state names a boot, and so what was flushed during it.
    bool KnowsBoot() const;
    QString BootId() const;
    void SetBootId(const QString &boot);

    /// The byte of a range up to which, exclusively, its data are on stable storage.
    qint32 FlushedByte(int rangeNumber) const;
    void SetFlushedByte(int rangeNumber, qint64 byte);

    /// Whether the state says what it belongs to. One that another version of the module wrote does
    /// not, and is taken at its word.
    bool KnowsIdentity() const;
    DownloadIdentity Identity() const;
    void SetIdentity(const DownloadIdentity &identity);

    /// Whether the incremental package that makes the installer with this MD5 could not be applied.
    bool IsFailedPatch(const QString &resultMd5) const;
    void SetFailedPatch(const QString &resultMd5);

    QString Path() const { return m_values->Path(); }

    /// Takes over what another program has written, unless a plan of this process runs or there is
    /// something that is not on disk yet.
    void Reload() { m_values->Reload(); }
    /// Puts everything on disk: over the file in place where that has room, else as a new file.
    /// @return false when that failed; the file is as it was then.
    bool Sync() { return m_values->Sync(); }
    /// Puts `AlreadyDownloaded` and the ranges on disk with one small write, where a plan has made the
    /// file; as `Sync` otherwise. A file that was removed is made anew by `Sync` only.
    bool SyncProgress() { return m_values->SyncProgress(); }
    /// Behind the end of a download the file may be another process's. What is synced later is a new
    /// file.
    void Close() { m_values->Close(); }
    bool IsOpen() const { return m_values->IsOpen(); }

    /// A new file in two steps, of which the one that waits for the disk can run on another thread:
    /// `gReplaceStateFile` with this text, and then `EndReplacement`. Nothing may be changed between.
    /// Who does not wait for its end abandons it: what is on disk counts then.
    QByteArray BeginReplacement() { return m_values->BeginReplacement(); }
    void EndReplacement(bool isReplaced) { m_values->EndReplacement(isReplaced); }
    void AbandonReplacement() { m_values->AbandonReplacement(); }

private:
    std::shared_ptr<StateValues> m_values;
};
