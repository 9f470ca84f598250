// SPDX-License-Identifier: MIT

#include "update/check/VersionPageHtml.h"

#include "update/LiveUpdateMgr.h"

QString BuildVersionPageHtml(const QList<ReleaseNote> &notes)
{
    const QString header =
        QStringLiteral("<h4><b style=\"color:#D7D8DB\">") +
        LiveUpdateMgr::tr("Find new versions. You can update to the latest version. Would you like "
                          "to update now?") +
        QStringLiteral("</b><br></h4>");
    const QString whatsNew = QStringLiteral("<h4><b style=\"color:#D7D8DB\">") +
                             LiveUpdateMgr::tr("What's new:") + QStringLiteral("</b></h4>");
    QString body;
    for (const ReleaseNote &note : notes) {
        // The notes end with an opening tag where a closing one would be expected. Deliberate: the
        // document is compared as it stands.
        const QString item = QStringLiteral("<b style=\"color:#D7D8DB\">") +
                             LiveUpdateMgr::tr("Version %1:") +
                             QStringLiteral("</b><b style=\"color:#516A7C\">%2<b>");
        body += item.arg(note.version).arg(note.notes);
    }
    return header + whatsNew + body;
}
