// SPDX-License-Identifier: MIT

#pragma once

#include "update/plan/ResumeState.h"

#include <QPointer>

#include <array>

class DownloadMgr;

/// The downloaders of the ranges of one plan.
///
/// Thread: GUI thread. Ownership: the downloaders belong to their Qt parent; some may be missing.
class Downloaders
{
public:
    /// @param rangeNumber 1 to 5
    void Put(int rangeNumber, DownloadMgr *downloader);

    /// Saves how far a range has come, and ends it, if it is running.
    void Close(int rangeNumber);
    void CloseAll();

    /// Ends every range but that of @p downloader.
    void StopOthers(const DownloadMgr *downloader);

    /// Ends every range and deletes the downloaders.
    void Clear();

private:
    std::array<QPointer<DownloadMgr>, ResumeState::rangeCount> m_downloaders;
};
