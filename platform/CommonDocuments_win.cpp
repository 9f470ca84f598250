// SPDX-License-Identifier: MIT

#include "platform/CommonDocuments.h"

#include <QDir>

#include <array>

#include <windows.h>

#include <shlobj.h>

QString gCommonDocumentsFolder()
{
    std::array<wchar_t, MAX_PATH> folder{};
    constexpr BOOL create = TRUE;
    if (SHGetSpecialFolderPathW(nullptr, folder.data(), CSIDL_COMMON_DOCUMENTS, create) == FALSE) {
        return QStringLiteral("");
    }
    return QDir::cleanPath(QDir::fromNativeSeparators(QString::fromWCharArray(folder.data())));
}
