// SPDX-License-Identifier: MIT

#include "tools/quillon-publish/PatchMaker.h"

#include "api/FileDigest.h"
#include "tools/quillon-publish/Console.h"
#include "tools/quillon-publish/Installer.h"
#include "tools/quillon-publish/ProgramRun.h"
#include "tools/quillon-publish/PublishError.h"

#include <QFile>
#include <QFileInfo>

namespace
{
/// The time limit of clients for the patch program.
constexpr int patchLimitSeconds = 90;
constexpr int noLimit = -1;

void gPrintPatchResult(const Installer &next, qint64 patchSize, qint64 madeIn, qint64 appliedIn)
{
    constexpr double percent = 100.0;
    const double saved =
        percent * static_cast<double>(next.size - patchSize) / static_cast<double>(next.size);
    gPrintLine(QStringLiteral("  patch: %1, saves %2 % of the full package")
                   .arg(gBytesText(patchSize), QString::number(saved, 'f', 1)));
    gPrintLine(QStringLiteral("  made in %1, applied in %2, result verified")
                   .arg(gSecondsText(madeIn), gSecondsText(appliedIn)));
}
} // namespace

PatchMaker::PatchMaker(const QString &bsdiff, const QString &bspatch, const QString &scratchFolder)
    : m_bsdiff(bsdiff)
    , m_bspatch(bspatch)
    , m_scratchFolder(scratchFolder)
{
}

qint64 PatchMaker::Make(const Installer &previous, const Installer &next,
                        const QString &patchPath) const
{
    gPrintLine(QStringLiteral("Patch from %1 to %2").arg(previous.version, next.version));
    const qint64 madeIn = gRunProgram(m_bsdiff, {previous.path, next.path, patchPath},
                                      QStringLiteral("  making the patch:"), noLimit);
    const qint64 size = QFileInfo(patchPath).size();
    if (size == 0) {
        throw PublishError(QStringLiteral("%1 wrote no patch").arg(m_bsdiff));
    }
    const qint64 appliedIn = Try(previous, next, patchPath);
    gPrintPatchResult(next, size, madeIn, appliedIn);
    if (size >= next.size) {
        gPrintError(QStringLiteral("warning: the patch from %1 is no smaller than the full package")
                        .arg(previous.version));
    }
    return size;
}

qint64 PatchMaker::Try(const Installer &previous, const Installer &next,
                       const QString &patchPath) const
{
    const QString rebuilt = m_scratchFolder + QLatin1String("/rebuilt");
    const qint64 took = gRunProgram(m_bspatch, {previous.path, rebuilt, patchPath},
                                    QStringLiteral("  applying the patch:"), patchLimitSeconds);
    const bool isRight = QFileInfo(rebuilt).isFile() && FileMd5Hex(rebuilt) == next.md5;
    QFile::remove(rebuilt);
    if (!isRight) {
        throw PublishError(QStringLiteral("the patch from %1 does not give the installer of %2")
                               .arg(previous.version, next.version));
    }
    return took;
}
