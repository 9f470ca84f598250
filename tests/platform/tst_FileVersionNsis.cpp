// SPDX-License-Identifier: MIT

#include "platform/FileVersion.h"

#include "tests/support/TestFiles.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

namespace
{
/// The path of the installer that was built as @p name ("CASE-TARGET").
QString gInstallerPath(const QString &name)
{
    return QStringLiteral(NSIS_INSTALLERS "/%1.exe").arg(name);
}

/// @p text in the UTF-16 of version resources.
QByteArray gStoredText(const QString &text)
{
    QByteArray bytes;
    for (const QChar unit : text) {
        bytes.append(char(unit.cell()));
        bytes.append(char(unit.row()));
    }
    return bytes;
}

/// @p image with every @p from, as a version resource stores it, replaced by @p to.
QByteArray gWithTextReplaced(QByteArray image, const QString &from, const QString &to)
{
    return image.replace(gStoredText(from), gStoredText(to));
}
} // namespace

/// The versions of real installers; the expected texts are the same on every system.
class tst_FileVersionNsis : public QObject
{
    Q_OBJECT

private slots:
    void an_installer_tells_the_version_of_its_first_translation_data();
    void an_installer_tells_the_version_of_its_first_translation();
    void a_damaged_installer_tells_no_version_data();
    void a_damaged_installer_tells_no_version();
    void an_installer_that_was_cut_behind_its_resources_still_tells_its_version();

private:
    QString VersionOf(const QByteArray &image);

    QTemporaryDir m_folder;
};

QString tst_FileVersionNsis::VersionOf(const QByteArray &image)
{
    const QString path = m_folder.filePath(QStringLiteral("installer.exe"));
    return gWriteFile(path, image) ? FileVersionString(path)
                                   : QStringLiteral("the test cannot write its file");
}

void tst_FileVersionNsis::an_installer_tells_the_version_of_its_first_translation_data()
{
    QTest::addColumn<QString>("version");
    for (const char *target : {"amd64-unicode", "x86-unicode", "x86-ansi"}) {
        const auto row = [target](const char *name, const char *version) {
            QTest::addRow("%s-%s", name, target) << QString::fromUtf8(version);
        };
        row("english", "9.2.0.0");
        row("chinese", "9.2.0.0 Chinese");
        row("with-english", "9.2.0.0 English");
        row("without-english", "9.2.0.0 German");
        row("neutral", "9.2.0.0 neutral");
        row("long-text", "  9, 2, 0, 0 (release of the fourth quarter, for everybody who asked)  ");
        row("numbers-only", "");
        row("no-version", "");
        row("greek", "9.2.0.0 β für alle");
    }
}

void tst_FileVersionNsis::an_installer_tells_the_version_of_its_first_translation()
{
    const QString installer = gInstallerPath(QString::fromLatin1(QTest::currentDataTag()));
    QVERIFY(QFile::exists(installer));
    QTEST(FileVersionString(installer), "version");
}

void tst_FileVersionNsis::a_damaged_installer_tells_no_version_data()
{
    const QByteArray sound = gReadFile(gInstallerPath(QStringLiteral("english-amd64-unicode")));
    const int resource = sound.indexOf(gStoredText(QStringLiteral("VS_VERSION_INFO")));
    QVERIFY(resource > 0);

    QTest::addColumn<QByteArray>("image");
    QTest::newRow("cut in its version resource") << sound.left(resource + 64);
    QTest::newRow("cut in front of its resources") << sound.left(4096);
    QTest::newRow("cut in its headers") << sound.left(200);
    QTest::newRow("no translations")
        << gWithTextReplaced(sound, QStringLiteral("Translation"), QStringLiteral("Translatiom"));
    QTest::newRow("no languages") << gWithTextReplaced(sound, QStringLiteral("VarFileInfo"),
                                                       QStringLiteral("VarFileInfp"));
    QTest::newRow("no texts") << gWithTextReplaced(sound, QStringLiteral("StringFileInfo"),
                                                   QStringLiteral("StringFileInfp"));
    QTest::newRow("texts of another code page")
        << gWithTextReplaced(sound, QStringLiteral("040904e4"), QStringLiteral("040904e5"));
    QTest::newRow("another text") << gWithTextReplaced(sound, QStringLiteral("FileVersion"),
                                                       QStringLiteral("FileVersiom"));
    QByteArray short0 = sound;
    short0.replace(resource - 6, 2, QByteArray(2, '\0'));
    QTest::newRow("a resource of no length") << short0;
    QByteArray long0 = sound;
    long0.replace(resource - 6, 2, QByteArray(2, '\xff'));
    QTest::newRow("a resource longer than itself") << long0;
    QByteArray flipped = sound;
    for (int at = resource - 6; at < resource + 600; ++at) {
        flipped[at] = char(~flipped.at(at));
    }
    QTest::newRow("every bit of it flipped") << flipped;
}

void tst_FileVersionNsis::a_damaged_installer_tells_no_version()
{
    QFETCH(QByteArray, image);
    QCOMPARE(VersionOf(image), QString());
}

void tst_FileVersionNsis::an_installer_that_was_cut_behind_its_resources_still_tells_its_version()
{
    const QByteArray sound = gReadFile(gInstallerPath(QStringLiteral("english-amd64-unicode")));
    QVERIFY(!sound.isEmpty());
    QCOMPARE(VersionOf(sound.left(sound.size() - 100)), QStringLiteral("9.2.0.0"));
}

QTEST_GUILESS_MAIN(tst_FileVersionNsis)

#include "tst_FileVersionNsis.moc"
