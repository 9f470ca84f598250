// SPDX-License-Identifier: MIT

#include "tests/kill/LostPower.h"

#include "tests/kill/DiskState.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestBytes.h"
#include "update/base/DownloadState.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <algorithm>

namespace
{
constexpr int limitMs = 20000;
/// The most moments of one download that are tried.
constexpr int mostOfADownload = 25;
} // namespace

LostPower::LostPower(Tally *tally, quint32 seed)
    : m_tally(tally)
    , m_random(seed)
    , m_seed(seed)
    , m_disk(seed + 1)
{
}

void LostPower::Run(int moments)
{
    // Keeps the module's log messages out of the output.
    const LogCapture quiet;
    m_tally->Begin("losses of power", moments);
    int tried = 0;
    while (tried < moments) {
        Begin();
        const QStringList problems = DownloadWithFlush();
        if (!problems.isEmpty()) {
            m_tally->Case("a download without a loss", problems);
        }
        m_rig->Destroy();
        for (int step = 0; step < mostOfADownload && tried < moments && !m_moments.isEmpty();
             ++step) {
            // The last moment of a download has a flush behind it for certain.
            const int last = m_moments.size() - 1;
            const int index = step == 0 ? last : m_random.bounded(m_moments.size());
            const RecordedMoment moment = step == 0 ? m_moments.last() : MomentAt(index);
            m_moments.removeAt(index);
            Fail(moment, PowerLoss::Of(moment, &m_random));
            ++tried;
        }
    }
    m_rig.reset();
    m_tally->Note(QStringLiteral("%1 % of what was written had been flushed")
                      .arg(m_kept * 100 / std::max<qint64>(1, m_written)));
    m_tally->Note(QStringLiteral("seed %1").arg(m_seed));
    if (m_kept == 0) {
        m_tally->Case("all of them", {"nothing was ever flushed"});
    }
    m_tally->End();
}

/// A new user, and a package of a random size.
void LostPower::Begin()
{
    constexpr int smallestPackage = 60000;
    constexpr int largestPackage = 300000;
    constexpr int smallestFlush = 2000;
    constexpr int largestFlush = 60000;

    m_rig.reset();
    m_rig = std::make_unique<UpdateRig>();
    m_package =
        gTestBytes(m_random.bounded(smallestPackage, largestPackage), m_random.generate64());
    m_moments.clear();
    m_disk.Keep(std::nullopt);
    m_isBootTold = true;
    DownloadSystem &system = m_rig->System();
    system.bootIdentity = [this] {
        return m_isBootTold ? QStringLiteral("boot %1").arg(m_boot) : QString();
    };
    system.flush = [this](const QString &path) { return m_disk.Flush(path); };
    system.flushBytes = m_random.bounded(smallestFlush, largestFlush);
    system.flushTime = std::chrono::milliseconds(m_random.bounded(5, 100));
    // A loss of power leaves the same file behind, a test another one.
    system.fileIdentity = [](const QString &path) {
        return QFile::exists(path) ? QStringLiteral("the target") : QString();
    };
    m_later = LaterCalls();
    system.callLater = m_later.Seam();
}

HttpAnswer LostPower::Answer(bool isSlow)
{
    HttpAnswer answer = HttpAnswer::Body(m_package);
    if (isSlow) {
        answer.chunkSize = m_random.bounded(1000, 6000);
        answer.chunkPauseMs = m_random.bounded(2, 8);
    }
    return answer;
}

/// A small package can arrive before its first flush is recorded. The service therefore cuts the
/// last range once, and its rest is asked for when a flush is recorded.
QStringList LostPower::DownloadWithFlush()
{
    const qint64 first = gRangeBounds(m_package.size()).at(DiskState::rangeCount - 1);
    const HttpAnswer answer = Answer(true);
    FaultScript script;
    script.When("GET", "/files/setup.exe")
        .From(first, m_package.size())
        .Answer(1, answer.AsFaultAnswer().CutAfter((m_package.size() - first) / 2))
        .Then(answer.AsFaultAnswer());
    m_rig->Server().Play(script);
    Download(answer, true);
    QStringList problems;
    if (!QTest::qWaitFor([this] { return IsFlushRecorded(); }, limitMs)) {
        problems.append("nothing is flushed");
    }
    m_later.RunAtOnce();
    m_later.Run();
    if (!QTest::qWaitFor([this] { return m_rig->Boxes() > 0; }, limitMs)) {
        problems.append("it does not end");
    }
    m_rig->Server().Play(FaultScript());
    return problems;
}

bool LostPower::IsFlushRecorded() const
{
    const DiskState state = DiskState::Read(m_rig->StateFile());
    const auto bounds = gRangeBounds(m_package.size());
    return !std::equal(state.flushed.begin(), state.flushed.end(), bounds.begin());
}

void LostPower::Download(const HttpAnswer &answer, bool isRecorded)
{
    gDownloadState() = DownloadState();
    LiveUpdateMgr &manager = m_rig->Build();
    m_rig->StartFullDownload(answer);
    if (!isRecorded) {
        return;
    }
    Record();
    const auto downloaders = manager.findChildren<DownloadMgr *>();
    for (const DownloadMgr *downloader : downloaders) {
        QObject::connect(downloader, &DownloadMgr::DownloadProgress, &manager,
                         [this] { Record(); });
    }
}

