// SPDX-License-Identifier: MIT

#pragma once

#include "platform/DynamicLibrary.h"

#include <QObject>
#include <QString>

/// One look-up in the host's customisation store: the library "HvUtilities.dll" and the file
/// "Customization.xml", both in the application's folder. The constructor loads both.
///
/// Thread:    GUI thread. Ownership: created on the stack for one look-up.
/// Errors:    a missing library, export, file or entry gives an empty string.
class CustomizeInfoReader : public QObject
{
    Q_OBJECT

public:
    explicit CustomizeInfoReader(QObject *parent = nullptr);
    ~CustomizeInfoReader() override;

    /// The value stored under @p key for @p language, at most 255 UTF-16 units long.
    QString ReadCustomizeInfo(QString language, QString key);

private:
    DynamicLibrary m_library;
};
