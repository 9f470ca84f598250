// SPDX-License-Identifier: MIT

#include "tests/kill/DiskState.h"

#include "tests/support/IniText.h"

DiskState DiskState::Read(const QString &path)
{
    const QMap<QString, QString> values = gReadIniText(path);
    DiskState state;
    state.packageSize = values.value("FullPackage_size/FullPackage_size").toLongLong();
    state.boot = values.value("Flushed/Boot_Id");
    for (size_t index = 0; index < rangeCount; ++index) {
        const QString number = QString::number(index + 1);
        state.start.at(index) = values.value("DownLoad_Tasks/Start_Byte" + number).toLongLong();
        state.flushed.at(index) = values.value("Flushed/Flushed_Byte" + number).toLongLong();
    }
    return state;
}

std::array<qint64, DiskState::rangeCount + 1> gRangeBounds(qint64 total)
{
    std::array<qint64, DiskState::rangeCount + 1> bounds{};
    for (size_t index = 0; index < DiskState::rangeCount; ++index) {
        bounds.at(index) = static_cast<qint64>(index) * (total / DiskState::rangeCount);
    }
    bounds.back() = total;
    return bounds;
}
