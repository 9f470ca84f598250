// SPDX-License-Identifier: MIT

// The resume-state file, with any content, and the resume point that is read from it, in the boot
// that the file names and in another.

#include "tests/fuzz/FuzzFolder.h"
#include "tests/fuzz/FuzzTarget.h"
#include "update/plan/ResumePoint.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const FuzzFolder folder;
    folder.Write("CvBreakResumeDownLoad.ini", data, size);
    const ResumeState state(folder.Path());
    const qint64 total = state.PackageSize();
    for (const QString &boot : {state.BootId(), QStringLiteral("another boot")}) {
        gIsUsable(gResumePoint(state, total, boot), total);
        gBelongsTo(state, state.Identity());
    }
    return 0;
}
