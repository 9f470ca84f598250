// SPDX-License-Identifier: MIT

#include "update/transfer/WholeFetch.h"

#include "update/transfer/RangeReply.h"
#include "update/transfer/RangeStore.h"

WholeFetch::WholeFetch(RangeStore &store)
    : m_store(store)
{
}

QNetworkRequest WholeFetch::MakeRequest(const QUrl &url)
{
    m_store.BeginWhole();
    return gPackageRequest(url);
}

RangeVerdict WholeFetch::Judge(const RangeAnswer &answer) const
{
    return gJudgeWholePackage(answer);
}

bool WholeFetch::IsLateCut(QNetworkReply::NetworkError code) const
{
    return code == QNetworkReply::RemoteHostClosedError;
}
