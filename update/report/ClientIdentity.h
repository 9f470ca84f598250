// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

/// The client sign: a text in the shape of a GUID that names one machine across runs and across the
/// maker's programs. It is read where it is stored, or else made and stored for the machine.
///
/// Thread:    one thread. Ownership: a value, created for one question.
/// Errors:    none; a missing source leads to the next one, and without any the sign is empty.
class ClientIdentity
{
public:
    /// Where the parts of a sign come from; the real machine unless a caller passes others.
    struct Sources {
        std::function<QByteArray()> adapterAddressHex;
        std::function<QByteArray()> systemVolumeSerialHex;
        std::function<QByteArray()> diskIdentifier;
        std::function<QString()> newGuidString;

        static Sources OfThisMachine();
    };

    explicit ClientIdentity(Sources sources = Sources::OfThisMachine());

    /// The stored sign of @p company, or a new one, which is stored then.
    QString GetClientSign(const QString &company) const;

    /// The stored sign; empty when there is none.
    QString ReadClientSign(const QString &company) const;

    /// A sign made of the machine's own identifiers, or a new GUID where they are missing:
    /// "{volume serial-disk-disk-disk-adapter}", 38 characters, upper-case.
    QString MakeClientSign() const;

private:
    Sources m_sources;
};
