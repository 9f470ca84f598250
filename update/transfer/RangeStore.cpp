// SPDX-License-Identifier: MIT

#include "update/transfer/RangeStore.h"

#include "api/Log.h"
#include "update/base/BackgroundFlush.h"

#include <QCoreApplication>
#include <QFile>

#include <algorithm>

namespace
{
constexpr char logFile[] = "UpdateCommon";
} // namespace

RangeStore::RangeStore(ResumeState &state)
    : m_state(state)
    , m_packageSize(state.PackageSize())
{
}

void RangeStore::Begin(const QString &targetPath, int rangeNumber, qint64 startByte, qint64 endByte)
{
    m_file.SetPath(targetPath);
    m_rangeNumber = rangeNumber;
    m_nextByte = startByte;
    m_endByte = endByte;
    m_isWhole = false;
}

void RangeStore::BeginWhole()
{
    m_file.Close();
    m_nextByte = 0;
    m_isWhole = true;
}

bool RangeStore::Open(const char *function, PackageFile::IfMissing ifMissing)
{
    if (m_file.Open(m_nextByte, ifMissing)) {
        return true;
    }
    QUILLON_LOG(logFile, function, "file open error!!! file path = %s",
                m_file.Path().toStdString().c_str());
    QUILLON_LOG(logFile, function, "disk failure, %s", m_file.Failure().toStdString().c_str());
    return false;
}

qint64 RangeStore::Write(std::string_view bytes, const char *function)
{
    const qint64 room = std::max<qint64>(0, PastLastByte() - m_nextByte);
    const std::string_view inside = bytes.substr(0, static_cast<std::size_t>(room));
    const qint64 written = m_file.Write(inside);
    m_nextByte += written;
    if (written != static_cast<qint64>(inside.size())) {
        QUILLON_LOG(logFile, function, "disk failure, file write error!!! file path = %s, %s",
                    m_file.Path().toStdString().c_str(), m_file.Failure().toStdString().c_str());
    } else if (inside.size() != bytes.size()) {
        QUILLON_LOG(logFile, function, "%s sent more than was asked for, that is left out",
                    m_isWhole ? "the server of the whole package" : "the server of a range");
    }
    return written;
}

void RangeStore::SaveChunk(qint64 alreadyDownloaded)
{
    SetProgress(alreadyDownloaded);
    Tell(m_state.SyncProgress());
}

void RangeStore::Save(qint64 alreadyDownloaded)
{
    SetProgress(alreadyDownloaded);
    Tell(m_state.Sync());
}

void RangeStore::SetProgress(qint64 alreadyDownloaded)
{
    if (!m_isWhole) {
        m_state.SetAlreadyDownloaded(alreadyDownloaded);
        m_state.SetStartByte(m_rangeNumber, m_nextByte);
    }
}

/// Once for a series of failures.
void RangeStore::Tell(bool isSaved)
{
    if (!isSaved && !m_saveFailed) {
        QUILLON_LOG(logFile, "DownloadMgr::SaveResumeState",
                    "disk failure, the resume state cannot be written, file path = %s",
                    m_state.Path().toStdString().c_str());
    }
    m_saveFailed = !isSaved;
}

qint64 RangeStore::PastLastByte() const
{
    const bool isOpenEnded = m_isWhole || m_rangeNumber >= ResumeState::rangeCount;
    return isOpenEnded && m_packageSize > 0 ? m_packageSize : m_endByte + 1;
}

RangeQuestion RangeStore::Rest() const
{
    return {m_nextByte, PastLastByte() - m_nextByte, std::max(0, m_packageSize)};
}

void RangeStore::Discard()
{
    m_state.SetPackageSize(0);
    Tell(m_state.Sync());
    // Where the power takes this back, the next plan would mix the bytes of two packages.
    gFlushInBackground(m_state.Path(), gFlushToDisk, QCoreApplication::instance(),
                       [](FlushResult /*result*/) {});
}

/// The plan is void before the file is gone: a process that ends in between leaves a plan that starts
/// anew.
void RangeStore::DiscardTarget(const char *function)
{
    Discard();
    Close();
    if (!QFile::remove(TargetPath())) {
        QUILLON_LOG(logFile, function, "disk failure, %s cannot be removed",
                    TargetPath().toStdString().c_str());
    }
}

void RangeStore::DiscardPatch(const QString &resultMd5, const char *function)
{
    m_state.SetFailedPatch(resultMd5);
    DiscardTarget(function);
}

void RangeStore::ForgetTarget()
{
    m_state.SetIdentity({});
    Tell(m_state.Sync());
    m_state.Close();
}

void RangeStore::MarkAsDoubtful()
{
    m_state.SetBootId(QString());
    Tell(m_state.Sync());
}
