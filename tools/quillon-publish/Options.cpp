// SPDX-License-Identifier: MIT

#include "tools/quillon-publish/Options.h"

#include "tools/quillon-publish/PackageNames.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFileInfo>
#include <QStandardPaths>
#include <QUrl>

namespace
{
const QStringList neededOptions{QStringLiteral("site"), QStringLiteral("base-url"),
                                QStringLiteral("product-version"), QStringLiteral("installer"),
                                QStringLiteral("notes")};
const QStringList neededToRenew{QStringLiteral("site"), QStringLiteral("sign-key"),
                                QStringLiteral("expires")};
/// What only a release has.
const QStringList releaseOptions{
    QStringLiteral("base-url"), QStringLiteral("product-version"), QStringLiteral("installer"),
    QStringLiteral("previous"), QStringLiteral("notes"),           QStringLiteral("auto-notify"),
    QStringLiteral("bspatch"),  QStringLiteral("bsdiff"),          QStringLiteral("no-sign")};

QCommandLineOption gOption(const char *name, const char *description, const char *value = nullptr)
{
    return {QLatin1String(name), QLatin1String(description),
            value == nullptr ? QString() : QLatin1String(value)};
}

void gAddOptions(QCommandLineParser &parser)
{
    parser.setApplicationDescription(
        QStringLiteral("Publishes a release into the folder that an update service serves.\n"
                       "Needed: --site, --base-url, --product-version, --installer, --notes.\n"
                       "Or signs a site anew: --renew, --site, --sign-key, --expires."));
    parser.addOptions({
        gOption("site", "The folder to publish into; made if missing.", "DIR"),
        gOption("base-url", "The address that the folder is served under, http or https.", "URL"),
        gOption("product-version", "The version that is published.", "V"),
        gOption("installer", "The installer of that version.", "FILE"),
        gOption("previous",
                "The installer of an earlier version, to be updated by a patch. Repeat for more.",
                "FILE"),
        gOption("notes", "The release notes, Markdown (.md) or HTML (.html).", "FILE"),
        gOption("auto-notify", "Mark the patches for automatic notification."),
        gOption("bspatch",
                "The patch program of the clients, which every patch is tried with. Default: "
                "bspatch.exe beside this program or in the build's demo folder, then bspatch.exe "
                "or bspatch in PATH.",
                "PROGRAM"),
        gOption("bsdiff", "The program that makes patches. Default: bsdiff in PATH.", "PROGRAM"),
        gOption("no-sign", "Publish without signatures into a site that was signed."),
        gOption("renew",
                "Sign the site anew, with the same offers and a later end, instead of publishing "
                "a release."),
    });
    SigningOptions::AddTo(parser);
    parser.addOption(
        {{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help.")});
}

QString gDefaultBspatch()
{
    const QString name = QStringLiteral("bspatch.exe");
    const QString here = QCoreApplication::applicationDirPath();
    for (const QString &path :
         {here + QLatin1Char('/') + name, here + QLatin1String("/../demo/") + name}) {
        if (QFileInfo::exists(path)) {
            return path;
        }
    }
    return QStandardPaths::findExecutable(name).isEmpty() ? QStringLiteral("bspatch") : name;
}

/// The first of @p names that the command line lacks or gives twice, as an error.
QString gNeededError(const QCommandLineParser &parser, const QStringList &names)
{
    for (const QString &name : names) {
        if (parser.value(name).isEmpty()) {
            return QStringLiteral("--%1 is missing").arg(name);
        }
        if (parser.values(name).size() > 1) {
            return QStringLiteral("--%1 is given twice").arg(name);
        }
    }
    return {};
}

QString gRenewalError(const QCommandLineParser &parser)
{
    for (const QString &name : releaseOptions) {
        if (parser.isSet(name)) {
            return QStringLiteral("--renew publishes no release, --%1 cannot stand with it")
                .arg(name);
        }
    }
    return gNeededError(parser, neededToRenew);
}

QString gUsageError(const QCommandLineParser &parser)
{
    if (!parser.positionalArguments().isEmpty()) {
        return QStringLiteral("unexpected argument '%1'").arg(parser.positionalArguments().first());
    }
    if (parser.isSet(QStringLiteral("renew"))) {
        return gRenewalError(parser);
    }
    if (parser.isSet(QStringLiteral("no-sign")) && parser.isSet(QStringLiteral("sign-key"))) {
        return QStringLiteral("--no-sign cannot stand with --sign-key");
    }
    return gNeededError(parser, neededOptions);
}

QString gBaseUrlError(const QString &text)
{
    const QUrl url(text, QUrl::StrictMode);
    const bool web =
        url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https");
    if (!url.isValid() || !web || url.host().isEmpty()) {
        return QStringLiteral("the base URL has to be a http or https address: %1").arg(text);
    }
    if (url.hasQuery() || url.hasFragment() || !url.userInfo().isEmpty()) {
        return QStringLiteral("the base URL must not have a query, a fragment or a user: %1")
            .arg(text);
    }
    return {};
}

QString gValueError(const Options &options)
{
    if (options.renew) {
        return {};
    }
    if (!gIsPlainVersion(options.productVersion)) {
        return QStringLiteral("not a version that can stand in an address: '%1'")
            .arg(options.productVersion);
    }
    return gBaseUrlError(options.baseUrl);
}
} // namespace

Options Options::Parse(const QStringList &arguments)
{
    QCommandLineParser parser;
    gAddOptions(parser);
    Options options;
    if (!parser.parse(arguments)) {
        options.error = parser.errorText();
        return options;
    }
    options.help = parser.isSet(QStringLiteral("help"));
    options.site = parser.value(QStringLiteral("site"));
    options.baseUrl = parser.value(QStringLiteral("base-url"));
    options.productVersion = parser.value(QStringLiteral("product-version"));
    options.installer = parser.value(QStringLiteral("installer"));
    options.previous = parser.values(QStringLiteral("previous"));
    options.notes = parser.value(QStringLiteral("notes"));
    options.autoNotify = parser.isSet(QStringLiteral("auto-notify"));
    options.bsdiff = parser.value(QStringLiteral("bsdiff"));
    options.bspatch = parser.value(QStringLiteral("bspatch"));
    options.noSign = parser.isSet(QStringLiteral("no-sign"));
    options.renew = parser.isSet(QStringLiteral("renew"));

    options.error = gUsageError(parser);
    QString signingError;
    options.signing = SigningOptions::Read(parser, &signingError);
    if (options.error.isEmpty()) {
        options.error = signingError;
    }
    if (options.error.isEmpty()) {
        options.error = gValueError(options);
    }
    while (options.baseUrl.endsWith(QLatin1Char('/'))) {
        options.baseUrl.chop(1);
    }
    if (options.bsdiff.isEmpty()) {
        options.bsdiff = QStringLiteral("bsdiff");
    }
    if (options.bspatch.isEmpty()) {
        options.bspatch = gDefaultBspatch();
    }
    return options;
}

QString Options::Usage()
{
    QCommandLineParser parser;
    gAddOptions(parser);
    return parser.helpText();
}
