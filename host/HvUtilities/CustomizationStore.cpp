// SPDX-License-Identifier: MIT

#include "CustomizationStore.h"

#include <QFile>
#include <QXmlStreamReader>

bool CustomizationStore::Load(const QString &path)
{
    m_values.clear();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    const std::optional<Values> values = Parse(&file);
    m_values = values.value_or(Values());
    return values.has_value();
}

std::optional<QString> CustomizationStore::Value(const QString &key, const QString &language) const
{
    auto value = m_values.constFind({key, language});
    if (value == m_values.constEnd()) {
        value = m_values.constFind({key, QString()});
    }
    if (value == m_values.constEnd()) {
        return std::nullopt;
    }
    return *value;
}

std::optional<CustomizationStore::Values> CustomizationStore::Parse(QIODevice *file)
{
    QXmlStreamReader xml(file);
    if (!xml.readNextStartElement() || xml.name() != QLatin1String("Customization")) {
        return std::nullopt;
    }

    Values values;
    while (xml.readNextStartElement()) {
        if (xml.name() != QLatin1String("Entry")) {
            xml.skipCurrentElement();
            continue;
        }
        const QString key = xml.attributes().value(QLatin1String("key")).toString();
        const QString language = xml.attributes().value(QLatin1String("language")).toString();
        values.insert({key, language}, xml.readElementText().trimmed());
    }
    // Read to the end: a second root element makes the file not well-formed.
    while (!xml.atEnd()) {
        xml.readNext();
    }
    if (xml.hasError()) {
        return std::nullopt;
    }
    return values;
}
