// SPDX-License-Identifier: MIT

#include "tests/support/LoadedLibrary.h"

#include <QApplication>
#include <QEvent>
#include <QLibrary>

#include <cstdio>

/// Calls the function that the second argument names with the third one, in the library that the first
/// one names, unloads it, and says whether it is still there.
int main(int argc, char *argv[])
{
    const QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    QLibrary library(arguments.at(1));
    const auto function = reinterpret_cast<void (*)(const char *)>(
        library.resolve(arguments.at(2).toLatin1().constData()));
    if (function == nullptr) {
        return 1;
    }
    function(arguments.value(3).toUtf8().constData());
    if (!library.unload()) {
        return 2;
    }
    std::puts(gIsInProcess(arguments.at(1)) ? "loaded" : "unloaded");
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return 0;
}
