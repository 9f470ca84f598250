// SPDX-License-Identifier: MIT

#pragma once

#include "tools/quillon-publish/SigningOptions.h"

#include <QString>
#include <QStringList>

/// The command line of quillon-publish.
///
/// Errors: `Parse` puts a line for the user into `error`, which is empty when there was no error.
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
    SigningOptions signing;
    /// Sign the site anew instead of publishing a release.
    bool renew = false;
    /// Publish without signatures into a site that was signed.
    bool noSign = false;
    bool help = false;
    QString error;

    /// @param arguments the command line with the program's name in front
    ///
    /// Precondition: there is a QCoreApplication, by whose folder "bspatch.exe" is looked for.
    static Options Parse(const QStringList &arguments);
    static QString Usage();
};
