// SPDX-License-Identifier: MIT

#include "update/transfer/WholePackageMode.h"

#include "update/transfer/RangeHttp.h"
#include "update/transfer/RangeStore.h"

WholePackageMode::WholePackageMode(RangeStore &store)
    : m_store(store)
{
}

QNetworkRequest WholePackageMode::MakeRequest(const QUrl &url)
{
    m_store.BeginWhole();
    return gPackageRequest(url);
}

RangeVerdict WholePackageMode::Judge(const RangeAnswer &answer) const
{
    return gJudgeWholePackage(answer);
}

bool WholePackageMode::IsLateCut(QNetworkReply::NetworkError code) const
{
    return code == QNetworkReply::RemoteHostClosedError;
}
