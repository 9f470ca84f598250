// SPDX-License-Identifier: MIT

#pragma once

#include "tests/tools/quillon-publish/ReleaseDesk.h"
#include "update/check/TrustedManifest.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

#include <optional>

/// A release engineer's desk with the program minisign, keys that it has made, and installers of a
/// few bytes.
class SigningDesk : public ReleaseDesk
{
public:
    using Changes = QMap<QString, QString>;

    /// Writes the release notes and the installers 9.1.0.0, 9.2.0.0 and 9.3.0.0.
    SigningDesk();

    /// The secret key of the pair "plain", "other" or, with a password, "locked". The public key is
    /// in the file beside it. The pairs are made once.
    static QString Key(const QString &name);
    static QString PublicKey(const QString &name);
    static QByteArray Password() { return "correct horse"; }

    QString SmallInstaller(const QString &version) const;
    /// Values for "bsdiff" and "bspatch": stand-ins, whose patch is the new installer behind one
    /// more line.
    Changes MarkedPatches() const;

    /// A command line that publishes @p version, by patches from @p previous, signed with "plain".
    QStringList Release(const QString &version, const QStringList &previous,
                        const Changes &changes = {}) const;
    /// Publishes 9.2.0.0 by a patch from 9.1.0.0, then 9.3.0.0 by one from 9.2.0.0.
    bool PublishTwice(const Changes &changes = {}) const;
    /// A command line that renews the site for @p days with "plain".
    QStringList Renewal(const QString &days, const Changes &changes = {}) const;

    /// Runs quillon-publish with the file @p name of the desk on descriptor 3.
    Outcome RunWithDescriptor(const QStringList &arguments, const QString &name) const;
    /// Runs quillon-publish with @p input on its standard input.
    static Outcome RunWithInput(const QStringList &arguments, const QByteArray &input);

    QByteArray Document(const QString &relative) const;
    void Replace(const QString &relative, const QByteArray &content) const;
    /// The names of all manifests of the site.
    QStringList Manifests() const;
    /// What clients with the public key of "plain" read; nothing when they refuse it.
    std::optional<ManifestValues> Trusted(const QString &relative) const;
    /// The statement of `Trusted`; without values when it is refused.
    SignedStatement Statement(const QString &relative) const;

    /// @p document with a signature by the program.
    QByteArray Signed(const QByteArray &document, const QString &key) const;
};
