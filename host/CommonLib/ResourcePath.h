// SPDX-License-Identifier: MIT

#pragma once

#include "CommonLibExport.h"

#include <QString>

/// The variant of a resource for the primary screen: "a/b.png" becomes "a/b_2x.png" when that
/// screen's device pixel ratio is 2 or more; otherwise @p path itself.
COMMONLIB_EXPORT QString gGetResourcePathWithPixelRatio(QString path);
