#include "tests/platform/DocumentsElsewhere.h"

#include <QFile>

namespace
{
constexpr char variable[] = "XDG_DATA_HOME";
} // namespace

DocumentsElsewhere::DocumentsElsewhere(const QString &folder)
    : m_former(qgetenv(variable))
{
    qputenv(variable, QFile::encodeName(folder));
}

DocumentsElsewhere::~DocumentsElsewhere()
{
    if (m_former.isNull()) {
        qunsetenv(variable);
    } else {
        qputenv(variable, m_former);
    }
}
