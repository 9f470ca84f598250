// SPDX-License-Identifier: MIT

#include "update/plan/IniFormat.h"

#include <QList>

#include <algorithm>
#include <cstring>

namespace
{
QByteArray gUnquoted(const QByteArray &text)
{
    if (!text.startsWith('"')) {
        return text;
    }
    QByteArray plain;
    for (int index = 1; index < text.size() && text.at(index) != '"'; ++index) {
        if (text.at(index) == '\\' && index + 1 < text.size()) {
            ++index;
        }
        plain += text.at(index);
    }
    return plain;
}

bool gIsNumber(const QByteArray &text)
{
    return std::all_of(text.begin(), text.end(),
                       [](char character) { return character >= '0' && character <= '9'; });
}

QByteArray gQuoted(const QByteArray &value)
{
    if (gIsNumber(value)) {
        return value; // as most values are that every chunk writes
    }
    QByteArray text = value;
    text.replace('\n', ' ').replace('\r', ' ');
    const bool isPlain =
        text == text.trimmed() && std::none_of(text.begin(), text.end(), [](char character) {
            return std::strchr("\"\\,;=", character) != nullptr;
        });
    if (isPlain) {
        return text;
    }
    text.replace('\\', "\\\\").replace('"', "\\\"");
    return '"' + text + '"';
}
} // namespace

IniValues gParseIni(const QByteArray &text)
{
    IniValues values;
    QByteArray group;
    for (const QByteArray &rawLine : text.split('\n')) {
        const QByteArray line = rawLine.trimmed();
        const int equals = line.indexOf('=');
        if (line.startsWith('[') && line.endsWith(']')) {
            group = line.mid(1).chopped(1) + '/';
        } else if (equals > 0 && !line.startsWith(';')) {
            values.insert(group + line.left(equals).trimmed(),
                          gUnquoted(line.mid(equals + 1).trimmed()));
        }
    }
    return values;
}

QByteArray gIniText(const IniValues &values)
{
    constexpr int expectedSize = 512;

    QByteArray text;
    text.reserve(expectedSize);
    QByteArray group;
    for (auto value = values.begin(); value != values.end(); ++value) {
        const QByteArray &key = value.key();
        const int nameStart = key.indexOf('/') + 1;
        if (group.size() != nameStart || !key.startsWith(group)) {
            group = key.left(nameStart);
            text += (text.isEmpty() ? "[" : "\n[") + group.left(group.size() - 1) + "]\n";
        }
        text.append(key.constData() + nameStart, key.size() - nameStart);
        text += '=';
        text += gQuoted(value.value());
        text += '\n';
    }
    return text;
}
