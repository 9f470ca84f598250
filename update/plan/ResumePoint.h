// SPDX-License-Identifier: MIT

#pragma once

#include "update/plan/DownloadPlan.h"
#include "update/plan/ResumeState.h"

#include <QString>

#include <array>

/// Where an interrupted download goes on.
struct ResumePoint {
    std::array<ByteRange, ResumeState::rangeCount> ranges{};
    qint64 alreadyDownloaded = 0;
    /// The machine may have lost data that it had not put on stable storage, so the ranges go back to
    /// what it had.
    bool isTakenBack = false;
};

/// Reads @p state, which belongs to a package of @p total bytes.
///
/// Within the boot that wrote the data, a range goes on at its next byte. After another start of the
/// machine, it goes on at the byte up to which its data were flushed. A state that names
/// no boot was written by another version of the module, and its next bytes are used.
/// @param boot the identity of this boot; empty counts as another one
ResumePoint gResumePoint(const ResumeState &state, qint64 total, const QString &boot);

/// Whether every range of @p point lies where a plan can have put it, and something can come of it: a
/// server would refuse other ranges every time, and a package of @p total bytes whose ranges are all
/// complete with another number of bytes would never be.
bool gIsUsable(const ResumePoint &point, qint64 total);

/// Whether @p state is that of @p download. One that does not say so is taken at its word.
bool gBelongsTo(const ResumeState &state, const DownloadIdentity &download);

/// Whether @p download, a package of @p total bytes, goes on at @p point of @p state in the file at
/// @p target. The log says why not when that belongs to something else.
bool gCanResume(const ResumeState &state, const ResumePoint &point, qint64 total,
                const QString &target, const DownloadIdentity &download);

/// The beginning of a package of @p total bytes.
ResumePoint gFreshStart(qint64 total);

/// Sets in @p state that @p download, of @p total bytes, goes on at @p point, and that what lies before
/// that is on stable storage.
void gSetPlan(ResumeState *state, qint64 total, const ResumePoint &point, const QString &boot,
              const DownloadIdentity &download);
