// SPDX-License-Identifier: MIT

#include "update/check/VersionPageHtml.h"

#include "update/base/Texts.h"

namespace
{
constexpr char question[] = QT_TRANSLATE_NOOP(
    "LiveUpdateMgr",
    "Find new versions. You can update to the latest version. Would you like to update now?");
constexpr char whatsNew[] = QT_TRANSLATE_NOOP("LiveUpdateMgr", "What's new:");
constexpr char versionOf[] = QT_TRANSLATE_NOOP("LiveUpdateMgr", "Version %1:");
} // namespace

QString BuildVersionPageHtml(const QList<ReleaseNote> &notes)
{
    const QString header = QStringLiteral("<h4><b style=\"color:#D7D8DB\">") +
                           gTranslateForUpdate(question) + QStringLiteral("</b><br></h4>");
    const QString heading = QStringLiteral("<h4><b style=\"color:#D7D8DB\">") +
                            gTranslateForUpdate(whatsNew) + QStringLiteral("</b></h4>");
    QString body;
    for (const ReleaseNote &note : notes) {
        // The notes end with an opening tag where a closing one would be expected: hosts compare the
        // document as it stands.
        const QString item = QStringLiteral("<b style=\"color:#D7D8DB\">") +
                             gTranslateForUpdate(versionOf) +
                             QStringLiteral("</b><b style=\"color:#516A7C\">%2<b>");
        body += item.arg(note.version).arg(note.notes);
    }
    return header + heading + body;
}
