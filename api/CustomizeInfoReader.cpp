// SPDX-License-Identifier: MIT

#include "api/CustomizeInfoReader.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>

namespace
{
// The two exports of the customisation library, as host/HvUtilities/HvUtilities.h declares them.
using LoadCustomizeXmlFile = int (*)(const char16_t *path);
using ReadCustomizeInfoExport = int (*)(const char16_t *key, const char16_t *language,
                                        char16_t *buffer, int bufferUnits, int, int);

const char16_t *gUtf16(const QString &text)
{
    return reinterpret_cast<const char16_t *>(text.utf16());
}
} // namespace

CustomizeInfoReader::CustomizeInfoReader(QObject *parent)
    : QObject(parent)
{
    const QString folder = QCoreApplication::applicationDirPath() + QLatin1Char('/');
    m_library.Load(folder + QStringLiteral("HvUtilities.dll"));
    if (auto load = m_library.Resolve<LoadCustomizeXmlFile>("LoadCustomizeXMLFileW")) {
        const QString file = folder + QStringLiteral("Customization.xml");
        load(gUtf16(file));
    }
}

CustomizeInfoReader::~CustomizeInfoReader() = default;

QString CustomizeInfoReader::ReadCustomizeInfo(QString language, QString key)
{
    const auto read = m_library.Resolve<ReadCustomizeInfoExport>("ReadCustomizeInfoW");
    if (read == nullptr) {
        return QStringLiteral("");
    }
    // The buffer begins with the digit zero, so a store that succeeds without writing gives "0".
    // Held by tst_CustomizeInfoReader.
    std::array<char16_t, 256> buffer{u'0'};
    const auto size = static_cast<int>(buffer.size());
    if (read(gUtf16(key), gUtf16(language), buffer.data(), size, 0, 0) == 0) {
        return QStringLiteral("");
    }
    const auto end = std::find(buffer.begin(), buffer.end(), u'\0');
    return QString::fromUtf16(buffer.data(), static_cast<int>(end - buffer.begin()));
}
