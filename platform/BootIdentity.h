// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Tells one run of the operating system from the next: the same text for every process until the
/// machine is started again, another one afterwards. Empty when the system does not say; then
/// nobody can know whether the machine was started again.
QString gBootIdentity();
