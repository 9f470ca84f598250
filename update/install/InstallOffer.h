// SPDX-License-Identifier: MIT

#pragma once

#include "update/trust/PrivateCopy.h"

#include <QObject>
#include <QString>

#include <memory>

class EventSink;
class URMessageBox;

/// Asks the user whether an installer is to be started now or next time, and acts on the answer.
///
///     OfferDownloaded ─► BeginInstall ─┐
///     OfferKept ───────────────────────┴─► question ─┬─► OnYes    ─► Close, start, InstallStarted
///                                                    └─► OnCancel ─► CancelInstall, Close
///
/// Thread:    GUI thread; both offers run a nested event loop.
/// Ownership: its Qt parent. The host may delete it in any slot and while the question is asked.
/// Errors:    an installer that cannot be started is logged and reported; no signal follows.
class InstallOffer : public QObject
{
    Q_OBJECT

public:
    InstallOffer(EventSink &events, QObject *parent);

    /// Offers the installer that has just been put in place.
    /// @param copy what is started instead; null where nothing is signed
    void OfferDownloaded(const QString &installer, std::shared_ptr<PrivateCopy> copy = nullptr);

    /// Offers an installer that an earlier session kept.
    void OfferKept(const QString &installer, std::shared_ptr<PrivateCopy> copy = nullptr);

    /// Starts the installer if the user has answered "Yes"; otherwise nothing happens.
    void Install();

signals:
    void BeginInstall();
    void CancelInstall();
    void Close();
    void InstallStarted();

private slots:
    void OnYes();
    void OnCancel();

private:
    void Take(const QString &installer, std::shared_ptr<PrivateCopy> copy);

    EventSink &m_events;
    URMessageBox *m_messageBox;
    /// What is started.
    QString m_installer;
    std::shared_ptr<PrivateCopy> m_copy;
    bool m_installRequested = false;
};
