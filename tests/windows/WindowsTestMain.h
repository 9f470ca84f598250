// SPDX-License-Identifier: MIT

#pragma once

#include "tests/e2e/TestOption.h"

#include <QCoreApplication>
#include <QTest>

/// The main function of a test class whose constructor takes the folder of the Windows build and
/// the folder of the libraries that the build was linked with.
#define QUILLON_WINDOWS_TEST_MAIN(TestClass)                                                       \
    int main(int argc, char *argv[])                                                               \
    {                                                                                              \
        const QCoreApplication app(argc, argv);                                                    \
        QStringList arguments = QCoreApplication::arguments();                                     \
        const QString build = gTakeOption(arguments, QStringLiteral("--windows-build"));           \
        TestClass test(build, gTakeOption(arguments, QStringLiteral("--sdk")));                    \
        return QTest::qExec(&test, arguments);                                                     \
    }
