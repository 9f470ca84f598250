// SPDX-License-Identifier: MIT

#pragma once

#include "update/base/UpdateContext.h"

#include <QObject>
#include <QString>

#include <memory>

class FileReplacement;
class ProcessLock;

/// Rebuilds an installer with the program "bspatch.exe" in the application's folder: applies a patch to
/// the kept installer, compares the MD5 of the result, and puts it under the kept installer's name,
/// where the next update finds it.
///
///     Start ─► program ─► verified ─► flushed ─► replaces the kept installer ─► Patched
///                 └───────────┴───────────┴──────────────────┴─► Failed
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
    void Start(const QString &keptInstaller, const QString &patchFile, const QString &expectedMd5,
               std::shared_ptr<ProcessLock> lock);
    /// No signal follows. The kept installer is replaced only by a rename that is under way.
    void Cancel();
    bool IsRunning() const { return m_isRunning; }

signals:
    void Patched();
    void Failed();

private:
    bool Make(const QString &program, const QString &patchFile, const QString &expectedMd5) const;
    bool ClearBefore() const;
    bool Run(const QString &program, const QString &patchFile) const;
    void FlushName();
    void EndPatched();
    void Fail();

    UpdateContext m_context;
    FileReplacement *m_replacement;
    QString m_keptInstaller;
    /// What the program makes, until it takes the place of the kept installer.
    QString m_newInstaller;
    std::shared_ptr<ProcessLock> m_lock;
    bool m_isRunning = false;
    /// Counts starts, so that the end of an earlier run is ignored.
    int m_run = 0;
};
