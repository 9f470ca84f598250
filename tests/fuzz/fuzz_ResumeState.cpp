// The resume-state file, which anybody may have written, and the plan that is read out of it.

#include "tests/fuzz/FuzzFolder.h"
#include "tests/fuzz/FuzzTarget.h"
#include "update/DownloadPlan.h"
#include "update/ResumeState.h"

#include <QFile>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const FuzzFolder folder;
    folder.Write("CvBreakResumeDownLoad.ini", data, size);
    const ResumeState state(folder.Path());
    state.AlreadyDownloaded();
    gSplitIntoRanges(state.PackageSize());
    for (int number = 1; number <= ResumeState::rangeCount; ++number) {
        const ByteRange range{state.StartByte(number), state.EndByte(number)};
        static_cast<void>(range.IsEmpty());
    }
    return 0;
}
