// SPDX-License-Identifier: MIT

// The manifest: any answer of a service to a check, up to the HTML of the release notes.

#include "tests/fuzz/FuzzTarget.h"
#include "update/check/VersionPageHtml.h"
#include "update/UpdateCommon/VersionInfo.h"

#include <QString>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QString xml =
        QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<int>(size));
    static VersionInfo info(QString(), nullptr); // a later manifest is read into the same object
    info.setXml(xml);
    BuildVersionPageHtml(info.ReleaseNotes());
    return 0;
}
