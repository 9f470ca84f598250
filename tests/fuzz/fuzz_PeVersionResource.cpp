// SPDX-License-Identifier: MIT

// The version resource of a file in the folder of the kept installers, which any user can write.

#include "platform/PeVersionResource.h"
#include "tests/fuzz/FuzzTarget.h"

#include <QBuffer>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), static_cast<int>(size));
    QBuffer device(&bytes);
    device.open(QIODevice::ReadOnly);
    gIsPortableExecutable(device);
    gPeFileVersion(device);
    return 0;
}
