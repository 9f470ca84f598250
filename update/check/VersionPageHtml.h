// SPDX-License-Identifier: MIT

#pragma once

#include "update/UpdateCommon/VersionInfo.h"

#include <QList>
#include <QString>

/// The document that the version page shows for @p notes; the texts are translated in the context
/// `LiveUpdateMgr`.
QString BuildVersionPageHtml(const QList<ReleaseNote> &notes);
