// SPDX-License-Identifier: MIT

#pragma once

#include "tests/kill/FlushedDisk.h"
#include "tests/kill/PowerLoss.h"
#include "tests/kill/Tally.h"
#include "tests/support/LaterCalls.h"
#include "tests/update/UpdateRig.h"

#include <QByteArray>
#include <QList>
#include <QRandomGenerator>
#include <QString>
#include <QStringList>

#include <memory>

/// Records moments of fresh and resumed downloads, and simulates a loss of power at each of them:
/// bytes that were not flushed are damaged, and the boot identity is another one. The download that
/// follows has to end with the right bytes and must not ask for bytes that were flushed.
///
/// Thread: GUI thread; the flushes are recorded on the pool's.
class LostPower
{
public:
    LostPower(Tally *tally, quint32 seed);

    void Run(int moments);

private:
    void Begin();
    /// Downloads the package from its beginning to its end, and records every moment of it. A flush
    /// is recorded before the last bytes arrive.
    /// @return the problems that are found
    QStringList DownloadWithFlush();
    bool IsFlushRecorded() const;
    /// Starts to download the package; records every moment of it when @p isRecorded.
    void Download(const HttpAnswer &answer, bool isRecorded);
    void Record();
    /// The recorded moment @p index after a loss of power: with its state or, at times, an earlier
    /// one.
    RecordedMoment MomentAt(int index);
    QByteArray MixedState(int index);

    void Fail(const RecordedMoment &moment, const PowerLoss &loss);
    QStringList ProblemsOfClaims(const RecordedMoment &moment);
    /// The ranges that have to be asked for now, according to the state on disk.
    QStringList Missing() const;
    QStringList Resume(bool isRecorded);

    HttpAnswer Answer(bool isSlow);

    Tally *m_tally;
    QRandomGenerator m_random;
    quint32 m_seed;
    LaterCalls m_later;
    std::unique_ptr<UpdateRig> m_rig;
    QByteArray m_package;
    int m_boot = 0;
    bool m_isBootTold = true;
    QList<RecordedMoment> m_moments;
    qint64 m_written = 0;
    qint64 m_kept = 0;

    FlushedDisk m_disk;
};
