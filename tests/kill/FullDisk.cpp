// SPDX-License-Identifier: MIT

#include "tests/kill/FullDisk.h"

#include "tests/kill/KillScene.h"
#include "tests/kill/SmallDisk.h"
#include "tests/support/TestBytes.h"

namespace
{
constexpr qint64 packageSize = 400003;
constexpr int bytesPerSecond = 4000000;
} // namespace

void FullDisk::RunAll()
{
    m_tally->Begin("full disks");
    for (const int percent : {2, 10, 25, 40, 60, 80, 95}) {
        Fill("/data", percent);
        // In this case the state, the settings and the log are on the full disk, too.
        Fill(QString(), percent);
    }
    m_tally->End();
}

void FullDisk::RunShort()
{
    m_tally->Begin("full disks");
    Fill("/data", 60);
    m_tally->End();
}

void FullDisk::Fill(const QString &folder, int percent)
{
    KillScene scene(gTestBytes(packageSize, 9));
    const SmallDisk disk(scene.Home() + folder, packageSize * percent / 100);
    if (!disk.IsMounted()) {
        m_tally->Note("one is left out, a file system cannot be mounted here");
        return;
    }
    QStringList problems;
    if (!scene.StartServer(bytesPerSecond)) {
        problems.append("the service does not start");
    }
    scene.NewUser();
    scene.Run();
    problems += scene.Problems(true);
    if (!scene.Hints().contains("Failed to download the update.")) {
        problems.append("no word on the hint page: " + scene.Hints().join(' '));
    }
    const QString line = "disk failure, file write error!!! file path = " + scene.Target() +
                         ", No space left on device";
    // A log on the full disk may have no room for the line.
    if (!folder.isEmpty() && !scene.Log().contains(line)) {
        problems.append("the log does not say '" + line + "'");
    }
    if (!disk.Grow(packageSize * 3)) {
        problems.append("the disk cannot be enlarged");
    }
    m_tally->Case(QStringLiteral("%1 % of the package fit onto the disk of %2")
                      .arg(percent)
                      .arg(folder.isEmpty() ? "everything" : "the package"),
                  problems + scene.Finish());
}
