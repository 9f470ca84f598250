// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

#if defined(COMMONLIB_BUILDING)
#define COMMONLIB_EXPORT Q_DECL_EXPORT
#else
#define COMMONLIB_EXPORT Q_DECL_IMPORT
#endif
