// SPDX-License-Identifier: MIT

// corvina-demo: a small host application that offers updates, by hand or by script.

#include "demo/corvina/DemoOptions.h"
#include "demo/corvina/DemoRun.h"
#include "demo/corvina/EventWriter.h"
#include "demo/corvina/LogFile.h"
#include "demo/corvina/Trust.h"

#include <QApplication>

#include <iostream>

namespace
{
constexpr int usageErrorStatus = 2;

QStringList gArguments(int argc, char *argv[])
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i) {
        arguments << QString::fromLocal8Bit(argv[i]);
    }
    return arguments;
}

int gWriteExitEvent(const EventWriter &writer, int status)
{
    writer.Write(QStringLiteral("exit"), {{QStringLiteral("code"), status}});
    return status;
}

int gRunHost(int argc, char *argv[], const DemoOptions &options, const EventWriter &writer)
{
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QCoreApplication::setApplicationName(QStringLiteral("Corvina"));
    QApplication application(argc, argv);
    DemoRun run(options, writer);
    run.Start();
    return QApplication::exec();
}
} // namespace

int main(int argc, char *argv[])
{
    const EventWriter writer;
    // Before the application object is made, so that a wrong option is reported without a display.
    const DemoOptions options = DemoOptions::Parse(gArguments(argc, argv));
    if (options.helpWanted) {
        std::cout << DemoOptions::Usage();
        return 0;
    }
    if (!options.error.isEmpty()) {
        std::cerr << "corvina-demo: " << qUtf8Printable(options.error) << '\n'
                  << DemoOptions::Usage();
        return gWriteExitEvent(writer, usageErrorStatus);
    }
    if (!options.logFile.isEmpty() && !gLogToFile(options.logFile)) {
        std::cerr << "corvina-demo: cannot write " << qUtf8Printable(options.logFile) << '\n';
        return gWriteExitEvent(writer, usageErrorStatus);
    }
    if (!options.caFile.isEmpty() && !gTrustAuthorities(options.caFile)) {
        std::cerr << "corvina-demo: no certificate in " << qUtf8Printable(options.caFile) << '\n';
        return gWriteExitEvent(writer, usageErrorStatus);
    }
    return gWriteExitEvent(writer, gRunHost(argc, argv, options, writer));
}
