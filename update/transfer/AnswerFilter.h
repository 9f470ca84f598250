// SPDX-License-Identifier: MIT

#pragma once

class QNetworkReply;
class RangeStore;

/// Decides what becomes of the body of each reply, before its first byte is written.
///
/// Thread: GUI thread. Errors: logged here, under the function that is named.
class AnswerFilter
{
public:
    enum class Outcome {
        Write,
        /// An error page, a redirect, another kind of content: the end of the reply says what follows.
        Ignore,
        /// Other bytes than those asked for.
        Refuse
    };

    explicit AnswerFilter(RangeStore *store);

    /// A request was sent: for the rest of the range, or for the whole package, which is measured at
    /// its end.
    void Begin(bool isWhole)
    {
        m_isWhole = isWhole;
        m_isAccepted = false;
    }

    Outcome Check(QNetworkReply *reply, const char *function);

private:
    bool IsAccepted(const QNetworkReply &reply, const char *function);

    RangeStore *m_store;
    bool m_isWhole = false;
    bool m_isAccepted = false;
};
