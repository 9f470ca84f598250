// SPDX-License-Identifier: MIT

#include "update/trust/Base64Bytes.h"

#include <sodium.h>

QByteArray gFromBase64(const QByteArray &text, int size)
{
    QByteArray bytes(size, '\0');
    std::size_t length = 0;
    const char *const noBlanks = nullptr;
    // With no place for the end, anything behind the text is an error.
    const bool isRight = sodium_base642bin(reinterpret_cast<unsigned char *>(bytes.data()),
                                           static_cast<std::size_t>(size), text.constData(),
                                           static_cast<std::size_t>(text.size()), noBlanks, &length,
                                           nullptr, sodium_base64_VARIANT_ORIGINAL) == 0;
    return isRight && length == static_cast<std::size_t>(size) ? bytes : QByteArray();
}
