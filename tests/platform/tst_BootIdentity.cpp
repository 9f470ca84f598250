// SPDX-License-Identifier: MIT

#include "platform/BootIdentity.h"

#include <QtTest>

class tst_BootIdentity : public QObject
{
    Q_OBJECT

private slots:
    void it_is_the_same_every_time();
};

void tst_BootIdentity::it_is_the_same_every_time()
{
    const QString boot = gBootIdentity();
    QVERIFY(!boot.isEmpty());
    QCOMPARE(gBootIdentity(), boot);
    QCOMPARE(boot.trimmed(), boot);
}

QTEST_GUILESS_MAIN(tst_BootIdentity)
#include "tst_BootIdentity.moc"
