// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

#if defined(CVCOMMONLIB_BUILDING)
#define CVCOMMONLIB_EXPORT Q_DECL_EXPORT
#else
#define CVCOMMONLIB_EXPORT Q_DECL_IMPORT
#endif
