// SPDX-License-Identifier: MIT

#pragma once

#include "update/plan/ResumeState.h"
#include "update/transfer/PackageFile.h"
#include "update/transfer/RangeAnswer.h"

#include <QString>

#include <string_view>

/// One range of a package on this machine: its place in the target file, how far it has come, and
/// its place in the resume state.
///
/// Thread: GUI thread. Errors: logged here, under the function that is named.
class RangeStore
{
public:
    /// Reads the size of the package from @p state, so the plan has to be recorded before.
    explicit RangeStore(ResumeState &state);

    void Begin(const QString &targetPath, int rangeNumber, qint64 startByte, qint64 endByte);
    /// From now on the whole package is written, from its first byte, and nothing is recorded.
    void BeginWhole();

    bool Open(const char *function,
              PackageFile::IfMissing ifMissing = PackageFile::IfMissing::Fail);
    void Close() { m_file.Close(); }

    /// Writes @p bytes and advances. Nothing is ever written behind the range, or behind the package.
    /// @return how many bytes of @p bytes were written.
    qint64 Write(std::string_view bytes, const char *function);
    /// Puts on disk how far the range has come, and @p alreadyDownloaded bytes of the package: with one
    /// small write behind a chunk, or with all that the state has.
    void SaveChunk(qint64 alreadyDownloaded);
    void Save(qint64 alreadyDownloaded);

    qint64 NextByte() const { return m_nextByte; }
    QString TargetPath() const { return m_file.Path(); }
    int RangeNumber() const { return m_rangeNumber; }
    /// Size of the package as the plan has it.
    qint32 PackageSize() const { return m_packageSize; }
    /// The byte behind the last one that may be written. The last range takes what the package has.
    qint64 PastLastByte() const;
    bool HasAllBytes() const { return m_nextByte >= PastLastByte(); }
    /// What is asked for when the rest of the range is.
    RangeQuestion Rest() const;

    /// Marks the plan as void: the next one starts anew.
    void Discard();
    /// The same, and removes the target, which is another package.
    void DiscardTarget(const char *function);
    /// The same for the patch that makes the installer with @p resultMd5: the next plan takes the full
    /// package.
    void DiscardPatch(const QString &resultMd5, const char *function);
    /// The package was moved away: the state vouches for no file any more.
    void ForgetTarget();
    /// What was written may not be on disk: the next plan goes back to what was flushed.
    void MarkAsDoubtful();

private:
    void SetProgress(qint64 alreadyDownloaded);
    void Tell(bool isSaved);

    PackageFile m_file;
    ResumeState &m_state;
    qint32 m_packageSize;
    int m_rangeNumber = 0;
    qint64 m_nextByte = 0;
    qint64 m_endByte = 0;
    bool m_isWhole = false;
    bool m_saveFailed = false;
};
