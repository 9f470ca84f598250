// SPDX-License-Identifier: MIT

#include "tests/host/bspatch/RandomPatch.h"

#include "tests/support/TestBytes.h"

#include <QRandomGenerator>

namespace
{
/// Zeros with a few other bytes among them, like the differences of two similar files.
QByteArray gSparseDiff(int size, QRandomGenerator *random)
{
    QByteArray diff(size, '\0');
    for (int index = 0; index < size; index += random->bounded(1, 5000)) {
        diff[index] = static_cast<char>(random->bounded(256));
    }
    return diff;
}
} // namespace

RandomPatch RandomPatch::Make(const QByteArray &old, int newSize, int longestStep, int lowest)
{
    QRandomGenerator random(static_cast<quint32>(longestStep));
    RandomPatch patch;
    int position = 0;
    while (patch.newContent.size() < newSize) {
        const QByteArray diff = gSparseDiff(random.bounded(longestStep), &random);
        const QByteArray extra =
            gTestBytes(random.bounded(longestStep / 20 + 1), random.generate());
        patch.newContent += Sum(old, position, diff) + extra;
        const int end = position + diff.size();
        position = qMax(lowest, end + random.bounded(-longestStep, longestStep / 2));
        patch.writer.AddStep(diff, extra, position - end);
    }
    return patch;
}

QByteArray RandomPatch::Sum(const QByteArray &old, qint64 position, const QByteArray &diff)
{
    QByteArray sum = diff;
    for (int index = 0; index < sum.size(); ++index) {
        const qint64 from = position + index;
        if (from >= 0 && from < old.size()) {
            sum[index] = static_cast<char>(sum.at(index) + old.at(static_cast<int>(from)));
        }
    }
    return sum;
}
