// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>
#include <QtEndian>

#include <optional>
#include <utility>

/// Reads little-endian numbers out of a block of bytes; a place outside the block gives no value.
class LittleEndianBytes
{
public:
    LittleEndianBytes() = default;
    explicit LittleEndianBytes(QByteArray data)
        : m_data(std::move(data))
    {
    }

    qint64 Size() const { return m_data.size(); }

    template<typename Number>
    std::optional<Number> At(qint64 offset) const
    {
        if (offset < 0 || offset > Size() - static_cast<qint64>(sizeof(Number))) {
            return std::nullopt;
        }
        return qFromLittleEndian<Number>(m_data.constData() + offset);
    }

    /// The UTF-16 text from @p offset up to its terminator, or up to @p end when it has none.
    QString TextAt(qint64 offset, qint64 end) const
    {
        QString text;
        for (; offset + 2 <= end; offset += 2) {
            const auto unit = At<quint16>(offset);
            if (!unit.has_value() || *unit == 0) {
                break;
            }
            text += QChar(*unit);
        }
        return text;
    }

private:
    QByteArray m_data;
};
