// SPDX-License-Identifier: MIT

#pragma once

#include "platform/AtomicRename.h"
#include "platform/BootIdentity.h"
#include "platform/FileIdentity.h"
#include "platform/PrivateFolder.h"
#include "platform/StableStorage.h"
#include "update/base/BackgroundFlush.h"

#include <QDateTime>
#include <QtGlobal>

#include <chrono>
#include <functional>

class QObject;

/// Calls @p action once @p delay has passed, on the thread of @p context and while that lives.
void gCallLater(std::chrono::milliseconds delay, QObject *context,
                const std::function<void()> &action);

/// What a download takes from the system around it, and its limits. The values written here are the
/// real ones; a test changes them and injects its faults here.
///
/// It is handed in at the top and passed on by reference; it outlives every dialog that uses it.
struct DownloadSystem {
    /// How long a size query may stay without an answer.
    std::chrono::milliseconds sizeLimit{30000};
    /// How long a range, and a signed answer to a check, may stay without a byte.
    std::chrono::milliseconds stallLimit{30000};
    /// How long a signed answer may take in all: a server that sends a byte now and then would keep the
    /// user waiting for days.
    std::chrono::milliseconds answerLimit{300000};
    /// How long the patch program may take.
    std::chrono::milliseconds patchLimit{90000};
    /// How long a file that another program holds is waited for, and how often it is tried.
    std::chrono::milliseconds replaceLimit{10000};
    std::chrono::milliseconds replacePause{250};
    /// At the latest after so many bytes, and after so much time, data goes to stable storage.
    qint64 flushBytes = qint64{64} * 1024 * 1024;
    std::chrono::milliseconds flushTime{5000};

    std::function<void(std::chrono::milliseconds, QObject *, const std::function<void()> &)>
        callLater = gCallLater;
    /// By this machine's clock. An invalid time is a clock that cannot be read.
    std::function<QDateTime()> now = QDateTime::currentDateTimeUtc;
    std::function<QString()> bootIdentity = gBootIdentity;
    FlushFunction flush = gFlushToDisk;
    std::function<void(const QString &)> flushFolder = gFlushFolder;
    std::function<QString(const QString &)> fileIdentity = gFileIdentity;
    std::function<RenameResult(const QString &, const QString &, QString *)> renameOver =
        gRenameOver;
    std::function<QString(QString *failure)> privateFolder = gPrivateFolder;
};

/// The real system, for the dialog.
const DownloadSystem &gRealSystem();
