#pragma once

#include <QByteArray>
#include <QString>

/// Lets the system keep this process's common documents at another place, as long as the object
/// lives. One object at a time, and nothing else of the system is used meanwhile.
class DocumentsElsewhere
{
public:
    explicit DocumentsElsewhere(const QString &folder);
    ~DocumentsElsewhere();
    DocumentsElsewhere(const DocumentsElsewhere &) = delete;
    DocumentsElsewhere &operator=(const DocumentsElsewhere &) = delete;

private:
    // What the system had before, where that has to be kept.
    QByteArray m_former;
};
