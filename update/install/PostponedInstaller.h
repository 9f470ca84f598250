// SPDX-License-Identifier: MIT

#pragma once

#include "update/trust/PrivateCopy.h"

#include <QObject>
#include <QString>

#include <optional>

class QSettings;
struct DownloadSystem;

/// The settings `SetupFile` and `SetupSha256` of the product settings: the path of an installer that the
/// user put off, which the next check offers again, and what a signed manifest said of it.

/// The path that @p settings hold; empty when there is none. The file may be gone.
QString gReadSetupFile(QSettings *settings);
/// The SHA-256 that @p settings hold beside it; empty for an installer that was not signed.
QString gReadSetupSha256(QSettings *settings);

/// Writes @p path and @p sha256 into @p settings; an empty SHA-256 removes that of an earlier installer.
/// Where the disk cannot take the settings they stay as they were, and the log says so.
void gWriteSetupFile(QSettings *settings, const QString &path, const QString &sha256 = QString());

/// Looks for the installer that an earlier session kept.
///
///     Look ─┬─► there is one, and nothing has to be signed ─► Found, before `Look` returns
///           ├─► a pool thread copies and verifies it ─► Found with the private copy, or NotFound
///           └─► there is none ─► NotFound, before `Look` returns
///
/// Thread:    GUI thread. Ownership: its Qt parent. The settings and the system outlive it.
/// Errors:    logged; an installer that is not the one that was kept counts as none.
class PostponedInstaller : public QObject
{
    Q_OBJECT

public:
    /// Where packages have to be signed, the private copies that earlier sessions left are removed.
    PostponedInstaller(QSettings &settings, bool isSigned, const DownloadSystem &system,
                       QObject *parent);

    void Look();
    /// No signal follows.
    void Cancel() { ++m_run; }

signals:
    /// @param signedCopy where packages have to be signed
    void Found(const QString &path, const std::optional<PrivateCopy::Outcome> &signedCopy);
    void NotFound();

private:
    void Verify(const QString &path, const QString &sha256);
    void Judge(const QString &path, const QString &sha256, const PrivateCopy::Outcome &copied);
    void Refuse(const QString &path, const QString &why);

    QSettings &m_settings;
    bool m_isSigned;
    const DownloadSystem &m_system;
    /// Counts the looks, so that the end of an earlier one is ignored.
    int m_run = 0;
};
