// torture: kills and hinders downloads until something gives way.

#include "tests/kill/CallKills.h"
#include "tests/kill/MomentKills.h"

#include <QApplication>

#include <iostream>

int main(int argc, char *argv[])
{
    const QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const auto wants = [&arguments](const char *part) {
        return arguments.size() < 2 || arguments.contains(QLatin1String(part));
    };
    Tally tally(Tally::Talk::Progress);
    if (wants("calls")) {
        CallKills(&tally).RunAll();
    }
    if (wants("moments")) {
        MomentKills(&tally, 1).Run(200);
    }
    return tally.Failures() == 0 ? 0 : 1;
}
