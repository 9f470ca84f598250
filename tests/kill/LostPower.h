// SPDX-License-Identifier: MIT

#pragma once

#include "tests/kill/PowerLoss.h"
#include "tests/kill/Tally.h"
#include "tests/update/UpdateRig.h"

#include <QByteArray>
#include <QList>
#include <QMutex>
#include <QRandomGenerator>
#include <QString>
#include <QStringList>

#include <memory>

/// Records moments of downloads, fresh ones and ones that go on, and lets the power fail at each of
/// them: the machine is another one's boot afterwards, and what was not flushed is damaged. The
/// download that follows has to end with the right bytes, and asks for nothing that was flushed.
///
/// Thread: GUI thread; the flushes are recorded on the pool's.
class LostPower
{
public:
    LostPower(Tally *tally, quint32 seed);

    void Run(int moments);

private:
    void Begin();
    /// Starts the download of the package, and records every moment of it.
    void Download(const HttpAnswer &answer, bool isRecorded);
    void Record();
    FlushResult Flush(const QString &path);
    /// The moment that a failure of the power makes of @p index: the state of it, or of one before.
    RecordedMoment MomentAt(int index);

    void Fail(const RecordedMoment &moment, const PowerLoss &loss);
    QStringList ProblemsOfClaims(const RecordedMoment &moment);
    /// What has to be asked for now, as the state on disk has it.
    QStringList Missing() const;
    QStringList Resume(bool isRecorded);
    void WriteState(const QByteArray &state);

    HttpAnswer Answer(bool isSlow);

    Tally *m_tally;
    QRandomGenerator m_random;
    quint32 m_seed;
    std::unique_ptr<UpdateRig> m_rig;
    QByteArray m_package;
    int m_boot = 0;
    bool m_isBootTold = true;
    QList<RecordedMoment> m_moments;
    qint64 m_writes = 0;
    qint64 m_written = 0;
    qint64 m_kept = 0;

    QMutex m_flushMutex;
    std::optional<QByteArray> m_flushed;
    QRandomGenerator m_flushRandom;
};
