// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>

/// Gives this process common documents and stored settings of its own, in the place of the user's and the
/// machine's, for as long as the object lives. One object at a time.
///
/// Errors: what cannot be set up ends the whole test.
class SystemPlaces
{
public:
    enum class Owner { User, Machine };

    /// The documents are in "data" in @p folder.
    explicit SystemPlaces(const QString &folder);
    ~SystemPlaces();
    SystemPlaces(const SystemPlaces &) = delete;
    SystemPlaces &operator=(const SystemPlaces &) = delete;

    /// Moves the common documents to @p folder.
    static void PutDocuments(const QString &folder);

    /// The client sign at @p place, like "Halvard/TPX"; empty when there is none.
    static QString Sign(Owner owner, const QString &place);
    static void PutSign(Owner owner, const QString &place, const QString &sign);
    /// From now on no sign of @p company can be stored. There must be none yet.
    static void BlockSignsOf(const QString &company);

private:
    QMap<QByteArray, QByteArray> m_former;
};
