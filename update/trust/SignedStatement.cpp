// SPDX-License-Identifier: MIT

#include "update/trust/SignedStatement.h"

#include "update/trust/DecimalNumber.h"
#include "update/trust/Sha256.h"

#include <QMap>
#include <QRegularExpression>
#include <QStringList>
#include <QXmlStreamReader>

namespace
{
const QString statementName = QStringLiteral("Signed");
const QString expiresName = QStringLiteral("Expires");

const QStringList &gValueNames()
{
    static const QStringList names{
        QStringLiteral("Serial"),     QStringLiteral("Expires"),      QStringLiteral("ForVersion"),
        QStringLiteral("FullSha256"), QStringLiteral("FullSize"),     QStringLiteral("PatchSha256"),
        QStringLiteral("PatchSize"),  QStringLiteral("ResultSha256"),
    };
    return names;
}

/// Collects the texts of the statement, and refuses what stands in the wrong place.
class StatementReader
{
public:
    explicit StatementReader(const QByteArray &manifest)
        : m_xml(QString::fromUtf8(manifest))
    {
        m_xml.setNamespaceProcessing(false);
    }

    bool Read()
    {
        while (!m_xml.atEnd() && m_refusal.isEmpty()) {
            Take(m_xml.readNext());
        }
        if (m_refusal.isEmpty() && m_xml.hasError()) {
            m_refusal = QStringLiteral("the manifest is no XML, ") + m_xml.errorString();
        }
        if (m_refusal.isEmpty() && !m_hasStatement) {
            m_refusal = QStringLiteral("the manifest has no element Signed");
        }
        return m_refusal.isEmpty();
    }

    QString Refusal() const { return m_refusal; }
    bool Has(const QString &name) const { return m_values.contains(name); }
    QString Value(const QString &name) const { return m_values.value(name); }

private:
    void Take(QXmlStreamReader::TokenType token)
    {
        if (token == QXmlStreamReader::DTD) {
            m_refusal = QStringLiteral("the manifest has a document type");
        } else if (token == QXmlStreamReader::StartElement) {
            m_open.append(m_xml.name().toString());
            TakeElement();
        } else if (token == QXmlStreamReader::EndElement) {
            m_open.removeLast();
        }
    }

    void TakeElement()
    {
        const QString name = m_open.last();
        constexpr int statementLevel = 2;
        constexpr int valueLevel = 3;
        if (name == statementName) {
            if (m_hasStatement || m_open.size() != statementLevel) {
                m_refusal =
                    QStringLiteral("the element Signed stands twice, or not below the root");
            }
            m_hasStatement = true;
        } else if (gValueNames().contains(name)) {
            if (m_open.size() != valueLevel || m_open.at(1) != statementName) {
                m_refusal = QStringLiteral("the element %1 stands outside of Signed").arg(name);
            } else if (m_values.contains(name)) {
                m_refusal = QStringLiteral("the element %1 stands twice").arg(name);
            } else {
                m_values.insert(name, m_xml.readElementText());
                m_open.removeLast();
            }
        }
    }

    QXmlStreamReader m_xml;
    QStringList m_open;
    QMap<QString, QString> m_values;
    bool m_hasStatement = false;
    QString m_refusal;
};

/// Both texts of a file, or none of them.
bool gReadFile(const QString &sha256, const QString &size, std::optional<SignedFile> *file)
{
    if (sha256.isEmpty() && size.isEmpty()) {
        return true;
    }
    const std::optional<quint64> bytes = gReadDecimal(size);
    const auto most = static_cast<quint64>(std::numeric_limits<qint64>::max());
    if (!gIsSha256(sha256) || !bytes || *bytes == 0 || *bytes > most) {
        return false;
    }
    *file = SignedFile{sha256, static_cast<qint64>(*bytes)};
    return true;
}

bool gReadExpires(const QString &text, std::optional<QDateTime> *expires)
{
    static const QRegularExpression form(
        QStringLiteral("\\A[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}Z\\z"));
    if (text.isEmpty()) {
        return true;
    }
    const QDateTime time = QDateTime::fromString(text, Qt::ISODate);
    if (!form.match(text).hasMatch() || !time.isValid()) {
        return false;
    }
    *expires = time;
    return true;
}

/// The name of the first value that is not as it has to be; empty when there is none.
QString gReadValues(const StatementReader &values, SignedStatement *statement)
{
    const auto value = [&values](const char *name) { return values.Value(QLatin1String(name)); };
    const std::optional<quint64> serial = gReadDecimal(value("Serial"));
    if (!serial || *serial == SignedStatement::serialLimit) {
        return QStringLiteral("Serial");
    }
    statement->serial = *serial;
    if (!gReadExpires(value("Expires"), &statement->expires)) {
        return QStringLiteral("Expires");
    }
    statement->forVersion = value("ForVersion");
    if (!gReadFile(value("FullSha256"), value("FullSize"), &statement->full)) {
        return QStringLiteral("FullSha256 or FullSize");
    }
    if (!gReadFile(value("PatchSha256"), value("PatchSize"), &statement->patch)) {
        return QStringLiteral("PatchSha256 or PatchSize");
    }
    statement->resultSha256 = value("ResultSha256");
    const bool hasResult = !statement->resultSha256.isEmpty();
    if (hasResult != statement->patch.has_value() ||
        (hasResult && !gIsSha256(statement->resultSha256))) {
        return QStringLiteral("ResultSha256");
    }
    return {};
}
} // namespace

std::optional<SignedStatement> gReadSignedStatement(const QByteArray &manifest, QString *refusal)
{
    StatementReader reader(manifest);
    if (!reader.Read()) {
        *refusal = reader.Refusal();
        return std::nullopt;
    }
    for (const QString &name : gValueNames()) {
        if (name != expiresName && !reader.Has(name)) {
            *refusal = QStringLiteral("the element %1 is missing in Signed").arg(name);
            return std::nullopt;
        }
    }
    SignedStatement statement;
    const QString wrong = gReadValues(reader, &statement);
    if (!wrong.isEmpty()) {
        *refusal = QStringLiteral("the value of %1 in Signed is none").arg(wrong);
        return std::nullopt;
    }
    return statement;
}
