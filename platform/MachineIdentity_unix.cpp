// SPDX-License-Identifier: MIT

#include "platform/MachineIdentity.h"

#include <QFile>
#include <QFileInfo>
#include <QNetworkInterface>
#include <QUuid>

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>

namespace
{
/// The folder under /sys of the disk with the root file system; empty when that is on no disk.
QString gRootDiskFolder()
{
    struct stat root {
    };
    if (stat("/", &root) != 0) {
        return {};
    }
    const QFileInfo device(
        QStringLiteral("/sys/dev/block/%1:%2").arg(major(root.st_dev)).arg(minor(root.st_dev)));
    const QString folder = device.canonicalFilePath();
    // The folder of a partition is inside that of its disk.
    const bool isPartition = QFile::exists(folder + QStringLiteral("/partition"));
    return isPartition ? QFileInfo(folder).path() : folder;
}
} // namespace

QByteArray AdapterAddressHex()
{
    constexpr int addressDigits = 12;

    const QList<QNetworkInterface> interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface &interface : interfaces) {
        const QString digits = interface.hardwareAddress().remove(QLatin1Char(':')).toUpper();
        if (digits.size() >= addressDigits &&
            !interface.flags().testFlag(QNetworkInterface::IsLoopBack)) {
            return digits.left(addressDigits).toLatin1();
        }
    }
    return {};
}

QByteArray SystemVolumeSerialHex()
{
    struct statvfs root {
    };
    quint32 serial = 0;
    if (statvfs("/", &root) == 0) {
        serial = static_cast<quint32>(root.f_fsid ^ (quint64{root.f_fsid} >> 32U));
    }
    return QByteArray::number(serial, 16).rightJustified(8, '0').toUpper();
}

QByteArray DiskIdentifier()
{
    const QString disk = gRootDiskFolder();
    if (disk.isEmpty()) {
        return {};
    }
    // The file depends on the kind of disk: virtio; NVMe; SCSI and SATA.
    for (const char *name : {"/serial", "/device/serial", "/device/wwid"}) {
        QFile file(disk + QLatin1String(name));
        if (file.open(QIODevice::ReadOnly)) {
            const QByteArray text = file.readAll().trimmed();
            if (!text.isEmpty()) {
                return text;
            }
        }
    }
    return {};
}

QString NewGuidString()
{
    return QUuid::createUuid().toString().toUpper();
}
