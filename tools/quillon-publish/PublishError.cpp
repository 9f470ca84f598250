// SPDX-License-Identifier: MIT

#include "tools/quillon-publish/PublishError.h"

PublishError::PublishError(const QString &message)
    : std::runtime_error(message.toStdString())
{
}
