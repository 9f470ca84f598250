// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

/// Removes "NAME VALUE" from the arguments of a test program, because Qt Test rejects options that
/// are not its own.
/// @return the value; @p otherwise when the option is missing
inline QString gTakeOption(QStringList &arguments, const QString &name,
                           const QString &otherwise = QString())
{
    const int option = arguments.indexOf(name);
    if (option < 0 || option + 1 >= arguments.size()) {
        return otherwise;
    }
    const QString value = arguments.at(option + 1);
    arguments.erase(arguments.begin() + option, arguments.begin() + option + 2);
    return value;
}
