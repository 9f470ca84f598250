// SPDX-License-Identifier: MIT

#include "update/plan/Manifest.h"

#include "update/plan/ManifestHandler.h"

#include <QMutex>
#include <QMutexLocker>
#include <QThread>
#include <QXmlSimpleReader>

QT_WARNING_PUSH
QT_WARNING_DISABLE_DEPRECATED

namespace
{
class ParserThread : public QThread
{
public:
    explicit ParserThread(const QString &xml)
        : m_xml(xml)
    {
        // The parser takes some 400 bytes for each level. The host's thread may have 1 MiB in all, and may
        // have used much of it.
        setStackSize(4 * 1024 * 1024);
    }

    ManifestValues Result()
    {
        const QMutexLocker locker(&m_mutex);
        return m_manifest;
    }

protected:
    void run() override
    {
        ManifestSource source(m_xml);
        ManifestHandler handler(source);
        // Not QXmlStreamReader: manifests that it refuses, such as those of XML 1.1 and those with an
        // entity that is not declared, have always been read.
        QXmlSimpleReader reader;
        reader.setFeature(QStringLiteral("http://xml.org/sax/features/namespaces"), false);
        reader.setFeature(QStringLiteral("http://xml.org/sax/features/namespace-prefixes"), true);
        // As in a document tree of Qt, where white space alone is no text.
        reader.setFeature(
            QStringLiteral("http://qt-project.org/xml/features/report-whitespace-only-CharData"),
            false);
        reader.setContentHandler(&handler);
        reader.setLexicalHandler(&handler);
        // What the parser read before an error is dropped: half a manifest could start an update.
        if (reader.parse(source)) {
            const QMutexLocker locker(&m_mutex);
            m_manifest = handler.Result();
        }
    }

private:
    QString m_xml;
    /// Orders the threads for tools that do not know Qt's own wait.
    QMutex m_mutex;
    ManifestValues m_manifest;
};
} // namespace

QT_WARNING_POP

ManifestValues gReadManifest(const QString &xml)
{
    if (xml.isEmpty()) {
        return {};
    }
    ParserThread parser(xml);
    parser.start();
    parser.wait();
    return parser.Result();
}
