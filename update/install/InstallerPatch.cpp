// SPDX-License-Identifier: MIT

#include "update/install/InstallerPatch.h"

#include "api/FileDigest.h"
#include "api/Log.h"
#include "platform/FileName.h"
#include "platform/ProcessLock.h"
#include "update/base/BackgroundWork.h"
#include "update/base/DownloadSystem.h"
#include "update/base/EventSink.h"
#include "update/base/FileReplacement.h"
#include "update/install/PatchProcess.h"
#include "update/plan/PackageNames.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QPointer>

#include <utility>

namespace
{
constexpr char logFile[] = "UpdateCommon";
constexpr char logFunction[] = "DownloadMgr::PatchIncreasePackage";

bool gVerify(const QString &newInstaller, const QString &expectedMd5, EventSink &events)
{
    // A file that is missing has an empty MD5: a manifest without one would match it.
    if (!expectedMd5.isEmpty() && FileMd5Hex(newInstaller) == expectedMd5) {
        QUILLON_LOG(logFile, logFunction, "End Patch IncreasePackage");
        return true;
    }
    QUILLON_LOG(logFile, logFunction, "Match PatchPackage md5 Failed");
    events.ReportEvent(EventSink::PatchMd5Mismatch);
    return false;
}

/// The kept installer is whole: the new one replaces it only once a loss of power cannot damage it.
bool gFlushNewInstaller(const QString &newInstaller, const DownloadSystem &system)
{
    if (system.flush(newInstaller) != FlushResult::Failed) {
        return true;
    }
    QUILLON_LOG(logFile, logFunction, "disk failure, %s cannot be put on stable storage",
                newInstaller.toStdString().c_str());
    return false;
}
} // namespace

InstallerPatch::InstallerPatch(const UpdateContext &context, QObject *parent)
    : QObject(parent)
    , m_context(context)
    , m_replacement(new FileReplacement(context.system, this))
{
    connect(m_replacement, &FileReplacement::Replaced, this, &InstallerPatch::FlushName);
    connect(m_replacement, &FileReplacement::Failed, this, [this] {
        QUILLON_LOG(logFile, logFunction, "%s cannot be replaced",
                    m_keptInstaller.toStdString().c_str());
        Fail();
    });
}

void InstallerPatch::Start(const QString &keptInstaller, const QString &patchFile,
                           const QString &expectedMd5, std::shared_ptr<ProcessLock> lock,
                           const std::optional<SignedPackage> &signedPackage)
{
    m_isRunning = true;
    ++m_run;
    m_keptInstaller = keptInstaller;
    m_newInstaller = gNewInstaller(keptInstaller);
    m_expectedMd5 = expectedMd5;
    m_signedPackage = signedPackage;
    m_copy.reset();
    m_lock = std::move(lock);
    m_program = QCoreApplication::applicationDirPath() + QStringLiteral("/bspatch.exe");
    if (!QFile::exists(m_program)) {
        Cancel();
        emit Failed();
    } else if (m_signedPackage) {
        Copy(patchFile, QFileInfo(patchFile).fileName(), m_signedPackage->file.size,
             &InstallerPatch::TakePatch);
    } else {
        Run(patchFile);
    }
}

void InstallerPatch::Cancel()
{
    End();
    m_copy.reset();
}

void InstallerPatch::End()
{
    m_isRunning = false;
    m_replacement->Cancel();
    m_lock.reset();
}

/// Has a pool thread copy @p file, and goes on with @p judge.
void InstallerPatch::Copy(const QString &file, const QString &name, qint64 mostBytes,
                          CopyJudge judge)
{
    const auto copy = [file, name, mostBytes, privateFolder = m_context.system.privateFolder] {
        return PrivateCopy::Make(file, name, mostBytes, privateFolder);
    };
    gRunInBackground<PrivateCopy::Outcome>(
        copy, this, [this, judge, run = m_run](const PrivateCopy::Outcome &copied) {
            if (m_isRunning && run == m_run) {
                (this->*judge)(copied);
            }
        });
}

