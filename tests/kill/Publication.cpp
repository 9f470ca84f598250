// SPDX-License-Identifier: MIT

#include "tests/kill/Publication.h"

#include "tests/support/Md5.h"
#include "tests/support/TestBytes.h"

Publication Publication::Of(const QString &version, int size, quint64 seed)
{
    const QByteArray program = "#!/bin/sh\nexit 0\n";
    return {version, "setup-" + version + ".run",
            program + gTestBytes(size - program.size(), seed)};
}

QByteArray Publication::Manifest(const QString &baseUrl) const
{
    return QStringLiteral("<Update><ExeUrl_x64>%1</ExeUrl_x64><Verify_x64>%2</Verify_x64>"
                          "<WhatNews><Item><Version>%3</Version>"
                          "<Text><![CDATA[<li>Faster export</li>]]></Text></Item></WhatNews>"
                          "</Update>")
        .arg(baseUrl + QString::fromUtf8(Path()), gMd5(bytes), version)
        .toUtf8();
}
