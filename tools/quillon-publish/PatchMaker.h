// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

struct Installer;

/// Makes patches, and applies each with the clients' patch program to verify it.
class PatchMaker
{
public:
    /// @param scratchFolder an existing folder for the installers that are rebuilt to verify
    /// patches
    PatchMaker(const QString &bsdiff, const QString &bspatch, const QString &scratchFolder);

    /// Writes the patch from @p previous to @p next to @p patchPath.
    /// @return the patch's size in bytes
    /// @throws PublishError when a program fails or the rebuilt installer is not @p next.
    qint64 Make(const Installer &previous, const Installer &next, const QString &patchPath) const;

private:
    /// @return the milliseconds that the patch program took
    qint64 Try(const Installer &previous, const Installer &next, const QString &patchPath) const;

    QString m_bsdiff;
    QString m_bspatch;
    QString m_scratchFolder;
};
