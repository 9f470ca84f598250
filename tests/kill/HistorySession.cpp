// SPDX-License-Identifier: MIT

#include "tests/kill/HistorySession.h"

namespace
{
HostProgram gHostIn(const QString &folder)
{
    HostProgram host;
    host.environment = {
        {"XDG_DATA_HOME", folder + "/data"},
        {"XDG_RUNTIME_DIR", folder},
        // The host without a screen warns of what its window cannot do, in every session.
        {"QT_LOGGING_RULES", "default.warning=false"},
    };
    return host;
}

QStringList gArguments(const HistoryStep &step, qint64 bytes)
{
    // A download is given up after half a minute.
    QStringList arguments{"--timeout", "45",    "--on-version", "update",
                          "--on-hint", "close", "--on-prompt"};
    switch (step.stop) {
    case HistoryStep::Stop::PutOff:
        return arguments << "cancel";
    case HistoryStep::Stop::KillAtPrompt:
        return arguments << "wait";
    case HistoryStep::Stop::Close:
        return arguments << "yes"
                         << "--close-at-bytes" << QString::number(bytes);
    case HistoryStep::Stop::CloseByTitleBar:
        return arguments << "yes"
                         << "--titlebar-close-at-bytes" << QString::number(bytes);
    case HistoryStep::Stop::None:
    case HistoryStep::Stop::KillAtBytes:
    case HistoryStep::Stop::KillAfterTime:
    case HistoryStep::Stop::Count:
        return arguments << "yes";
    }
    Q_UNREACHABLE();
}

/// The texts by which a user learns that there is no update, or why there is none yet.
bool gIsClear(const QString &text, HistoryStep::Network network)
{
    // A page in the place of the manifest names no package, which means that there is no update.
    const bool isPage = network == HistoryStep::Network::Portal;
    return text == "Failed to check update!" || text == "Failed to download the update." ||
           text == "File open error!" ||
           (isPage && text == "Your current version is the latest version!");
}
} // namespace

HistorySession::HistorySession(const QString &home, const QString &folder,
                               const QString &checkTemplate)
    : m_demo(home, checkTemplate, gHostIn(folder))
{
}

void HistorySession::Run(const HistoryStep &step, qint64 packageSize)
{
    constexpr int hundred = 100;

    const qint64 bytes = packageSize * step.percent / hundred;
    m_demo.Start(gArguments(step, bytes));
    Stop(step, bytes);
    m_exitStatus = m_demo.WaitForEnd();
}

void HistorySession::Stop(const HistoryStep &step, qint64 bytes)
{
    switch (step.stop) {
    case HistoryStep::Stop::KillAtBytes:
        if (m_demo.WaitForBytes(static_cast<int>(bytes))) {
            Kill();
        }
        break;
    case HistoryStep::Stop::KillAfterTime:
        if (!m_demo.WaitForEndWithin(step.milliseconds)) {
            Kill();
        }
        break;
    case HistoryStep::Stop::KillAtPrompt:
        if (m_demo.WaitFor([](const QJsonObject &event) {
                return event.value("event").toString() == QLatin1String("prompt");
            })) {
            Kill();
        }
        break;
    case HistoryStep::Stop::None:
    case HistoryStep::Stop::PutOff:
    case HistoryStep::Stop::Close:
    case HistoryStep::Stop::CloseByTitleBar:
    case HistoryStep::Stop::Count:
        break;
    }
}

void HistorySession::Kill()
{
    m_demo.Kill();
    m_wasKilled = true;
}

bool HistorySession::HasOfferedKept() const
{
    return Prompts().join(' ').contains("has been found in your device");
}

QString HistorySession::Hint() const
{
    QString text;
    for (const QJsonObject &event : m_demo.Events("page")) {
        if (event.value("name").toString() == QLatin1String("hint")) {
            text = event.value("text").toString();
        }
    }
    return text;
}

QString HistorySession::LastPage() const
{
    const QStringList pages = m_demo.Values("page", "text");
    return pages.isEmpty() ? QString() : pages.last();
}

QStringList HistorySession::Problems(const HistoryStep &step) const
{
    QStringList problems;
    const bool isClosed = step.IsClosed() && m_demo.Signals().contains("Close");
    if (!m_wasKilled && m_exitStatus != 0) {
        problems.append(QStringLiteral("the host does not end, status %1, %2")
                            .arg(m_exitStatus)
                            .arg(LastPage()));
    } else if (!m_wasKilled && !HasOffered() && Hint().isEmpty() && !isClosed) {
        problems.append("there is neither a text nor a question");
    }
    if (!Hint().isEmpty() && !gIsClear(Hint(), step.network)) {
        problems.append("the user reads: " + Hint());
    }
    return problems;
}
