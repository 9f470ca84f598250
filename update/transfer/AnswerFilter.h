// SPDX-License-Identifier: MIT

#pragma once

#include <optional>

class FetchMode;
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
        /// An error page, a redirect or another kind of content, whatever its length: the end of
        /// the reply is handled.
        Ignore,
        /// Other bytes than those asked for.
        Refuse
    };

    explicit AnswerFilter(RangeStore &store);

    /// A request was sent in @p mode, which outlives the reply.
    void Begin(FetchMode &mode);

    /// The answer of @p reply is judged once; later calls for the same reply agree with that.
    Outcome Filter(QNetworkReply *reply, const char *function);

private:
    Outcome Judge(const QNetworkReply &reply, const char *function);

    RangeStore &m_store;
    FetchMode *m_mode = nullptr;
    /// Of the reply at hand; nothing while it was not judged.
    std::optional<Outcome> m_outcome;
};
