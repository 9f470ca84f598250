// SPDX-License-Identifier: MIT

// module-timing --update-url URL --config-dir D: what the module costs a host before a download.
//
//   load_and_construct  from the first library that is loaded for the module to the constructed
//                       dialog, after the application object was made. Of it: "load_qt_ms" for the
//                       libraries of Qt that a program of widgets need not have, "load_ms" for
//                       Quillon with the host's libraries that it is linked to, "construct_ms" for
//                       the first `UpdateMain`. "construct_second_ms" is one more dialog and not
//                       part of the sum: the difference is what Qt makes ready once.
//   construct_parts     the same first dialog in pieces: "style_ms" and "network_ms" for what Qt makes
//                       ready for the first widget and the first network manager of a process, which
//                       a host that shows windows has behind it, and "rest_ms" for the dialog then
//   live_update         from the call of `LiveUpdate` to the version page being the current one
//   is_need_update      the call of `IsNeedUpdate`
//
// Both checks are the first use of Qt's network library in a process of their own.

#include "bench/TimedDialog.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QLibrary>
#include <QStackedWidget>
#include <QTimer>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>

#include <sys/wait.h>
#include <unistd.h>

namespace
{
constexpr int failureStatus = 1;

[[noreturn]] void gFail(const QString &reason)
{
    std::cerr << "module-timing: " << qUtf8Printable(reason) << '\n';
    std::exit(failureStatus);
}

double gMilliseconds(const QElapsedTimer &clock)
{
    constexpr double nanosecondsPerMillisecond = 1e6;
    return static_cast<double>(clock.nsecsElapsed()) / nanosecondsPerMillisecond;
}

struct Service {
    QString updateUrl;
    QString configDirectory;
};

Service gService(const QStringList &arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption url(QStringLiteral("update-url"), {}, QStringLiteral("URL"));
    const QCommandLineOption folder(QStringLiteral("config-dir"), {}, QStringLiteral("D"));
    parser.addOptions({url, folder});
    if (!parser.parse(arguments) || !parser.isSet(url) || !parser.isSet(folder)) {
        gFail(QStringLiteral("usage: module-timing --update-url URL --config-dir D"));
    }
    return {parser.value(url), parser.value(folder)};
}

double gLoadTime(QLibrary *library)
{
    QElapsedTimer clock;
    clock.start();
    if (!library->load()) {
        gFail(library->errorString());
    }
    return gMilliseconds(clock);
}

double gLoadTimeOfQt()
{
    double time = 0;
    for (const char *name : {"Qt5Network", "Qt5Xml", "Qt5Concurrent"}) {
        QLibrary library(QLatin1String(name), QT_VERSION_MAJOR);
        time += gLoadTime(&library);
    }
    return time;
}

double gConstructTime(const NewDialogFunction newDialog, const Service &service)
{
    QElapsedTimer clock;
    clock.start();
    const std::unique_ptr<TimedDialog> dialog(
        newDialog(service.updateUrl, service.configDirectory));
    return gMilliseconds(clock);
}

NewDialogFunction gNewDialogFunction(QLibrary *calls)
{
    gLoadTime(calls);
    const auto function = reinterpret_cast<NewDialogFunction>(calls->resolve(newDialogName));
    return function != nullptr ? function : (gFail(calls->errorString()), nullptr);
}

void gTimeLoadAndConstruct(const Service &service)
{
    QLibrary quillon(QStringLiteral(QUILLON_LIBRARY));
    QLibrary calls(QStringLiteral(TIMED_DIALOG));
    const double qt = gLoadTimeOfQt();
    const double module = gLoadTime(&quillon);
    const NewDialogFunction newDialog = gNewDialogFunction(&calls);
    const double first = gConstructTime(newDialog, service);
    const double second = gConstructTime(newDialog, service);
    std::printf("{\"name\":\"load_and_construct\",\"ms\":%.3f,\"load_qt_ms\":%.3f,\"load_ms\":%.3f,"
                "\"construct_ms\":%.3f,\"construct_second_ms\":%.3f}\n",
                qt + module + first, qt, module, first, second);
}

void gTimeConstructParts(const Service &service)
{
    QLibrary calls(QStringLiteral(TIMED_DIALOG));
    const NewDialogFunction newDialog = gNewDialogFunction(&calls);
    const auto useNetwork = reinterpret_cast<UseNetworkFunction>(calls.resolve(useNetworkName));
    QElapsedTimer clock;
    clock.start();
    QWidget().ensurePolished();
    const double style = gMilliseconds(clock);
    clock.start();
    useNetwork();
    const double network = gMilliseconds(clock);
    const double rest = gConstructTime(newDialog, service);
    std::printf("{\"name\":\"construct_parts\",\"style_ms\":%.3f,\"network_ms\":%.3f,"
                "\"rest_ms\":%.3f}\n",
                style, network, rest);
}

void gTimeLiveUpdate(const Service &service)
{
    constexpr int limitMs = 10000;

    QLibrary calls(QStringLiteral(TIMED_DIALOG));
    const std::unique_ptr<TimedDialog> dialog(
        gNewDialogFunction(&calls)(service.updateUrl, service.configDirectory));
    const auto *pages = dialog->Widget()->findChild<QStackedWidget *>();
    QElapsedTimer clock;
    double time = 0;
    QObject::connect(pages, &QStackedWidget::currentChanged, pages, [&] {
        time = gMilliseconds(clock);
        QCoreApplication::exit(pages->currentWidget()->inherits("VersionDisplay") ? EXIT_SUCCESS
                                                                                  : failureStatus);
    });
    QTimer::singleShot(limitMs, pages, [] { QCoreApplication::exit(failureStatus); });
    QTimer::singleShot(0, pages, [&] {
        clock.start();
        dialog->LiveUpdate();
    });
    if (QCoreApplication::exec() != EXIT_SUCCESS) {
        gFail(QStringLiteral("the version page did not come"));
    }
    std::printf("{\"name\":\"live_update\",\"ms\":%.3f}\n", time);
}

void gTimeIsNeedUpdate(const Service &service)
{
    QLibrary calls(QStringLiteral(TIMED_DIALOG));
    const std::unique_ptr<TimedDialog> dialog(
        gNewDialogFunction(&calls)(service.updateUrl, service.configDirectory));
    QElapsedTimer clock;
    clock.start();
    const bool isNeeded = dialog->IsNeedUpdate();
    const double time = gMilliseconds(clock);
    if (!isNeeded) {
        gFail(QStringLiteral("the service names no installer"));
    }
    std::printf("{\"name\":\"is_need_update\",\"ms\":%.3f}\n", time);
}

/// Runs @p timing in a process of its own. @return whether it succeeded.
bool gRunApart(int argc, char *argv[], void (*timing)(const Service &))
{
    const pid_t child = fork();
    if (child == 0) {
        const QApplication application(argc, argv);
        timing(gService(QCoreApplication::arguments()));
        std::_Exit(std::fflush(stdout) == 0 ? EXIT_SUCCESS : failureStatus);
    }
    int status = failureStatus;
    return child > 0 && waitpid(child, &status, 0) == child && status == 0;
}
} // namespace

int main(int argc, char *argv[])
{
    const bool isTimed = gRunApart(argc, argv, gTimeLoadAndConstruct) &&
                         gRunApart(argc, argv, gTimeConstructParts) &&
                         gRunApart(argc, argv, gTimeLiveUpdate) &&
                         gRunApart(argc, argv, gTimeIsNeedUpdate);
    return isTimed ? EXIT_SUCCESS : failureStatus;
}
