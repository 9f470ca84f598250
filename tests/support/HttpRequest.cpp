// SPDX-License-Identifier: MIT

#include "tests/support/HttpRequest.h"

#include <QList>

std::optional<HttpRequest> HttpRequest::TakeFrom(QByteArray &input)
{
    const int end = input.indexOf("\r\n\r\n");
    if (end < 0) {
        return std::nullopt;
    }
    HttpRequest request;
    const QList<QByteArray> lines = input.left(end).split('\n');
    const QList<QByteArray> words = lines.first().split(' ');
    request.method = words.value(0);
    request.target = words.value(1);
    for (const QByteArray &line : lines.mid(1)) {
        const int colon = line.indexOf(':');
        if (colon > 0) {
            request.headers.insert(line.left(colon).toLower(), line.mid(colon + 1).trimmed());
        }
    }
    input.remove(0, end + 4);
    return request;
}
