// SPDX-License-Identifier: MIT

#include "tests/e2e/DemoProcess.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QJsonDocument>
#include <QTest>

#include <algorithm>
#include <utility>

namespace
{
constexpr int limitMs = 60000;
} // namespace

DemoProcess::DemoProcess(const QString &home, const QString &checkTemplate, HostProgram host)
    : m_home(home)
    , m_checkTemplate(checkTemplate)
    , m_host(std::move(host))
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), home);
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home + QStringLiteral("/data"));
    environment.insert(QStringLiteral("XDG_CACHE_HOME"), home + QStringLiteral("/cache"));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/config"));
    environment.insert(QStringLiteral("XDG_CONFIG_DIRS"), home + QStringLiteral("/etc"));
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.insert(QStringLiteral("CORVINA_INSTALL_LOG"),
                       m_host.Path(home + QStringLiteral("/installed")));
    for (auto it = m_host.environment.cbegin(); it != m_host.environment.cend(); ++it) {
        environment.insert(it.key(), it.value());
    }
    m_process.setProcessEnvironment(environment);
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
}

DemoProcess::~DemoProcess()
{
    Kill();
}

void DemoProcess::Start(const QStringList &arguments)
{
    const QStringList common{
        QStringLiteral("--update-url"),
        m_checkTemplate,
        QStringLiteral("--product-version"),
        QStringLiteral("9.1.0.0"),
        QStringLiteral("--config-dir"),
        m_host.Path(m_home),
        QStringLiteral("--data-dir"),
        m_host.Path(m_home),
        QStringLiteral("--log"),
        m_host.Path(m_home + QStringLiteral("/log")),
        QStringLiteral("--timeout"),
        QString::number(limitMs / 1000),
        // No program listens on port 1, so reports fail at once.
        QStringLiteral("--statistics-host"),
        QStringLiteral("127.0.0.1:1"),
        QStringLiteral("--check"),
        QStringLiteral("interactive"),
    };
    QStringList command = m_host.launcher;
    command.append(m_host.path);
    const QString program = command.takeFirst();
    m_process.start(program, command + common + arguments);
}

int DemoProcess::WaitForEnd()
{
    if (m_process.state() != QProcess::NotRunning && !m_process.waitForFinished(limitMs)) {
        return -1;
    }
    ReadEvents();
    return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
}

bool DemoProcess::WaitFor(const std::function<bool(const QJsonObject &)> &wanted)
{
    const QDeadlineTimer limit(limitMs);
    int seen = 0;
    while (!limit.hasExpired()) {
        ReadEvents();
        for (; seen < m_events.size(); ++seen) {
            if (wanted(m_events.at(seen))) {
                return true;
            }
        }
        if (!m_process.waitForReadyRead(limitMs)) {
            return false;
        }
    }
    return false;
}

bool DemoProcess::WaitForBytes(int bytes)
{
    return WaitFor([bytes](const QJsonObject &event) {
        return event.value(QLatin1String("event")).toString() == QLatin1String("progress") &&
               event.value(QLatin1String("maximum")).toInt() > 0 &&
               event.value(QLatin1String("value")).toInt() >= bytes;
    });
}

void DemoProcess::Kill()
{
    m_process.kill();
    m_process.waitForFinished();
}

void DemoProcess::ReadEvents()
{
    m_process.setReadChannel(QProcess::StandardOutput);
    while (m_process.canReadLine()) {
        m_events.append(QJsonDocument::fromJson(m_process.readLine()).object());
    }
}

int DemoProcess::MemoryKiB(const QByteArray &name) const
{
    QFile status(QStringLiteral("/proc/%1/status").arg(m_process.processId()));
    if (status.open(QIODevice::ReadOnly)) {
        const QList<QByteArray> lines = status.readAll().split('\n');
        for (const QByteArray &line : lines) {
            if (line.startsWith(name + ':')) {
                return line.mid(name.size() + 1).simplified().split(' ').first().toInt();
            }
        }
    }
    return 0;
}

QList<QJsonObject> DemoProcess::Events(const QString &event) const
{
    QList<QJsonObject> found;
    std::copy_if(m_events.begin(), m_events.end(), std::back_inserter(found),
                 [&event](const QJsonObject &object) {
                     return object.value(QLatin1String("event")).toString() == event;
                 });
    return found;
}

QStringList DemoProcess::Values(const QString &event, const QString &field) const
{
    QStringList values;
    for (const QJsonObject &object : Events(event)) {
        values.append(object.value(field).toString());
    }
    return values;
}

QString DemoProcess::Log() const
{
    QFile file(m_home + QStringLiteral("/log"));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}
