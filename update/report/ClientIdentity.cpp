// SPDX-License-Identifier: MIT

#include "update/report/ClientIdentity.h"

#include "platform/MachineIdentity.h"
#include "platform/SignStore.h"

#include <utility>

ClientIdentity::Sources ClientIdentity::Sources::OfThisMachine()
{
    return {&::AdapterAddressHex, &::SystemVolumeSerialHex, &::DiskIdentifier, &::NewGuidString};
}

ClientIdentity::ClientIdentity(Sources sources)
    : m_sources(std::move(sources))
{
}

QString ClientIdentity::GetClientSign(const QString &company) const
{
    const QString stored = ReadClientSign(company);
    if (!stored.isEmpty()) {
        return stored;
    }
    const QString sign = MakeClientSign();
    gStoreSign(company, sign);
    return sign;
}

QString ClientIdentity::ReadClientSign(const QString &company) const
{
    return gReadStoredSign(company);
}

QString ClientIdentity::MakeClientSign() const
{
    constexpr int addressLength = 12;
    constexpr int diskLength = 12;
    constexpr int serialLength = 8;

    const QByteArray address = m_sources.adapterAddressHex();
    const QByteArray serial = m_sources.systemVolumeSerialHex();
    const QByteArray disk =
        m_sources.diskIdentifier().replace('-', "").replace(' ', "").rightJustified(diskLength,
                                                                                    '0');
    if (address.size() < addressLength || disk.size() < diskLength ||
        serial.size() < serialLength) {
        return m_sources.newGuidString();
    }
    const QByteArray sign = '{' + serial.left(serialLength) + '-' + disk.mid(0, 4) + '-' +
                            disk.mid(4, 4) + '-' + disk.mid(8, 4) + '-' + address + '}';
    return QString::fromLatin1(sign.toUpper());
}