void InstallerPatch::TakePatch(const PrivateCopy::Outcome &copied)
{
    const SignedFile &file = m_signedPackage->file;
    if (copied.copy == nullptr) {
        EndWithoutCopy(copied);
    } else if (copied.size == file.size && copied.sha256 == file.sha256) {
        Run(copied.copy->Path());
    } else {
        QUILLON_LOG(
            logFile, logFunction,
            "the patch is not the signed one, it has %lld bytes instead of %lld, SHA-256 %s "
            "instead of %s",
            static_cast<long long>(copied.size), static_cast<long long>(file.size),
            copied.sha256.toStdString().c_str(), file.sha256.toStdString().c_str());
        std::shared_ptr<ProcessLock> held = m_lock;
        Cancel();
        const QPointer<InstallerPatch> alive(this);
        emit PatchAltered();
        held.reset();
        if (alive != nullptr) {
            emit Refused();
        }
    }
}

/// Applies the patch. The program blocks this thread.
void InstallerPatch::Run(const QString &patchFile)
{
    QUILLON_LOG(logFile, logFunction, "Start Patch IncreasePackage");
    if (!Make(patchFile)) {
        Fail();
    } else if (m_signedPackage) {
        // Another account may have named the kept installer.
        Copy(m_newInstaller, gProgramName(QFileInfo(m_keptInstaller).fileName()),
             PrivateCopy::mostBytesOfPackage, &InstallerPatch::TakeResult);
    } else {
        Replace();
    }
}

void InstallerPatch::TakeResult(const PrivateCopy::Outcome &copied)
{
    if (copied.copy == nullptr) {
        EndWithoutCopy(copied);
    } else if (copied.sha256 == m_signedPackage->installerSha256) {
        m_copy = copied.copy;
        Replace();
    } else {
        QUILLON_LOG(logFile, logFunction,
                    "the result is not the signed installer, SHA-256 %s instead of %s",
                    copied.sha256.toStdString().c_str(),
                    m_signedPackage->installerSha256.toStdString().c_str());
        m_context.events.ReportEvent(EventSink::PatchMd5Mismatch);
        Fail();
    }
}

void InstallerPatch::Replace()
{
    m_replacement->Start(m_newInstaller, m_keptInstaller, m_lock, logFunction);
}

/// @return whether the new installer is there, verified and on stable storage
bool InstallerPatch::Make(const QString &patchFile) const
{
    return ClearBefore() && RunProgram(patchFile) &&
           gVerify(m_newInstaller, m_expectedMd5, m_context.events) &&
           gFlushNewInstaller(m_newInstaller, m_context.system);
}

/// A result of before is not taken for one of this run. Where a patch program of before may still run,
/// the result could be replaced by its own after it was verified: nothing is patched then.
bool InstallerPatch::ClearBefore() const
{
    if (m_lock == nullptr) {
        return true;
    }
    QFile::remove(m_newInstaller);
    return gRemovePatchTemporaryFiles(QFileInfo(m_newInstaller).path());
}

/// @return whether the program has ended by itself
bool InstallerPatch::RunProgram(const QString &patchFile) const
{
    const PatchProcessEnd end = gRunPatchProcess(
        m_program, {m_keptInstaller, m_newInstaller, patchFile}, m_context.system.patchLimit);
    switch (end) {
    case PatchProcessEnd::Exited:
        return true;
    case PatchProcessEnd::Crashed:
        break;
    case PatchProcessEnd::Killed:
        // What it had made by then is of no use to anyone.
        QFile::remove(m_newInstaller);
        break;
    case PatchProcessEnd::StillRunning:
        return false;
    }
    if (m_lock != nullptr) {
        gRemovePatchTemporaryFiles(QFileInfo(m_newInstaller).path());
    }
    return false;
}

void InstallerPatch::FlushName()
{
    gFlushFolderInBackground(QFileInfo(m_keptInstaller).path(), m_context.system.flushFolder,
                             m_lock, this, [this, run = m_run] {
                                 if (m_isRunning && run == m_run) {
                                     EndPatched();
                                 }
                             });
}

void InstallerPatch::EndPatched()
{
    End();
    emit Patched();
}

void InstallerPatch::EndWithoutCopy(const PrivateCopy::Outcome &copied)
{
    QUILLON_LOG(logFile, logFunction, "disk failure, there is no private copy, %s",
                copied.failure.toStdString().c_str());
    Cancel();
    emit Refused();
}

void InstallerPatch::Fail()
{
    QUILLON_LOG(logFile, logFunction, "DispatchPackageFailed!!!");
    m_context.events.ReportEvent(EventSink::PatchDispatchFailed);
    Cancel();
    emit Failed();
}
