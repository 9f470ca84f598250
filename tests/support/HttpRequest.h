// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QHash>

#include <optional>

/// A request as the test server received it.
struct HttpRequest {
    QByteArray method;
    /// Path and query, as they stood on the wire.
    QByteArray target;
    /// The names are in lower case.
    QHash<QByteArray, QByteArray> headers;

    QByteArray Path() const { return target.split('?').first(); }

    /// Takes the first request off @p input, the bytes received so far; nothing while it is not
    /// whole. Requests have no body here.
    static std::optional<HttpRequest> TakeFrom(QByteArray &input);
};
