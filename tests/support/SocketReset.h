#pragma once

#include <QtGlobal>

/// Makes the system send a reset instead of an orderly end when the socket @p descriptor is closed.
void gResetWhenClosed(qintptr descriptor);
