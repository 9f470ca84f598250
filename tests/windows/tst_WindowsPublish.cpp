// SPDX-License-Identifier: MIT

#include "tests/e2e/DemoProcess.h"
#include "tests/e2e/UpdateSite.h"
#include "tests/support/TestFiles.h"
#include "tests/tools/quillon-publish/DocumentedNginx.h"
#include "tests/windows/WindowsMachine.h"
#include "tests/windows/WindowsTestMain.h"

#include <QDirIterator>
#include <QMap>
#include <QProcess>
#include <QTest>

#include <functional>
#include <memory>

namespace
{
const QString oldVersion = QStringLiteral("9.2.0.0");
const QString newVersion = QStringLiteral("9.3.0.0");
constexpr int limitMs = 60000;

/// Every file below @p folder with its content.
QMap<QString, QByteArray> gFiles(const QString &folder)
{
    QMap<QString, QByteArray> files;
    QDirIterator entries(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString path = entries.next();
        files.insert(path.mid(folder.size()), gReadFile(path));
    }
    return files;
}

int gRunProgram(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(program, arguments);
    return process.waitForFinished(limitMs) ? process.exitCode() : -1;
}
} // namespace

/// quillon-publish.exe on Windows.
class tst_WindowsPublish : public QObject
{
    Q_OBJECT

public:
    tst_WindowsPublish(const QString &build, const QString &sdk)
        : m_machine(build, sdk)
    {
    }

private:
    using Mapping = std::function<QString(const QString &)>;

    QString Installer(const QString &version) const;
    QStringList Publication(const QString &site, const QString &version, const Mapping &path) const;
    bool PublishOnWindows(const QString &version) const;
    bool PublishHere(const QString &version) const;

    WindowsMachine m_machine;
    QTemporaryDir m_folder;
    DocumentedNginx m_nginx;

private slots:
    void initTestCase();
    void the_site_is_the_same_as_on_other_systems();
    void a_host_is_updated_by_the_patch_over_an_encrypted_connection();
};

QString tst_WindowsPublish::Installer(const QString &version) const
{
    return m_folder.filePath(QStringLiteral("corvina-%1.exe").arg(version));
}

/// The command line that publishes @p version into @p site, with all paths as @p path gives them.
QStringList tst_WindowsPublish::Publication(const QString &site, const QString &version,
                                            const Mapping &path) const
{
    QStringList arguments{QStringLiteral("--site"),
                          path(m_folder.filePath(site)),
                          QStringLiteral("--base-url"),
                          m_nginx.SecureUrl(),
                          QStringLiteral("--product-version"),
                          version,
                          QStringLiteral("--installer"),
                          path(Installer(version)),
                          QStringLiteral("--notes"),
                          path(m_folder.filePath(QStringLiteral("notes.md")))};
    if (version == newVersion) {
        arguments << QStringLiteral("--previous") << path(Installer(oldVersion));
    }
    return arguments;
}

bool tst_WindowsPublish::PublishOnWindows(const QString &version) const
{
    const Mapping path = [this](const QString &file) { return m_machine.Path(file); };
    return m_machine.Run(m_machine.Built(QStringLiteral("tools/quillon-publish.exe")),
                         Publication(QStringLiteral("windows"), version, path)) == 0;
}

bool tst_WindowsPublish::PublishHere(const QString &version) const
{
    const Mapping path = [](const QString &file) { return file; };
    return gRunProgram(QStringLiteral(QUILLON_PUBLISH),
                       Publication(QStringLiteral("here"), version, path)) == 0;
}

void tst_WindowsPublish::initTestCase()
{
    QVERIFY(m_machine.Start());
    QVERIFY(m_machine.RemovePackages());
    QVERIFY(m_nginx.Start(m_folder.filePath(QStringLiteral("windows"))));
    QVERIFY(gWriteFile(m_folder.filePath(QStringLiteral("notes.md")),
                       "- Faster export\n- Größere Schriften\n"));
    QCOMPARE(gRunProgram(QStringLiteral(MAKE_WINDOWS_INSTALLER),
                         {oldVersion, QStringLiteral("3"), Installer(oldVersion)}),
             0);
    QCOMPARE(gRunProgram(QStringLiteral(MAKE_WINDOWS_INSTALLER),
                         {newVersion, QStringLiteral("4"), Installer(newVersion)}),
             0);
    for (const QString &version : {oldVersion, newVersion}) {
        QVERIFY(PublishOnWindows(version));
        QVERIFY(PublishHere(version));
    }
}

void tst_WindowsPublish::the_site_is_the_same_as_on_other_systems()
{
    const QMap<QString, QByteArray> windows = gFiles(m_folder.filePath(QStringLiteral("windows")));
    const QMap<QString, QByteArray> here = gFiles(m_folder.filePath(QStringLiteral("here")));
    QCOMPARE(windows.keys(), here.keys());
    QVERIFY(windows.contains(QStringLiteral("/packages/corvina-9.2.0.0-to-9.3.0.0.patch")));
    for (auto file = here.cbegin(); file != here.cend(); ++file) {
        QVERIFY2(windows.value(file.key()) == file.value(), qUtf8Printable(file.key()));
    }
}

void tst_WindowsPublish::a_host_is_updated_by_the_patch_over_an_encrypted_connection()
{
    const QString certificate = m_folder.filePath(QStringLiteral("authority.pem"));
    QVERIFY(gWriteFile(certificate, m_nginx.Certificate().toPem()));
    QVERIFY(m_machine.Trust(certificate));
    const UpdateSite user(m_machine.PackageFolder());
    const QString kept = user.WorkingFolder() + QStringLiteral("/kept.exe");
    QVERIFY(gWriteFile(kept, gReadFile(Installer(oldVersion))));

    DemoProcess host(user.Home(),
                     m_nginx.SecureUrl() + QStringLiteral("/update?pid=&version=&email="),
                     m_machine.Host());
    host.Start({QStringLiteral("--product-version"), oldVersion, QStringLiteral("--on-version"),
                QStringLiteral("update"), QStringLiteral("--on-prompt"), QStringLiteral("cancel"),
                QStringLiteral("--on-hint"), QStringLiteral("close")});
    QCOMPARE(host.WaitForEnd(), 0);
    QVERIFY2(host.Log().contains(QStringLiteral("End Patch IncreasePackage")),
             qUtf8Printable(host.Log()));
    QVERIFY(gReadFile(kept) == gReadFile(Installer(newVersion)));
}

QUILLON_WINDOWS_TEST_MAIN(tst_WindowsPublish)

#include "tst_WindowsPublish.moc"
