// SPDX-License-Identifier: MIT

#include "tests/tools/quillon-publish/SigningDesk.h"

#include "tests/support/TestFiles.h"
#include "update/trust/SignedDocument.h"

#include <QDirIterator>

namespace
{
constexpr int patienceMs = 60000;

/// Runs @p program with @p input to its end.
ReleaseDesk::Outcome gOutcome(const QString &program, const QStringList &arguments,
                              const QByteArray &input)
{
    QProcess process;
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(patienceMs) || process.exitStatus() != QProcess::NormalExit) {
        return {};
    }
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

void gMakeKey(const QString &path, const QStringList &options, const QByteArray &input)
{
    const ReleaseDesk::Outcome outcome = gOutcome(
        QStringLiteral("minisign"),
        QStringList{QStringLiteral("-G"), QStringLiteral("-p"), path + QStringLiteral(".pub"),
                    QStringLiteral("-s"), path + QStringLiteral(".key")} +
            options,
        input);
    if (outcome.code != 0) {
        qWarning("minisign made no key: %s", qPrintable(outcome.err));
    }
}

QString gKeyPath(const QString &name)
{
    static const QTemporaryDir folder;
    static bool made = false;
    if (!made) {
        made = true;
        gMakeKey(folder.filePath(QStringLiteral("plain")), {QStringLiteral("-W")}, {});
        gMakeKey(folder.filePath(QStringLiteral("other")), {QStringLiteral("-W")}, {});
        const QByteArray line = SigningDesk::Password() + '\n';
        gMakeKey(folder.filePath(QStringLiteral("locked")), {}, line + line);
    }
    return folder.filePath(name);
}

QStringList gOptionList(const SigningDesk::Changes &values)
{
    QStringList arguments;
    for (auto value = values.cbegin(); value != values.cend(); ++value) {
        if (!value.value().isEmpty()) {
            arguments << QLatin1String("--") + value.key() << value.value();
        }
    }
    return arguments;
}

SigningDesk::Changes gMerged(SigningDesk::Changes values, const SigningDesk::Changes &changes)
{
    for (auto change = changes.cbegin(); change != changes.cend(); ++change) {
        values.insert(change.key(), change.value());
    }
    return values;
}
} // namespace

SigningDesk::SigningDesk()
{
    Write(QStringLiteral("notes.md"), "- Exports resume\n");
    for (const char *version : {"9.1.0.0", "9.2.0.0", "9.3.0.0"}) {
        // Sizes of their own: installers of one size are warned about.
        const QByteArray padding(version[2] - '0', '#');
        Write(QStringLiteral("corvina-%1.exe").arg(QLatin1String(version)),
              QByteArray("#!/bin/sh\n# FileVersion=") + version + '\n' + padding);
    }
}

QString SigningDesk::Key(const QString &name)
{
    return gKeyPath(name) + QStringLiteral(".key");
}

QString SigningDesk::PublicKey(const QString &name)
{
    const QByteArray file = gReadFile(gKeyPath(name) + QStringLiteral(".pub"));
    return QString::fromLatin1(file.split('\n').value(1));
}

QString SigningDesk::SmallInstaller(const QString &version) const
{
    return Path(QStringLiteral("corvina-%1.exe").arg(version));
}

SigningDesk::Changes SigningDesk::MarkedPatches() const
{
    return {{QStringLiteral("bsdiff"),
             Script(QStringLiteral("bsdiff"),
                    "{ echo \"patch of ${1##*/}\"; cat \"$2\"; } > \"$3\"\n")},
            {QStringLiteral("bspatch"),
             Script(QStringLiteral("bspatch"), "tail -n +2 \"$3\" > \"$2\"\n")}};
}

QStringList SigningDesk::Release(const QString &version, const QStringList &previous,
                                 const Changes &changes) const
{
    Changes values = MarkedPatches();
    values.insert(QStringLiteral("product-version"), version);
    values.insert(QStringLiteral("installer"), SmallInstaller(version));
    values.insert(QStringLiteral("sign-key"), Key(QStringLiteral("plain")));
    QStringList installers;
    for (const QString &old : previous) {
        installers.append(SmallInstaller(old));
    }
    return Arguments(gMerged(values, changes), installers);
}

bool SigningDesk::PublishTwice(const Changes &changes) const
{
    const QString first = QStringLiteral("9.2.0.0");
    return Publish(Release(first, {QStringLiteral("9.1.0.0")}, changes)) &&
           Publish(Release(QStringLiteral("9.3.0.0"), {first}, changes));
}

QStringList SigningDesk::Renewal(const QString &days, const Changes &changes) const
{
    return gOptionList(gMerged({{QStringLiteral("site"), Site()},
                                {QStringLiteral("sign-key"), Key(QStringLiteral("plain"))},
                                {QStringLiteral("expires"), days}},
                               changes)) +
           QStringList{QStringLiteral("--renew")};
}

ReleaseDesk::Outcome SigningDesk::RunWithDescriptor(const QStringList &arguments,
                                                    const QString &name) const
{
    const QString shell = QStringLiteral("exec 3<\"$0\"; exec \"$@\"");
    return gOutcome(
        QStringLiteral("sh"),
        QStringList{QStringLiteral("-c"), shell, Path(name), QStringLiteral(QUILLON_PUBLISH)} +
            arguments,
        {});
}

ReleaseDesk::Outcome SigningDesk::RunWithInput(const QStringList &arguments,
                                               const QByteArray &input)
{
    return gOutcome(QStringLiteral(QUILLON_PUBLISH), arguments, input);
}

QByteArray SigningDesk::Document(const QString &relative) const
{
    return gReadFile(Site() + QLatin1Char('/') + relative);
}

void SigningDesk::Replace(const QString &relative, const QByteArray &content) const
{
    Write(QStringLiteral("site/") + relative, content);
}

QStringList SigningDesk::Manifests() const
{
    QStringList names;
    QDirIterator manifests(Site(), {QStringLiteral("*.xml")}, QDir::Files,
                           QDirIterator::Subdirectories);
    while (manifests.hasNext()) {
        names.append(manifests.next().mid(Site().size() + 1));
    }
    names.sort();
    return names;
}

std::optional<ManifestValues> SigningDesk::Trusted(const QString &relative) const
{
    QString refusal;
    const auto manifest = gReadTrustedManifest(
        Document(relative), gReadMinisignKeys({PublicKey(QStringLiteral("plain"))}), &refusal);
    if (!manifest) {
        qWarning("%s: %s", qPrintable(relative), qPrintable(refusal));
        return std::nullopt;
    }
    return manifest->values;
}

SignedStatement SigningDesk::Statement(const QString &relative) const
{
    const std::optional<ManifestValues> values = Trusted(relative);
    return values ? *values->statement : SignedStatement();
}

QByteArray SigningDesk::Signed(const QByteArray &document, const QString &key) const
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("manifest.xml"));
    if (!gWriteFile(path, document)) {
        return {};
    }
    gOutcome(QStringLiteral("minisign"),
             {QStringLiteral("-S"), QStringLiteral("-s"), Key(key), QStringLiteral("-m"), path},
             {});
    return gWithSignature(document, gReadFile(path + QStringLiteral(".minisig")));
}