void LostPower::Record()
{
    // A flush that ends after this point keeps more bytes than are recorded here. The state claims
    // none of them yet, because it is written on this thread.
    RecordedMoment moment;
    moment.flushed = m_disk.Flushed();
    moment.state = gReadFile(m_rig->StateFile());
    moment.data = gReadFile(m_rig->Target());
    m_moments.append(moment);
    m_tally->State();
}

RecordedMoment LostPower::MomentAt(int index)
{
    constexpr int oneIn = 2;

    RecordedMoment moment = m_moments.at(index);
    if (m_random.bounded(oneIn) == 0) {
        moment.state = MixedState(index);
    }
    return moment;
}

/// The state is written over in place without a sync, and a disk writes whole sectors in any order: it
/// may have an earlier one for each.
QByteArray LostPower::MixedState(int index)
{
    constexpr int sectorSize = 512;

    QByteArray mixed = m_moments.at(index).state;
    for (int at = 0; at < mixed.size(); at += sectorSize) {
        const QByteArray &earlier = m_moments.at(m_random.bounded(index + 1)).state;
        if (earlier.size() == mixed.size()) {
            mixed.replace(at, sectorSize, earlier.mid(at, sectorSize));
        }
    }
    return mixed;
}

void LostPower::Fail(const RecordedMoment &moment, const PowerLoss &loss)
{
    constexpr int oneIn = 10;
    constexpr int goesOnOneIn = 8;

    gWriteFile(m_rig->StateFile(), moment.state);
    QFile::remove(m_rig->Installer());
    QFile::remove(m_rig->Target());
    if (loss.data.has_value()) {
        gWriteFile(m_rig->Target(), *loss.data);
    }
    ++m_boot;
    m_isBootTold = m_random.bounded(oneIn) != 0;
    m_disk.Keep(loss.data);
    QStringList problems = ProblemsOfClaims(moment);
    // At times the power fails again during the resumed download.
    const bool isNext = m_random.bounded(goesOnOneIn) == 0;
    if (isNext) {
        m_moments.clear();
    }
    problems += Resume(isNext);
    m_tally->Case(QStringLiteral("boot %1 of seed %2, a package of %3 bytes, %4")
                      .arg(m_boot)
                      .arg(m_seed)
                      .arg(m_package.size())
                      .arg(loss.how),
                  problems);
}

/// Checks that every byte that the state claims as flushed was flushed.
QStringList LostPower::ProblemsOfClaims(const RecordedMoment &moment)
{
    QStringList problems;
    const DiskState state = DiskState::Read(m_rig->StateFile());
    const auto bounds = gRangeBounds(m_package.size());
    const QByteArray flushed = moment.flushed.value_or(QByteArray());
    for (size_t index = 0; index < state.flushed.size(); ++index) {
        const int first = static_cast<int>(bounds.at(index));
        const int count = static_cast<int>(state.flushed.at(index)) - first;
        m_written += state.start.at(index) - first;
        m_kept += count;
        if (count > 0 && flushed.mid(first, count) != m_package.mid(first, count)) {
            problems.append(QStringLiteral("range %1 was not flushed up to byte %2")
                                .arg(index + 1)
                                .arg(first + count));
        }
    }
    return problems;
}

QStringList LostPower::Missing() const
{
    const DiskState state = DiskState::Read(m_rig->StateFile());
    const bool resumes = state.packageSize == m_package.size() && QFile::exists(m_rig->Target());
    const auto bounds = gRangeBounds(m_package.size());
    QStringList ranges;
    for (size_t index = 0; index < state.start.size(); ++index) {
        const qint64 first = bounds.at(index);
        const qint64 past = bounds.at(index + 1);
        const qint64 next =
            resumes ? std::min(state.start.at(index), std::max(first, state.flushed.at(index)))
                    : first;
        const bool isLast = index + 1 == state.start.size();
        if (next < past) {
            ranges.append("bytes=" + QString::number(next) + '-' +
                          (isLast ? QString() : QString::number(past - 1)));
        }
    }
    ranges.sort();
    return ranges;
}

QStringList LostPower::Resume(bool isRecorded)
{
    const QStringList missing = Missing();
    m_rig->Forget();
    const int boxes = m_rig->Boxes();
    Download(Answer(isRecorded), isRecorded);
    QStringList problems;
    if (!QTest::qWaitFor(
            [this, boxes] { return m_rig->Boxes() > boxes || m_rig->Pages().contains("hint"); },
            limitMs)) {
        problems.append("it does not end");
    }
    m_rig->Destroy();
    if (gReadFile(m_rig->Installer()) != m_package) {
        problems.append("the package is not there, " + m_rig->HintText());
    }
    const QStringList asked = gRangeHeaders(m_rig->Server());
    if (asked != missing) {
        problems.append("asked for " + asked.join(' ') + " where " + missing.join(' ') +
                        " were missing");
    }
    return problems;
}
