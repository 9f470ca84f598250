// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

/// The command line of corvina-demo.
///
/// Errors: `Parse` puts a text for the user into `error`, which is empty when there was no error.
struct DemoOptions {
    enum class Check { None, Silent, Interactive };
    enum class OnVersion { Update, Remind, Close, Wait };
    enum class OnPrompt { Yes, Cancel, Wait };
    enum class OnHint { Close, Wait };

    QString updateUrl;
    QString productVersion;
    /// Empty: the platform's standard folders for this application.
    QString configDir;
    QString dataDir;

    Check check = Check::None;
    /// Whether the three query values below are given to the check. Otherwise the module uses its
    /// own values.
    bool hasQueryValues = false;
    QString pid;
    QString version;
    QString email;

    OnVersion onVersion = OnVersion::Wait;
    OnPrompt onPrompt = OnPrompt::Wait;
    OnHint onHint = OnHint::Wait;
    /// Downloaded bytes at which the download is closed; -1 for never.
    qint64 closeAtBytes = -1;
    qint64 titleBarCloseAtBytes = -1;

    /// Whether the gaps in a heartbeat on the GUI thread are told after a download.
    bool gaps = false;

    /// Certificate authorities to trust besides those of the system; empty for none.
    QString caFile;
    /// Public keys of minisign, one of which has to have signed an update; empty for no signature.
    QStringList trustKeys;
    /// Written to the setting `StatisticsHost`; empty leaves the setting as it is.
    QString statisticsHost;
    /// Empty: no screenshots, no log file.
    QString screenshotDir;
    QString logFile;
    /// Milliseconds; 0 for no time-out.
    int timeout = 0;
    /// Milliseconds to stay before the program ends.
    int linger = 0;

    bool helpWanted = false;
    QString error;

    /// @param arguments the command line with the program's name in front
    static DemoOptions Parse(const QStringList &arguments);
    static const char *Usage();
};
