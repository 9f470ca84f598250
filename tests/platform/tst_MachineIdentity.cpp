// SPDX-License-Identifier: MIT

#include "platform/MachineIdentity.h"

#include <QNetworkInterface>
#include <QRegularExpression>
#include <QSet>
#include <QtTest>

/// The identity of the machine that runs the test. A container may have no adapter or no disk; so
/// the values are checked for their form and not compared with fixed texts.
class tst_MachineIdentity : public QObject
{
    Q_OBJECT

private slots:
    void the_adapter_address_has_twelve_upper_case_digits_or_none();
    void the_adapter_address_is_of_an_adapter_and_not_of_the_loopback();
    void the_volume_serial_has_eight_upper_case_digits();
    void the_disk_identifier_has_no_blanks_around_it();
    void every_source_gives_the_same_again();
    void a_new_guid_has_its_form();
    void every_new_guid_is_another();
};

static bool gMatches(const QString &text, const char *pattern)
{
    return QRegularExpression(QRegularExpression::anchoredPattern(pattern)).match(text).hasMatch();
}

void tst_MachineIdentity::the_adapter_address_has_twelve_upper_case_digits_or_none()
{
    const QString address = QString::fromLatin1(AdapterAddressHex());
    QVERIFY2(address.isEmpty() || gMatches(address, "[0-9A-F]{12}"), qUtf8Printable(address));
}

void tst_MachineIdentity::the_adapter_address_is_of_an_adapter_and_not_of_the_loopback()
{
    // All of them, because the systems list the adapters in different orders.
    QByteArrayList addresses;
    const QList<QNetworkInterface> adapters = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface &adapter : adapters) {
        const QByteArray address = adapter.hardwareAddress().toLatin1().replace(':', "").toUpper();
        if (address.size() >= 12 && !adapter.flags().testFlag(QNetworkInterface::IsLoopBack)) {
            addresses.append(address.left(12));
        }
    }
    const QByteArray address = AdapterAddressHex();
    QCOMPARE(address.isEmpty(), addresses.isEmpty());
    QVERIFY2(address.isEmpty() || addresses.contains(address), address.constData());
}

void tst_MachineIdentity::the_volume_serial_has_eight_upper_case_digits()
{
    const QString serial = QString::fromLatin1(SystemVolumeSerialHex());
    QVERIFY2(gMatches(serial, "[0-9A-F]{8}"), qUtf8Printable(serial));
}

void tst_MachineIdentity::the_disk_identifier_has_no_blanks_around_it()
{
    QCOMPARE(DiskIdentifier().trimmed(), DiskIdentifier());
}

void tst_MachineIdentity::every_source_gives_the_same_again()
{
    QCOMPARE(AdapterAddressHex(), AdapterAddressHex());
    QCOMPARE(SystemVolumeSerialHex(), SystemVolumeSerialHex());
    QCOMPARE(DiskIdentifier(), DiskIdentifier());
}

void tst_MachineIdentity::a_new_guid_has_its_form()
{
    const QString guid = NewGuidString();
    QCOMPARE(guid.size(), 38);
    QVERIFY2(gMatches(guid, "\\{[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}\\}"),
             qUtf8Printable(guid));
}

void tst_MachineIdentity::every_new_guid_is_another()
{
    QSet<QString> guids;
    for (int count = 0; count < 100; ++count) {
        guids.insert(NewGuidString());
    }
    QCOMPARE(guids.size(), 100);
}

QTEST_GUILESS_MAIN(tst_MachineIdentity)
#include "tst_MachineIdentity.moc"
