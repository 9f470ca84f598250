// SPDX-License-Identifier: MIT

#pragma once

#include <QSettings>
#include <QString>

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
///
/// Every number is read as a 32-bit integer: 0 when it is missing, the low 32 bits of a number that
/// does not fit. Range N is complete when Start_ByteN equals End_ByteN + 1.
///
/// Thread: GUI thread. Objects on the same file share what is not on disk yet.
class ResumeState
{
public:
    static constexpr int rangeCount = 5;

    /// Opens the file in @p configDirectory. A lock that a killed process left behind is removed
    /// first, so that it cannot hold up the first write.
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

    QString Path() const { return m_settings.fileName(); }

    /// Puts everything on disk. @return false when that failed; the file is as it was then.
    bool Sync();

private:
    QSettings m_settings;
};
