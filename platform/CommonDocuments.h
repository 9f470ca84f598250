// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// The folder of documents that all programs of this machine share, with forward slashes and
/// without a trailing one. It is created when it is missing. Empty when the system names none or it
/// cannot be created.
QString gCommonDocumentsFolder();
