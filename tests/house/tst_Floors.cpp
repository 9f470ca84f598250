// SPDX-License-Identifier: MIT

#include <QDirIterator>
#include <QFile>
#include <QMap>
#include <QRegularExpression>
#include <QtTest>

/// The order of the folders: a source includes only from its own floor and from those below it.
class tst_Floors : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void includes_run_downwards();
    void no_header_includes_itself_through_others();

private:
    /// What each source of the module includes of the module, by their paths below the root.
    QMap<QString, QStringList> m_includes;
};

/// Top to bottom. A path belongs to the first floor that it begins with.
static const QStringList floors{"api/UpdateMain",
                                "ui/UpdateMainImpl",
                                "update/LiveUpdateMgr",
                                "update/UpdatePages",
                                "update/check/",
                                "update/PackageDownload",
                                "update/UpdateCommon/",
                                "update/install/",
                                "update/transfer/",
                                "update/plan/",
                                "update/trust/",
                                "update/report/",
                                "update/base/",
                                "ui/",
                                "api/",
                                "platform/"};

static int gFloor(const QString &path)
{
    for (int floor = 0; floor < floors.size(); ++floor) {
        if (path.startsWith(floors.at(floor))) {
            return floor;
        }
    }
    return -1;
}

void tst_Floors::initTestCase()
{
    static const QRegularExpression include("^#include \"([a-z]+/[^\"]+)\"",
                                            QRegularExpression::MultilineOption);
    const QDir root(QUILLON_SOURCES);
    for (const char *folder : {"api", "ui", "update", "platform"}) {
        QDirIterator files(root.filePath(folder), {"*.h", "*.cpp"}, QDir::Files,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            QFile file(files.next());
            QVERIFY(file.open(QIODevice::ReadOnly));
            QStringList &included = m_includes[root.relativeFilePath(file.fileName())];
            auto found = include.globalMatch(QString::fromUtf8(file.readAll()));
            while (found.hasNext()) {
                included += found.next().captured(1);
            }
        }
    }
    QVERIFY(m_includes.size() > 100);
}

void tst_Floors::includes_run_downwards()
{
    QStringList wrong;
    for (auto source = m_includes.cbegin(); source != m_includes.cend(); ++source) {
        for (const QString &included : source.value()) {
            if (gFloor(source.key()) < 0 || gFloor(included) < gFloor(source.key())) {
                wrong += source.key() + " includes " + included;
            }
        }
    }
    QVERIFY2(wrong.isEmpty(), qPrintable('\n' + wrong.join('\n')));
}

void tst_Floors::no_header_includes_itself_through_others()
{
    for (const QString &header : m_includes.keys()) {
        QStringList reached = m_includes.value(header);
        for (int next = 0; next < reached.size(); ++next) {
            for (const QString &included : m_includes.value(reached.at(next))) {
                if (!reached.contains(included)) {
                    reached += included;
                }
            }
        }
        QVERIFY2(!reached.contains(header), qPrintable(header));
    }
}

QTEST_GUILESS_MAIN(tst_Floors)
#include "tst_Floors.moc"
