// SPDX-License-Identifier: MIT

#include "update/base/LateDeletion.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>

void gDeleteLater(QNetworkAccessManager *manager)
{
    manager->setParent(QCoreApplication::instance());
    manager->deleteLater();
}
