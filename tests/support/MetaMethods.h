// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArrayList>
#include <QMetaMethod>

/// The signatures of the methods of kind @p type that @p metaObject itself declares, in index
/// order.
QByteArrayList gOwnMethods(const QMetaObject &metaObject, QMetaMethod::MethodType type);
