// SPDX-License-Identifier: MIT

#pragma once

class QString;
class QWidget;

/// The dialog of the module, for a program that is not linked with the module and so can time how
/// long it takes to load.
///
/// Thread: GUI thread. Ownership: the caller of `NewDialogFunction`.
class TimedDialog
{
public:
    virtual ~TimedDialog() = default;

    virtual QWidget *Widget() = 0;
    virtual void LiveUpdate() = 0;
    virtual bool IsNeedUpdate() = 0;
};

/// Hands the module its settings and constructs an `UpdateMain`.
using NewDialogFunction = TimedDialog *(*)(const QString &updateUrl,
                                           const QString &configDirectory);
constexpr char newDialogName[] = "gNewTimedDialog";

/// Makes a network manager and deletes it. The first one of a process loads plugins of Qt.
using UseNetworkFunction = void (*)();
constexpr char useNetworkName[] = "gUseNetwork";
