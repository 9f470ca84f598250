// SPDX-License-Identifier: MIT

#include "platform/FileName.h"

#include <QRegularExpression>

#include <algorithm>

namespace
{
/// In bytes on Unix, in UTF-16 code units on Windows.
constexpr int longestName = 255;

bool gIsDropped(QChar last)
{
    return last == QLatin1Char('.') || last == QLatin1Char(' ');
}

/// The names of devices, which stand for the device in every folder and with every extension.
bool gIsDevice(const QString &name)
{
    static const QRegularExpression device(
        QStringLiteral(
            "\\A(CON|PRN|AUX|NUL|CLOCK\\$|CONIN\\$|CONOUT\\$|(COM|LPT)[0-9\u00b9\u00b2\u00b3])"
            " *(\\..*)?\\z"),
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption);
    return device.match(name).hasMatch();
}

bool gHasMeaning(QChar character)
{
    return character < QLatin1Char(' ') || QStringLiteral("<>:\"/\\|?*").contains(character);
}

bool gIsWindowsName(const QString &name)
{
    return name.size() <= longestName && !gIsDropped(name.back()) &&
           std::none_of(name.begin(), name.end(), gHasMeaning) && !gIsDevice(name);
}

bool gIsUnixName(const QString &name)
{
    return name.toUtf8().size() <= longestName && name != QLatin1String(".") &&
           name != QLatin1String("..") && !name.contains(QLatin1Char('/')) &&
           !name.contains(QChar::Null);
}

QString gWithoutDropped(QString name)
{
    while (!name.isEmpty() && gIsDropped(name.back())) {
        name.chop(1);
    }
    return name;
}
} // namespace

bool gIsFileName(const QString &name, FileNameRules rules)
{
    if (name.isEmpty()) {
        return false;
    }
    switch (rules) {
    case FileNameRules::Unix:
        return gIsUnixName(name);
    case FileNameRules::Windows:
        return gIsWindowsName(name);
    }
    return false;
}

bool gIsSameFileName(const QString &one, const QString &other, FileNameRules rules)
{
    switch (rules) {
    case FileNameRules::Unix:
        return one == other;
    case FileNameRules::Windows:
        return gWithoutDropped(one).compare(gWithoutDropped(other), Qt::CaseInsensitive) == 0;
    }
    return false;
}

QString gProgramName(const QString &name, FileNameRules rules)
{
    const QString ending = QStringLiteral(".exe");

    switch (rules) {
    case FileNameRules::Unix:
        return name;
    case FileNameRules::Windows:
        return name.endsWith(ending, Qt::CaseInsensitive) ? name : name + ending;
    }
    return name;
}
