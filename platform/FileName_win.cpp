// SPDX-License-Identifier: MIT

#include "platform/FileName.h"

FileNameRules gFileNameRules()
{
    return FileNameRules::Windows;
}
