// SPDX-License-Identifier: MIT

#include "tests/support/MetaMethods.h"

QByteArrayList gOwnMethods(const QMetaObject &metaObject, QMetaMethod::MethodType type)
{
    QByteArrayList signatures;
    for (int index = metaObject.methodOffset(); index < metaObject.methodCount(); ++index) {
        const QMetaMethod method = metaObject.method(index);
        if (method.methodType() == type) {
            signatures << method.methodSignature();
        }
    }
    return signatures;
}
