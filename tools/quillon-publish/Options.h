// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

/// What quillon-publish was asked to do, read from its command line.
///
/// Errors: `Parse` gives a line for the user in `error`; it is empty when all is well.
struct Options {
    /// The folder with "manifest.xml", "manifests/" and "packages/".
    QString site;
    /// The address under which the site is served, without a "/" at its end.
    QString baseUrl;
    QString productVersion;
    QString installer;
    QStringList previous;
    QString notes;
    bool autoNotify = false;
    /// The programs, as paths or as names to be found in PATH.
    QString bsdiff;
    QString bspatch;
    bool help = false;
    QString error;

    /// @p arguments with the program's own name in front. Needs a QCoreApplication.
    static Options Parse(const QStringList &arguments);
    static QString Usage();
};
