// SPDX-License-Identifier: MIT

#include "BaseLog.h"

#include <QLoggingCategory>
#include <QString>

#include <cstdarg>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace
{
/// The category of @p file. Categories are never destroyed: destructors of static objects and
/// threads that outlast main() may still log.
const QLoggingCategory &gCategoryOf(const char *file)
{
    static auto *const mutex = new std::mutex;
    static auto *const categories = new std::map<std::string, std::unique_ptr<QLoggingCategory>>;

    const std::lock_guard<std::mutex> lock(*mutex);
    const auto [entry, isNew] = categories->try_emplace(std::string("corvina.") + file);
    if (isNew) {
        entry->second = std::make_unique<QLoggingCategory>(entry->first.c_str());
    }
    return *entry->second;
}

/// Messages quote what servers sent. A line break in it would begin a line of the log that looks
/// like one of the module's.
void gBlankControlCharacters(QString *message)
{
    for (QChar &character : *message) {
        const QChar::Category category = character.category();
        if (category == QChar::Other_Control || category == QChar::Separator_Line ||
            category == QChar::Separator_Paragraph) {
            character = QLatin1Char(' ');
        }
    }
}
} // namespace

BaseLog::~BaseLog() = default;

// The interface that hosts call is variadic.
// NOLINTNEXTLINE(cert-dcl50-cpp)
void BaseLog::Log(const char *file, const char *function, int line, const char *format, ...)
{
    const QLoggingCategory &category = gCategoryOf(file);
    if (!category.isInfoEnabled()) {
        return;
    }

    va_list arguments;
    va_start(arguments, format);
    QString message = QString::vasprintf(format, arguments);
    va_end(arguments);
    gBlankControlCharacters(&message);
    QMessageLogger(file, line, function, category.categoryName())
        .info("%s", qUtf8Printable(message));
}

BaseLog *GetGlobalLogInstance()
{
    static auto *const log = new BaseLog;
    return log;
}
