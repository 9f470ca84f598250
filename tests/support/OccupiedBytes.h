// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QtGlobal>

/// The room that the file at @p path takes on its disk, which may be less than its size; -1 when the
/// system does not tell.
qint64 gOccupiedBytes(const QString &path);
