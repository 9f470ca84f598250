// SPDX-License-Identifier: MIT

#include "tests/kill/Histories.h"

#include "tests/kill/HistoryRun.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

void Histories::RunScripts(bool isQuick)
{
    const QList<History> scripts = History::Scripts(isQuick);
    m_tally->Begin("histories with a fixed course", scripts.size());
    Run(scripts);
    m_tally->End();
}

void Histories::RunDrawn(quint32 seed, quint32 first, quint32 count)
{
    QList<History> histories;
    for (quint32 number = first; number < first + count; ++number) {
        histories.append(History::Draw(seed, number));
    }
    m_tally->Begin("histories drawn at random", histories.size());
    Run(histories);
    m_tally->Note(QStringLiteral("seed %1").arg(seed));
    m_tally->End();
}

void Histories::Run(const QList<History> &histories)
{
    // A history waits most of its time for the pace of its service.
    constexpr unsigned forEachCore = 4U;

    std::atomic<int> next{0};
    std::mutex counting;
    int sessions = 0;
    int begun = 0;
    int twice = 0;
    const auto work = [this, &histories, &next, &counting, &sessions, &begun, &twice] {
        for (int index = next++; index < histories.size(); index = next++) {
            HistoryRun run(histories.at(index));
            const QStringList problems = run.Play();
            const std::lock_guard<std::mutex> locker(counting);
            sessions += run.Sessions();
            begun += run.Begun();
            twice += run.EndSessions() > 1 ? 1 : 0;
            m_tally->Kill(run.Kills());
            m_tally->Case(run.Text(), problems);
        }
    };
    std::vector<std::thread> workers(forEachCore *
                                     std::max(1U, std::thread::hardware_concurrency()));
    for (std::thread &worker : workers) {
        worker = std::thread(work);
    }
    for (std::thread &worker : workers) {
        worker.join();
    }
    m_tally->Note(QStringLiteral("%1 sessions, %2 of which left a part of a package")
                      .arg(sessions)
                      .arg(begun));
    m_tally->Note(QStringLiteral("%1 needed a second Update Now").arg(twice));
}
