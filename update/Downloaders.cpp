// SPDX-License-Identifier: MIT

#include "update/Downloaders.h"

#include "update/UpdateCommon/DownloadMgr.h"

void Downloaders::Put(int rangeNumber, DownloadMgr *downloader)
{
    m_downloaders.at(static_cast<size_t>(rangeNumber - 1)) = downloader;
}

void Downloaders::Close(int rangeNumber)
{
    DownloadMgr *downloader = m_downloaders.at(static_cast<size_t>(rangeNumber - 1));
    if (downloader != nullptr && downloader->IsRunning()) {
        downloader->SaveResumeState();
        downloader->Stop();
    }
}

void Downloaders::CloseAll()
{
    for (int number = 1; number <= ResumeState::rangeCount; ++number) {
        Close(number);
    }
}

void Downloaders::StopOthers(const DownloadMgr *downloader)
{
    for (DownloadMgr *other : m_downloaders) {
        if (other != nullptr && other != downloader) {
            other->Stop();
        }
    }
}

void Downloaders::Clear()
{
    for (QPointer<DownloadMgr> &downloader : m_downloaders) {
        if (downloader != nullptr) {
            downloader->Stop();
            downloader->deleteLater();
            downloader.clear();
        }
    }
}
