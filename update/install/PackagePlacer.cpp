// SPDX-License-Identifier: MIT

#include "update/install/PackagePlacer.h"

#include "api/FileDigest.h"
#include "api/Log.h"
#include "platform/FileName.h"
#include "platform/ProcessLock.h"
#include "update/base/BackgroundWork.h"
#include "update/base/DownloadSystem.h"
#include "update/base/FileReplacement.h"
#include "update/transfer/RangeStore.h"
#include "update/trust/PrivateCopy.h"

#include <QFileInfo>

#include <utility>

namespace
{
constexpr char logFile[] = "UpdateCommon";
constexpr char logFunction[] = "DownloadMgr::_DownloadFinished";

/// @p text in lower case if it is an MD5; empty otherwise.
QString gMd5Of(const QString &text)
{
    return gIsMd5(text) ? text.toLower() : QString();
}
} // namespace

/// What a pool thread has found out about the file.
struct PackagePlacer::Finding {
    FlushResult flush = FlushResult::Unknown;
    qint64 size = 0;
    /// Empty when the file cannot be read, and when there is nothing to compare with.
    QString md5;
    /// Of a signed package.
    PrivateCopy::Outcome copied;
};

PackagePlacer::PackagePlacer(RangeStore &store, const DownloadSystem &system, QObject *parent)
    : QObject(parent)
    , m_store(store)
    , m_system(system)
    , m_replacement(new FileReplacement(system, this))
{
    connect(m_replacement, &FileReplacement::Replaced, this, &PackagePlacer::FlushName);
    connect(m_replacement, &FileReplacement::Failed, this, &PackagePlacer::Fail);
}

void PackagePlacer::Start(const QString &installerPath, const QString &md5,
                          std::shared_ptr<ProcessLock> lock,
                          const std::optional<SignedPackage> &signedPackage)
{
    m_isRunning = true;
    m_installerPath = installerPath;
    m_signedPackage = signedPackage;
    m_copy.reset();
    m_md5 = signedPackage ? QString() : gMd5Of(md5);
    m_lock = std::move(lock);
    const auto examine = [path = m_store.TargetPath(), flush = m_system.flush,
                          isRead = !m_md5.isEmpty(), signedPackage,
                          name = gProgramName(QFileInfo(installerPath).fileName()),
                          privateFolder = m_system.privateFolder] {
        Finding finding;
        finding.flush = flush(path);
        finding.size = QFileInfo(path).size();
        if (isRead && finding.flush != FlushResult::Failed) {
            finding.md5 = FileMd5Hex(path);
        }
        if (signedPackage && finding.flush != FlushResult::Failed) {
            finding.copied = PrivateCopy::Make(path, name, signedPackage->file.size, privateFolder);
        }
        return finding;
    };
    gRunInBackground<Finding>(examine, this, [this, run = ++m_run](const Finding &finding) {
        if (m_isRunning && run == m_run) {
            Judge(finding);
        }
    });
}

void PackagePlacer::Cancel()
{
    End();
    m_copy.reset();
}

void PackagePlacer::End()
{
    m_isRunning = false;
    m_replacement->Cancel();
    m_lock.reset();
}

void PackagePlacer::Judge(const Finding &finding)
{
    if (finding.flush == FlushResult::Failed) {
        QUILLON_LOG(logFile, logFunction, "disk failure, %s cannot be put on stable storage",
                    m_store.TargetPath().toStdString().c_str());
        m_store.MarkAsDoubtful();
        Fail();
    } else if (!m_md5.isEmpty() && finding.md5.isEmpty()) {
        // Nothing is known against the package: the next plan finds it complete.
        QUILLON_LOG(logFile, logFunction, "disk failure, %s cannot be read",
                    m_store.TargetPath().toStdString().c_str());
        Fail();
    } else if (m_signedPackage && finding.copied.copy == nullptr) {
        // The same: the private folder may have room again.
        QUILLON_LOG(logFile, logFunction, "disk failure, %s has no private copy, %s",
                    m_store.TargetPath().toStdString().c_str(),
                    finding.copied.failure.toStdString().c_str());
        Fail();
    } else if (!(m_signedPackage ? IsSignedPackage(finding) : IsPackage(finding))) {
        m_store.DiscardTarget(logFunction);
        Fail();
    } else {
        m_copy = finding.copied.copy;
        m_store.Close();
        m_replacement->Start(m_store.TargetPath(), m_installerPath, m_lock, logFunction);
    }
}

bool PackagePlacer::IsPackage(const Finding &finding) const
{
    if (finding.size == m_store.PackageSize() && finding.md5 == m_md5) {
        return true;
    }
    QUILLON_LOG(logFile, logFunction,
                "%s is another package, it has %lld bytes instead of %d, MD5 %s instead of %s",
                m_store.TargetPath().toStdString().c_str(), static_cast<long long>(finding.size),
                m_store.PackageSize(), finding.md5.toStdString().c_str(),
                m_md5.toStdString().c_str());
    return false;
}

bool PackagePlacer::IsSignedPackage(const Finding &finding) const
{
    const PrivateCopy::Outcome &copied = finding.copied;
    const SignedFile &file = m_signedPackage->file;
    if (copied.size == file.size && copied.sha256 == file.sha256) {
        return true;
    }
    QUILLON_LOG(
        logFile, logFunction,
        "%s is not the signed package, it has %lld bytes instead of %lld, SHA-256 %s instead "
        "of %s",
        m_store.TargetPath().toStdString().c_str(), static_cast<long long>(copied.size),
        static_cast<long long>(file.size), copied.sha256.toStdString().c_str(),
        file.sha256.toStdString().c_str());
    return false;
}

void PackagePlacer::Fail()
{
    Cancel();
    emit Failed();
}

void PackagePlacer::FlushName()
{
    gFlushFolderInBackground(QFileInfo(m_installerPath).path(), m_system.flushFolder, m_lock, this,
                             [this, run = m_run] {
                                 if (m_isRunning && run == m_run) {
                                     EndPlaced();
                                 }
                             });
}

void PackagePlacer::EndPlaced()
{
    m_store.ForgetTarget();
    End();
    emit Placed();
}
