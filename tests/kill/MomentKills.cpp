// SPDX-License-Identifier: MIT

#include "tests/kill/MomentKills.h"

#include "tests/kill/KillScene.h"
#include "tests/support/TestBytes.h"

#include <QRandomGenerator>

namespace
{
constexpr qint64 packageSize = 1500037;
/// The service sends a hundredth of this at a time, which is less than the buffer of a file, so
/// that a missing flush of that buffer would be found.
constexpr int bytesPerSecond = 1500000;
constexpr int mostKillsOfARun = 5;
/// About half of the time of a whole download, so that most runs have several kills.
constexpr int longestMs = 700;
} // namespace

void MomentKills::Run(int kills)
{
    m_tally->Begin("kills at random moments");
    QRandomGenerator random(m_seed);
    KillScene scene(gTestBytes(packageSize, 5));
    if (!scene.StartServer(bytesPerSecond)) {
        m_tally->Case("the service", {"it does not start"});
        kills = 0;
    }
    int done = 0;
    for (int run = 1; done < kills; ++run) {
        scene.NewUser();
        QStringList problems;
        const int wanted = random.bounded(1, mostKillsOfARun + 1);
        for (int kill = 1; kill <= wanted && done < kills && !scene.IsInstalled(); ++kill) {
            scene.Run(random.bounded(longestMs));
            if (scene.WasKilled()) {
                ++done;
                m_tally->Kill();
            }
            for (const QString &problem : scene.Problems()) {
                problems.append(QStringLiteral("after kill %1, %2").arg(kill).arg(problem));
            }
        }
        m_tally->Case(QStringLiteral("run %1 of seed %2").arg(run).arg(m_seed),
                      problems + scene.Finish());
    }
    m_tally->Note(QStringLiteral("seed %1").arg(m_seed));
    m_tally->End();
}
