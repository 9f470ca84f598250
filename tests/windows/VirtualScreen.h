// SPDX-License-Identifier: MIT

#pragma once

#include <QProcess>
#include <QString>

/// A display without a screen (Xvfb), for the programs of one test.
///
/// Ownership: the creator; the display ends with the object.
class VirtualScreen
{
public:
    VirtualScreen() = default;
    ~VirtualScreen();
    VirtualScreen(const VirtualScreen &) = delete;
    VirtualScreen &operator=(const VirtualScreen &) = delete;

    /// @return whether the display is there
    bool Start();

    /// ":7", for the variable DISPLAY.
    QString Name() const { return m_name; }

private:
    QProcess m_server;
    QString m_name;
};
