// SPDX-License-Identifier: MIT

#include "HvUtilities.h"

#include "CustomizationStore.h"

#include <algorithm>

namespace
{
CustomizationStore &gCustomizationStore()
{
    static CustomizationStore store;
    return store;
}
} // namespace

int LoadCustomizeXMLFileW(const char16_t *path)
{
    return gCustomizationStore().Load(QString::fromUtf16(path)) ? 1 : 0;
}

int ReadCustomizeInfoW(const char16_t *key, const char16_t *language, char16_t *buffer,
                       int bufferUnits, int, int)
{
    if (buffer == nullptr || bufferUnits <= 0) {
        return 0;
    }
    const auto value =
        gCustomizationStore().Value(QString::fromUtf16(key), QString::fromUtf16(language));
    if (!value) {
        return 0;
    }

    const int units = std::min(value->size(), bufferUnits - 1);
    std::copy_n(reinterpret_cast<const char16_t *>(value->utf16()), units, buffer);
    buffer[units] = u'\0';
    return 1;
}
