// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

/// The bytes that @p text is the base64 form of: the usual alphabet with its padding, and not a character
/// more. Empty unless they are exactly @p size bytes. Thread: any.
QByteArray gFromBase64(const QByteArray &text, int size);
