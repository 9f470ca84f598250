// SPDX-License-Identifier: MIT

// quillon-publish: puts a release into the folder that an update service serves, or signs that
// anew.

#include "tools/quillon-publish/Console.h"
#include "tools/quillon-publish/Options.h"
#include "tools/quillon-publish/PublishError.h"
#include "tools/quillon-publish/Release.h"
#include "tools/quillon-publish/Renewal.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <iostream>

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    // The module's classes write for the host's log; the release engineer does not need that.
    QLoggingCategory::setFilterRules(QStringLiteral("corvina.*=false\ndefault.debug=false"));

    const Options options = Options::Parse(QCoreApplication::arguments());
    if (options.help) {
        std::cout << Options::Usage().toStdString();
        return 0;
    }
    if (!options.error.isEmpty()) {
        gPrintError(options.error + QStringLiteral(" (--help tells more)"));
        return 2;
    }
    try {
        if (options.renew) {
            Renewal(options).Publish();
        } else {
            Release(options).Publish();
        }
    } catch (const PublishError &error) {
        gPrintError(error.Message());
        return 1;
    }
    return 0;
}
