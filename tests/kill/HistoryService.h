// SPDX-License-Identifier: MIT

#pragma once

#include "tests/kill/HistoryStep.h"
#include "tests/kill/Publication.h"
#include "tests/support/HttpServer.h"

/// The update service of a history, and the network that leads to it.
///
/// Ownership: the creator; it stops with the object.
class HistoryService
{
public:
    enum class Pace {
        AtOnce,
        /// In pieces, so that a session can be stopped within the package.
        Slow
    };

    /// The address template of the check.
    QString CheckTemplate() const
    {
        return m_server.Address(QStringLiteral("/update?pid=&version=&email="));
    }

    /// From now on @p publication is what the service offers, through @p network.
    /// @param percent the part of each range that arrives before the network is lost for a while
    void Offer(const Publication &publication, HistoryStep::Network network, int percent,
               Pace pace);

private:
    HttpServer m_server;
};
