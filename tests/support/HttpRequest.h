#pragma once

#include <QByteArray>
#include <QHash>

/// A request as the test server received it.
struct HttpRequest {
    QByteArray method;
    /// Path and query, as they stood on the wire.
    QByteArray target;
    /// The names are in lower case.
    QHash<QByteArray, QByteArray> headers;

    QByteArray Path() const { return target.split('?').first(); }
};
