// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

class QWidget;

/// Saves pictures of windows on a plain background, on which their drop shadows are visible.
///
/// Thread: GUI thread. Errors: a picture that cannot be saved gives a warning in the log.
class Screenshots
{
public:
    /// @param directory created when missing; empty for no pictures at all
    explicit Screenshots(const QString &directory);

    /// Saves @p window as "NN-name.png", numbered in the order of the calls, with "@2x" behind the
    /// name when its device pixel ratio is 2.
    void Take(QWidget *window, const QString &name);

private:
    QString m_directory;
    int m_count = 0;
};
