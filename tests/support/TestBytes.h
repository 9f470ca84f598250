// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QtGlobal>

/// @p size bytes without a short period, so that a byte at a wrong offset shows. The same seed
/// gives the same bytes on every machine.
QByteArray gTestBytes(qint64 size, quint64 seed = 1);
