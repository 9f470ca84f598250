// SPDX-License-Identifier: MIT

#pragma once

#include "update/base/UpdateContext.h"
#include "update/transfer/AnswerFilter.h"
#include "update/transfer/FetchMode.h"
#include "update/transfer/RangeStore.h"
#include "update/transfer/RangeTask.h"

#include <QNetworkReply>
#include <QObject>

#include <memory>
#include <string_view>

class RangeRequester;
class ResumeState;

/// The bytes of one downloader: asks for them, judges each answer, writes it, and asks again for what
/// is missing. What an end means is decided by its owner.
///
///     Begin ─► AskForRest ─► Receive, Receive, … ─► the owner calls Close
///                 ▲ ▲          │  └─ cut: Lose ─► a pause ─► AskAgain ─┐
///                 │ └──────────┼───────────────────────────────────────┘
///                 └────────────┴─ redirected: FollowRedirect
///
/// Thread:    GUI thread.
/// Ownership: its Qt parent. The resume state and what the context names outlive it.
/// Errors:    returned as one of the texts of `FailureText`; the log says why.
class RangeTransfer : public QObject
{
    Q_OBJECT

public:
    /// What `Receive` did.
    struct Received {
        /// Bytes that were written in place, counted and saved.
        qint64 counted = 0;
        /// Source text for the user; null unless the range has to be given up.
        const char *failure = nullptr;
    };

    RangeTransfer(ResumeState &state, const UpdateContext &context, QObject *parent);

    /// Points the store at the task's range. Makes a missing target while no byte of the package was
    /// written. @return false when the target cannot be opened
    bool Begin(const RangeTask &task);

    /// Sends the request for what is missing; a reply at hand is dropped.
    void AskForRest();
    /// The same, behind a cut or a stall.
    void AskAgain();
    /// Fetches the whole package from where @p reply leads.
    /// @return false when the address is none to follow; nothing is asked for then
    bool FollowRedirect(QNetworkReply *reply);
    /// The connection was cut: the rest is asked for after a pause, or given up.
    void Lose();
    /// Nothing is asked for or written any more.
    void Close();

    /// Writes what the reply has, if it may be written. Logs under @p function.
    Received Receive(const char *function);

    /// The range has its last byte. Behind a redirect the progress of the reply says when the
    /// package is complete, so this is false.
    bool HasRange() const;
    /// The reply has ended before the last byte, and its rest is to be asked for.
    bool IsShort() const;
    /// The reply is an error page or a redirect, whose body is no part of a package.
    bool IsPage() const;
    /// As many bytes as the package has were written from its first byte on.
    bool HasPackage() const;
    /// A reply that ended with @p code was cut, and its rest is to be asked for.
    bool IsCut(QNetworkReply::NetworkError code) const;

    RangeStore &Store() { return m_store; }
    RangeRequester &Requester() { return *m_requester; }

private:
    Received WriteChunk(const char *function);
    std::string_view ReadChunk();

    UpdateContext m_context;
    RangeStore m_store;
    AnswerFilter m_filter;
    RangeRequester *m_requester;
    std::unique_ptr<FetchMode> m_mode;
    QUrl m_url;
    int m_redirects = 0;
    /// A redirected body starts anew each time: only bytes beyond those of before are progress.
    qint64 m_furthestByte = 0;
};
