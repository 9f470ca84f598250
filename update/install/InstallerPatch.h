// SPDX-License-Identifier: MIT

#pragma once

#include "update/base/UpdateContext.h"
#include "update/trust/PrivateCopy.h"
#include "update/trust/SignedPackage.h"

#include <QObject>
#include <QString>

#include <memory>
#include <optional>
#include <utility>

class FileReplacement;
class ProcessLock;

/// Rebuilds an installer with the program "bspatch.exe" in the application's folder: applies a patch to
/// the kept installer, compares the MD5 of the result, and puts it under the kept installer's name,
/// where the next update finds it.
///
///     Start ─► program ─► verified ─► flushed ─► replaces the kept installer ─► Patched
///                 └───────────┴───────────┴──────────────────┴─► Failed
///
/// A patch and a result that a signed manifest names are read into private copies, since others may write to
/// the folder of both. The program is given the one, and the other is what is offered:
///
///     Start ─► patch copied, compared ─► program ─► verified ─► result copied, compared ─► flushed ─► …
///                 ├─► PatchAltered, Refused                        ├─► Failed
///                 └─► Refused                                      └─► Refused
///
/// Thread:    GUI thread. `Start` blocks it while the program runs, for the limit of the context's
///            system at most; it is not blocked while another program holds the kept installer.
/// Ownership: its Qt parent. What the context names outlives it. It may be deleted in any slot.
/// Errors:    `Failed`, logged and reported; only a missing program is neither. The kept installer is as
///            it was, and what the program made stays beside it as ".patch". A program that is ended by
///            the limit leaves nothing.
class InstallerPatch : public QObject
{
    Q_OBJECT

public:
    InstallerPatch(const UpdateContext &context, QObject *parent);

    /// A signal may arrive before this returns.
    /// @param expectedMd5 of the result, in lower case; an empty one matches nothing
    /// @param lock is held until the result is in place, and is free in the slots of both signals;
    ///             without it, what an earlier program has left is not removed
    /// @param signedPackage what a verified manifest says of the patch and of its result
    void Start(const QString &keptInstaller, const QString &patchFile, const QString &expectedMd5,
               std::shared_ptr<ProcessLock> lock,
               const std::optional<SignedPackage> &signedPackage = std::nullopt);
    /// No signal follows. The kept installer is replaced only by a rename that is under way.
    void Cancel();
    bool IsRunning() const { return m_isRunning; }
    /// The private copy of a signed result; null for one that is not signed.
    std::shared_ptr<PrivateCopy> TakeCopy() { return std::move(m_copy); }

signals:
    void Patched();
    void Failed();
    /// The patch is not the signed one. The lock is still held; `Refused` follows.
    void PatchAltered();
    /// Nothing is patched or offered. Unless it follows the signal above, nothing is known against the
    /// files: the disk has no private copy of one.
    void Refused();

private:
    using CopyJudge = void (InstallerPatch::*)(const PrivateCopy::Outcome &);

    void Copy(const QString &file, const QString &name, qint64 mostBytes, CopyJudge judge);
    void TakePatch(const PrivateCopy::Outcome &copied);
    void TakeResult(const PrivateCopy::Outcome &copied);
    void Run(const QString &patchFile);
    void Replace();
    bool Make(const QString &patchFile) const;
    bool ClearBefore() const;
    bool RunProgram(const QString &patchFile) const;
    void FlushName();
    void End();
    void EndPatched();
    void EndWithoutCopy(const PrivateCopy::Outcome &copied);
    void Fail();

    UpdateContext m_context;
    FileReplacement *m_replacement;
    QString m_keptInstaller;
    /// What the program makes, until it takes the place of the kept installer.
    QString m_newInstaller;
    QString m_program;
    QString m_expectedMd5;
    std::optional<SignedPackage> m_signedPackage;
    std::shared_ptr<PrivateCopy> m_copy;
    std::shared_ptr<ProcessLock> m_lock;
    bool m_isRunning = false;
    /// Counts starts, so that the end of an earlier run is ignored.
    int m_run = 0;
};
