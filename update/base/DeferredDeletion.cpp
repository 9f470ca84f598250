// SPDX-License-Identifier: MIT

#include "update/base/DeferredDeletion.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>

void gDeleteLater(QNetworkAccessManager *manager)
{
    manager->setParent(QCoreApplication::instance());
    manager->deleteLater();
}
