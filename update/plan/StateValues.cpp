// SPDX-License-Identifier: MIT

#include "update/plan/StateValues.h"

#include <QHash>

namespace
{
/// A disk writes no less than this at once, and this never by halves.
constexpr int sectorSize = 512;

QByteArray gInSectors(const QByteArray &text)
{
    const int sectors = text.size() / sectorSize + 1;
    return text.leftJustified(sectors * sectorSize - 1, ' ') + '\n';
}
} // namespace

StateValues::StateValues(const QString &path)
    : m_file(path)
{
}

std::shared_ptr<StateValues> StateValues::Of(const QString &path)
{
    static QHash<QString, std::weak_ptr<StateValues>> inUse;

    std::shared_ptr<StateValues> values = inUse.value(path).lock();
    if (values == nullptr) {
        values = std::make_shared<StateValues>(path);
        inUse.insert(path, values);
    }
    return values;
}

std::size_t StateValues::PartOf(const QByteArray &key)
{
    if (key.startsWith("DownLoad_Tasks/") || key.startsWith("AlreadyDownload_size/")) {
        return 0;
    }
    return key.startsWith("Flushed/") ? 1 : 2;
}

QByteArray StateValues::Value(const QByteArray &key) const
{
    return m_parts.at(PartOf(key)).value(key);
}

bool StateValues::Contains(const QByteArray &key) const
{
    return m_parts.at(PartOf(key)).contains(key);
}

void StateValues::SetValue(const QByteArray &key, const QByteArray &value)
{
    IniValues &part = m_parts.at(PartOf(key));
    const auto old = part.find(key);
    if (old == part.end()) {
        part.insert(key, value);
        m_isChanged = true;
    } else if (*old != value) {
        *old = value;
        m_isChanged = true;
    }
}

QByteArray StateValues::Text() const
{
    QByteArray text;
    for (const IniValues &part : m_parts) {
        text += gInSectors(gIniText(part));
    }
    return text;
}

/// The text for the file that is open, which keeps its length.
QByteArray StateValues::TextInPlace() const
{
    return Text().leftJustified(m_file.Size(), '\n');
}

void StateValues::Reload()
{
    // While the file is open, a plan of this process runs, and nobody else writes it.
    if (m_isChanged || IsOpen()) {
        return;
    }
    const QByteArray text = m_file.Read();
    m_parts = {};
    const IniValues values = gParseIni(text);
    for (auto value = values.begin(); value != values.end(); ++value) {
        m_parts.at(PartOf(value.key())).insert(value.key(), value.value());
    }
}

bool StateValues::Sync()
{
    if (m_file.HasName() && m_file.Overwrite(TextInPlace())) {
        m_isChanged = false;
    } else {
        EndReplacement(gReplaceStateFile(Path(), BeginReplacement()));
    }
    return !m_isChanged;
}

bool StateValues::SyncProgress()
{
    const QByteArray progress = gInSectors(gIniText(m_parts.front()));
    if (progress.size() > sectorSize || !m_file.Overwrite(progress)) {
        return Sync();
    }
    m_isChanged = false; // The rest has been synced, or the file would not be open.
    return true;
}

QByteArray StateValues::BeginReplacement()
{
    m_file.Close();
    return Text();
}

void StateValues::EndReplacement(bool isReplaced)
{
    if (isReplaced) {
        m_file.Open(Text());
    }
    m_isChanged = !isReplaced;
}

void StateValues::AbandonReplacement()
{
    m_isChanged = false;
}
