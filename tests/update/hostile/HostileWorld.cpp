// SPDX-License-Identifier: MIT

#include "tests/update/hostile/HostileWorld.h"

#include "tests/support/TestBytes.h"
#include "update/UpdateCommon/VersionInfo.h"

#include <QDirIterator>
#include <QFileInfo>

#include <limits>

namespace
{
const QByteArray neighbour = "not a file of the module";
} // namespace

HostileWorld::HostileWorld()
{
    Prepare();
}

HostileWorld::HostileWorld(const TestCertificates &certificates)
    : m_server(certificates)
{
    Prepare();
}

HostileWorld::~HostileWorld() = default;

void HostileWorld::Prepare()
{
    gWriteFile(m_rig.WorkingFolder() + QStringLiteral("/neighbour"), neighbour);
    gWriteFile(m_rig.Path(QStringLiteral("data/neighbour")), neighbour);
    gWriteFile(m_rig.Path(QStringLiteral("neighbour")), neighbour);
    ShortenWaits(m_rig.System());
    m_rig.Build();
    m_server.Play(Honest());
}

void HostileWorld::ShortenWaits(DownloadSystem &system)
{
    static constexpr int timesFaster = 500;

    system.sizeLimit = std::chrono::milliseconds(500);
    system.stallLimit = std::chrono::milliseconds(300);
    system.callLater = [](std::chrono::milliseconds delay, QObject *context,
                          const std::function<void()> &action) {
        gCallLater(delay / timesFaster, context, action);
    };
}

const QByteArray &HostileWorld::Package()
{
    static const QByteArray package = gTestBytes(packageSize, 5);
    return package;
}

qint64 HostileWorld::First(int number)
{
    return (number - 1) * (packageSize / 5);
}

qint64 HostileWorld::Last(int number)
{
    return number == 5 ? packageSize - 1 : First(number + 1) - 1;
}

FaultScript HostileWorld::Honest()
{
    FaultScript script;
    script.When("HEAD", "/files/setup.exe").Answer(FaultAnswer::File(Package()));
    script.When("GET", "/files/setup.exe").Answer(FaultAnswer::File(Package()));
    return script;
}

FaultRule &HostileWorld::Range(FaultScript &script, int number)
{
    return script.When("GET", "/files/setup.exe").From(First(number), Last(number));
}

void HostileWorld::Offer(const QString &url, const QString &moreElements)
{
    m_rig.Manager().findChild<VersionInfo *>()->setXml(UpdateRig::Manifest(url, moreElements));
}

void HostileWorld::PressUpdateNow()
{
    m_boxes = m_rig.Boxes();
    m_rig.Forget();
    m_server.ForgetRequests();
    m_rig.Manager().UpdateNow();
}

HostileWorld::End HostileWorld::Ended() const
{
    if (m_rig.Boxes() > m_boxes) {
        return End::Installed;
    }
    return m_rig.Pages().contains(QStringLiteral("hint")) ? End::Told : End::None;
}

QByteArray HostileWorld::Story() const
{
    QStringList story{m_rig.Pages().isEmpty() ? QString() : m_rig.Pages().last()};
    story += m_log.Messages(QStringLiteral("LiveUpdateMgr"));
    story += m_log.Messages(QStringLiteral("UpdateCommon"));
    const QList<HttpRequest> requests = m_server.Requests();
    for (const HttpRequest &request : requests) {
        story += QString::fromLatin1(request.method + ' ' + request.target + ' ' +
                                     request.headers.value("range"));
    }
    return story.join(QLatin1Char('\n')).toUtf8();
}

QString HostileWorld::Damage() const
{
    QStringList damage = StrangeFiles() + WrongState();
    if (QFile::exists(m_rig.Target())) {
        damage += WrongTarget();
    }
    if (QFile::exists(m_rig.Installer()) && gReadFile(m_rig.Installer()) != Package()) {
        damage += QStringLiteral("a wrong installer is in place");
    }
    return damage.join(QStringLiteral("; "));
}

/// Files that the module must not create, and those that it must not change or remove.
QStringList HostileWorld::StrangeFiles() const
{
    static const QStringList known{QStringLiteral("config/Corvina.ini"),
                                   QStringLiteral("config/CvBreakResumeDownLoad.ini"),
                                   QStringLiteral("data/Halvard/Corvina9"),
                                   QStringLiteral("data/Halvard/Corvina9.patch"),
                                   QStringLiteral("data/Halvard/Corvina9(x64).tmp"),
                                   QStringLiteral("data/Halvard/increase.patch"),
                                   QStringLiteral("data/Halvard/setup.exe")};
    QStringList strange;
    int neighbours = 0;
    const QString root = m_rig.Path(QString());
    QDirIterator files(root, QDir::Files | QDir::Hidden | QDir::System,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        const QString name = QDir(root).relativeFilePath(path);
        if (files.fileName() == QLatin1String("neighbour")) {
            neighbours += gReadFile(path) == neighbour ? 1 : 0;
        } else if (!known.contains(name) && !name.startsWith(QLatin1String("settings/")) &&
                   !name.endsWith(QLatin1String(".lock"))) {
            strange += QStringLiteral("a strange file ") + name;
        }
    }
    if (neighbours != 3) {
        strange += QStringLiteral("a neighbour was touched");
    }
    return strange;
}

/// The target has the planned size, and every byte in it is the package's or still unwritten.
QStringList HostileWorld::WrongTarget() const
{
    const QByteArray bytes = gReadFile(m_rig.Target());
    // A size larger than any disk cannot be allocated; the file then grows with what arrives.
    const bool isAllocated = PlannedSize() <= std::numeric_limits<qint32>::max();
    if (isAllocated && bytes.size() != PlannedSize()) {
        return {QStringLiteral("the target has %1 bytes").arg(bytes.size())};
    }
    for (int at = 0; at < bytes.size(); ++at) {
        const bool isRight = at < Package().size() && bytes.at(at) == Package().at(at);
        if (!isRight && bytes.at(at) != '\0') {
            return {QStringLiteral("the target differs at byte %1").arg(at)};
        }
    }
    return {};
}

qint64 HostileWorld::PlannedSize() const
{
    return m_rig.State().value(QStringLiteral("FullPackage_size/FullPackage_size")).toLongLong();
}

/// Bytes that the resume state claims and the target does not have.
QStringList HostileWorld::WrongState() const
{
    const QMap<QString, QString> state = m_rig.State();
    if (!QFile::exists(m_rig.Target()) || PlannedSize() != packageSize) {
        return {};
    }
    const QByteArray bytes = gReadFile(m_rig.Target());
    qint64 claimed = 0;
    for (int number = 1; number <= 5; ++number) {
        const qint64 next =
            state.value(QStringLiteral("DownLoad_Tasks/Start_Byte%1").arg(number)).toLongLong();
        const int length = static_cast<int>(next - First(number));
        if (length < 0 || next > Last(number) + 1) {
            return {QStringLiteral("range %1 claims byte %2").arg(number).arg(next)};
        }
        const int first = static_cast<int>(First(number));
        if (bytes.mid(first, length) != Package().mid(first, length)) {
            return {QStringLiteral("range %1 claims bytes that are not there").arg(number)};
        }
        claimed += length;
    }
    const qint64 total =
        state.value(QStringLiteral("AlreadyDownload_size/AlreadyDownload_size")).toLongLong();
    if (total != claimed) {
        return {
            QStringLiteral("%1 bytes are claimed, and %2 in the ranges").arg(total).arg(claimed)};
    }
    return {};
}
