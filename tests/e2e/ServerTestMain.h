// SPDX-License-Identifier: MIT

#pragma once

#include "tests/e2e/TestOption.h"

#include <QCoreApplication>
#include <QTest>

/// The main function of a test class whose constructor takes the name of the server to run against.
#define QUILLON_SERVER_TEST_MAIN(TestClass)                                                        \
    int main(int argc, char *argv[])                                                               \
    {                                                                                              \
        const QCoreApplication app(argc, argv);                                                    \
        QStringList arguments = QCoreApplication::arguments();                                     \
        TestClass test(                                                                            \
            gTakeOption(arguments, QStringLiteral("--server"), QStringLiteral("quillon-serve")));  \
        return QTest::qExec(&test, arguments);                                                     \
    }
