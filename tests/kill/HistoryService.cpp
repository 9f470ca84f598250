// SPDX-License-Identifier: MIT

#include "tests/kill/HistoryService.h"

#include "tests/kill/DiskState.h"

namespace
{
constexpr int hundred = 100;
/// A whole package takes a second and a half: a host tells its progress ten times in a second.
constexpr int pieces = 50;
constexpr int pieceMs = 30;

/// What the three kinds of requests are answered with; those of ranges first `begun` times with
/// `firstRanges`.
struct Answers {
    FaultAnswer check;
    FaultAnswer size;
    FaultAnswer ranges;
    int begun = 0;
    FaultAnswer firstRanges = {};
};

/// What a network without access shows in the place of every address.
FaultAnswer gPortal()
{
    return FaultAnswer::Text("<!DOCTYPE html><html><head><title>Welcome</title></head><body>"
                             "<p>Please accept the terms of use.</p></body></html>",
                             "text/html; charset=utf-8");
}

Answers gThrough(HistoryStep::Network network, const Answers &inOrder, qint64 rangeBytes,
                 int percent)
{
    const FaultAnswer page = gPortal();
    const FaultAnswer lost = FaultAnswer::WithReset();
    const FaultAnswer cut = inOrder.ranges.ResetAfter(rangeBytes * percent / hundred);
    // One to all of the first requests.
    const int some = 1 + percent * DiskState::rangeCount / hundred;
    switch (network) {
    case HistoryStep::Network::Portal:
        return {page, page, page};
    case HistoryStep::Network::PortalAfterCheck:
        return {inOrder.check, page, page};
    case HistoryStep::Network::PortalForAWhile:
        return {inOrder.check, inOrder.size, inOrder.ranges, some, page};
    case HistoryStep::Network::PortalAfterSize:
        return {inOrder.check, inOrder.size, page};
    case HistoryStep::Network::Lost:
        return {lost, lost, lost};
    case HistoryStep::Network::LostAfterCheck:
        return {inOrder.check, lost, lost};
    case HistoryStep::Network::LostForAWhile:
        return {inOrder.check, inOrder.size, inOrder.ranges, some, cut};
    case HistoryStep::Network::LostAfterSize:
        return {inOrder.check, inOrder.size, lost, DiskState::rangeCount, cut};
    case HistoryStep::Network::InOrder:
    case HistoryStep::Network::Count:
        return inOrder;
    }
    Q_UNREACHABLE();
}
} // namespace

void HistoryService::Offer(const Publication &publication, HistoryStep::Network network,
                           int percent, Pace pace)
{
    const int rangeBytes = publication.bytes.size() / DiskState::rangeCount;
    const FaultAnswer file = FaultAnswer::File(publication.bytes);
    const FaultAnswer ranges =
        pace == Pace::Slow ? file.Pieces(rangeBytes / pieces, pieceMs) : file;
    const Answers inOrder{FaultAnswer::Text(publication.Manifest(m_server.Address(QString()))),
                          file, ranges};
    const Answers answers = gThrough(network, inOrder, rangeBytes, percent);
    FaultScript script;
    script.When("GET", "/update").Answer(answers.check);
    script.When("HEAD", publication.Path()).Answer(answers.size);
    script.When("GET", publication.Path())
        .Answer(answers.begun, answers.firstRanges)
        .Then(answers.ranges);
    m_server.Play(script);
}
