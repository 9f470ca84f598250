// SPDX-License-Identifier: MIT

// Drops the module's log messages about damaged input, so that a fuzz run prints only findings.

#include <QtGlobal>

#include <cstdlib>

namespace
{
void gDropMessage(QtMsgType type, const QMessageLogContext & /*context*/,
                  const QString & /*message*/)
{
    if (type == QtFatalMsg) {
        std::abort();
    }
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/);

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/)
{
    qInstallMessageHandler(gDropMessage);
    return 0;
}
