// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Identifies one run of the operating system: the same text for every process until the machine is
/// started again, another text afterwards. Empty when the system gives none; then it is unknown
/// whether the machine was started again.
QString gBootIdentity();
