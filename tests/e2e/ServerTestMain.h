#pragma once

#include <QCoreApplication>
#include <QString>
#include <QStringList>
#include <QTest>

/// Takes "--server NAME" out of the arguments of a test program. @return the name.
inline QString gTakeServerName(QStringList &arguments)
{
    const int option = arguments.indexOf(QStringLiteral("--server"));
    if (option < 0) {
        return QStringLiteral("quillon-serve");
    }
    const QString name = arguments.value(option + 1);
    arguments.erase(arguments.begin() + option, arguments.begin() + option + 2);
    return name;
}

/// The main function of a test class that is constructed with the name of the server to run against.
#define QUILLON_SERVER_TEST_MAIN(TestClass)                                                        \
    int main(int argc, char *argv[])                                                               \
    {                                                                                              \
        const QCoreApplication app(argc, argv);                                                    \
        QStringList arguments = QCoreApplication::arguments();                                     \
        TestClass test(gTakeServerName(arguments));                                                \
        return QTest::qExec(&test, arguments);                                                     \
    }
