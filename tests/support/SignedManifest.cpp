// SPDX-License-Identifier: MIT

#include "tests/support/SignedManifest.h"

#include "tests/support/Md5.h"

#include <QCryptographicHash>

namespace
{
QByteArray gElement(const char *name, const QByteArray &text)
{
    return '<' + QByteArray(name) + '>' + text + "</" + name + ">\n";
}

/// Apart from the module's own digest, which is tested with this.
QByteArray gSha256(const QByteArray &bytes)
{
    return bytes.isNull() ? QByteArray()
                          : QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex();
}

QByteArray gSize(const QByteArray &bytes)
{
    return bytes.isNull() ? QByteArray() : QByteArray::number(bytes.size());
}
} // namespace

QByteArray SignedManifest::Document() const
{
    QByteArray text = "<Update>\n" + gElement("ExeUrl_x64", exeUrl.toUtf8());
    if (!full.isNull()) {
        text += gElement("Verify_x64", gMd5(full).toUtf8());
        text += "<WhatNews><Item><Version>9.2.0.0</Version><Text>&lt;li&gt;Faster&lt;/li&gt;"
                "</Text></Item></WhatNews>\n";
    }
    if (!patch.isNull()) {
        text += gElement("OldVerify_x64", gMd5(kept).toUtf8());
        text += "<IncreasePackage>\n" + gElement("Url_x64", patchUrl.toUtf8()) +
                gElement("Version", "9.2.0.0") + gElement("Verify_x64", gMd5(result).toUtf8()) +
                gElement("Size_x64", gSize(patch)) + "</IncreasePackage>\n";
    }
    text += "<Signed>\n" + gElement("Serial", serial) + gElement("Expires", expires) +
            gElement("ForVersion", forVersion) + gElement("FullSha256", gSha256(full)) +
            gElement("FullSize", gSize(full)) + gElement("PatchSha256", gSha256(patch)) +
            gElement("PatchSize", gSize(patch)) + gElement("ResultSha256", gSha256(result)) +
            moreSigned + "</Signed>\n";
    return text + more + "</Update>\n";
}
