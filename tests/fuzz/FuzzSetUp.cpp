// SPDX-License-Identifier: MIT

// What the module logs about damaged input is not what a fuzz run is to show.

#include <QtGlobal>

#include <cstdlib>

namespace
{
void gKeepQuiet(QtMsgType type, const QMessageLogContext & /*context*/, const QString & /*message*/)
{
    if (type == QtFatalMsg) {
        std::abort();
    }
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/);

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/)
{
    qInstallMessageHandler(gKeepQuiet);
    return 0;
}
