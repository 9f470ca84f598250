// SPDX-License-Identifier: MIT

#include "tests/kill/PowerLoss.h"

#include "tests/support/TestBytes.h"

#include <QRandomGenerator>

#include <algorithm>

namespace
{
enum class Damage { Kept, Zeros, OldBytes, Count };

constexpr int longestBlock = 8192;
constexpr quint64 seedOfOldBytes = 4711;

/// The length of @p bytes up to the last one that is not zero; the file must not be cut before it.
int gLengthOfContent(const QByteArray &bytes)
{
    int length = bytes.size();
    while (length > 0 && bytes.at(length - 1) == '\0') {
        --length;
    }
    return length;
}

/// Damages the blocks of @p data that differ from @p flushed, each one independently.
void gDamageBlocks(QByteArray *data, const QByteArray &flushed, Damage fate,
                   QRandomGenerator *random)
{
    const QByteArray old = gTestBytes(data->size(), seedOfOldBytes);
    const bool isMixed = fate == Damage::Count;
    int blockEnd = 0;
    for (int offset = 0; offset < data->size(); ++offset) {
        if (offset == blockEnd) {
            blockEnd += random->bounded(1, longestBlock + 1);
            if (isMixed) {
                fate = static_cast<Damage>(random->bounded(static_cast<int>(Damage::Count)));
            }
        }
        const bool isFlushed = offset < flushed.size() && flushed.at(offset) == data->at(offset);
        if (!isFlushed && fate == Damage::Zeros) {
            (*data)[offset] = '\0';
        } else if (!isFlushed && fate == Damage::OldBytes) {
            (*data)[offset] = old.at(offset);
        }
    }
}
} // namespace

PowerLoss PowerLoss::Of(const RecordedMoment &moment, QRandomGenerator *random)
{
    constexpr int kinds = 5;

    const QByteArray flushed = moment.flushed.value_or(QByteArray());
    PowerLoss loss{moment.data, {}};
    switch (random->bounded(kinds)) {
    case 0:
        gDamageBlocks(&*loss.data, flushed, Damage::Zeros, random);
        loss.how = QStringLiteral("zeros");
        break;
    case 1:
        gDamageBlocks(&*loss.data, flushed, Damage::OldBytes, random);
        loss.how = QStringLiteral("old bytes");
        break;
    case 2: {
        const int kept = gLengthOfContent(flushed);
        loss.data->truncate(random->bounded(kept, std::max(kept, loss.data->size()) + 1));
        gDamageBlocks(&*loss.data, flushed, Damage::Count, random);
        loss.how = QStringLiteral("cut to %1 bytes").arg(loss.data->size());
        break;
    }
    case 3:
        if (!moment.flushed.has_value()) {
            return {std::nullopt, QStringLiteral("no file")};
        }
        [[fallthrough]];
    default:
        gDamageBlocks(&*loss.data, flushed, Damage::Count, random);
        loss.how = QStringLiteral("mixed");
        break;
    }
    return loss;
}
