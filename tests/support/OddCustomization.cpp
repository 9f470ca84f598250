// SPDX-License-Identifier: MIT

#include "tests/support/OddCustomization.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string>

namespace
{

std::string &gCalls()
{
    static std::string calls;
    return calls;
}

/// The tests use letters of ASCII only.
std::string gNarrow(const std::u16string &text)
{
    std::string narrow;
    std::transform(text.begin(), text.end(), std::back_inserter(narrow),
                   [](char16_t unit) { return static_cast<char>(unit); });
    return narrow;
}

} // namespace

const char *OddCustomizationCalls()
{
    return gCalls().c_str();
}

#ifdef ODD_CUSTOMIZATION_LOADS
int LoadCustomizeXMLFileW(const char16_t *path)
{
    gCalls() += "load(" + gNarrow(path) + ");";
    return 0;
}
#endif

#ifdef ODD_CUSTOMIZATION_READS
int ReadCustomizeInfoW(const char16_t *key, const char16_t *language, char16_t *buffer, int units,
                       int first, int second)
{
    const auto zeros = std::count(buffer + 1, buffer + units, u'\0');
    // The number conversions of the standard library would pin this library in the process: they
    // bring symbols that are unique in it.
    char numbers[80];
    (void)std::snprintf(numbers, sizeof(numbers), "%d,%d,%d,%d)", static_cast<int>(zeros), units,
                        first, second);
    gCalls() += "read(" + gNarrow(key) + "," + gNarrow(language) + "," + gNarrow({buffer[0]}) +
                "," + numbers;

    const std::u16string wanted = key;
    const auto write = [buffer](const std::u16string &text) {
        std::copy(text.begin(), text.end(), buffer);
    };
    if (wanted == u"silent") {
        return 1;
    }
    if (wanted == u"long") {
        write(std::u16string(255, u'x') + u'\0');
    } else if (wanted == u"endless") {
        write(std::u16string(256, u'x'));
    } else if (wanted == u"empty") {
        buffer[0] = u'\0';
    } else if (wanted == u"halves") {
        write(std::u16string(u"front") + u'\0' + u"back" + u'\0');
    } else {
        write(std::u16string(u"value") + u'\0');
    }
    return wanted == u"refuse" ? 0 : 1;
}
#endif
