// SPDX-License-Identifier: MIT

#include "tests/tools/quillon-publish/ArrivalWatch.h"
#include "tests/tools/quillon-publish/SigningDesk.h"
#include "update/trust/SignedDocument.h"

#include <QDir>
#include <QTest>

namespace
{
QString gLatin1(const char *text)
{
    return QString::fromLatin1(text);
}

const char mainManifest[] = "manifest.xml";
const char planted[] = "manifests/0.xml";
} // namespace

/// The number that grows with each publication of a signed site, and how quillon-publish knows such
/// a site.
class tst_SiteSerial : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_desk.reset(new SigningDesk); }

    void the_serial_grows_with_each_publication();
    void the_serial_is_above_every_number_of_the_site();
    void the_serial_arrives_before_everything_else();
    void a_serial_that_clients_may_have_seen_is_not_taken_back_data();
    void a_serial_that_clients_may_have_seen_is_not_taken_back();
    void a_site_that_was_signed_is_not_published_unsigned_data();
    void a_site_that_was_signed_is_not_published_unsigned();
    void a_site_stays_a_signed_one_after_an_unsigned_publication();
    void a_damaged_serial_is_refused_data();
    void a_damaged_serial_is_refused();
    void a_manifest_above_the_file_of_the_serial_is_refused_data();
    void a_manifest_above_the_file_of_the_serial_is_refused();
    void without_the_file_manifests_have_to_be_verified_data();
    void without_the_file_manifests_have_to_be_verified();
    void without_the_file_a_manifest_of_an_older_key_counts_when_it_is_named();

private:
    /// Puts manifests/0.xml into the site, a copy of manifest.xml with @p serial. Without a @p key it
    /// ends as a signed one does, and is not signed.
    void Plant(const QByteArray &serial, const QString &key) const;
    void RemovePlanted() const;

    QScopedPointer<SigningDesk> m_desk;
};

void tst_SiteSerial::Plant(const QByteArray &serial, const QString &key) const
{
    QByteArray document = gWithoutSignature(m_desk->Document(gLatin1(mainManifest)));
    document.replace("<Serial>1<", "<Serial>" + serial + '<');
    QVERIFY(document.contains('>' + serial + '<'));
    m_desk->Replace(gLatin1(planted), key.isEmpty() ? document + "<!--minisign\n-->\n"
                                                    : m_desk->Signed(document, key));
}

void tst_SiteSerial::RemovePlanted() const
{
    QVERIFY(QFile::remove(m_desk->Site() + QLatin1Char('/') + gLatin1(planted)));
}

void tst_SiteSerial::the_serial_grows_with_each_publication()
{
    const QStringList release = m_desk->Release(gLatin1("9.3.0.0"), {gLatin1("9.2.0.0")});
    const QStringList unsignedRelease = m_desk->Release(gLatin1("9.3.0.0"), {gLatin1("9.2.0.0")},
                                                        {{gLatin1("sign-key"), QString()}}) +
                                        QStringList{gLatin1("--no-sign")};
    for (const quint64 serial : {Q_UINT64_C(1), Q_UINT64_C(2), Q_UINT64_C(3)}) {
        QVERIFY(ReleaseDesk::Publish(release));
        QCOMPARE(m_desk->Document(gLatin1("serial")), QByteArray::number(serial) + '\n');
        for (const QString &name : m_desk->Manifests()) {
            QCOMPARE(m_desk->Statement(name).serial, serial);
        }
        QVERIFY(ReleaseDesk::Publish(unsignedRelease));
        QVERIFY(!m_desk->Document(gLatin1(mainManifest)).contains("minisign"));
        QVERIFY(!m_desk->Document(gLatin1(mainManifest)).contains("Signed"));
        QCOMPARE(m_desk->Document(gLatin1("serial")), QByteArray::number(serial) + '\n');
    }
}

void tst_SiteSerial::the_serial_is_above_every_number_of_the_site()
{
    const QStringList release = m_desk->Release(gLatin1("9.3.0.0"), {gLatin1("9.2.0.0")});
    QVERIFY(ReleaseDesk::Publish(release));
    // As a run leaves it that was killed before its manifests.
    m_desk->Replace(gLatin1("serial"), "41\n");
    QVERIFY(ReleaseDesk::Publish(release));
    QCOMPARE(m_desk->Statement(gLatin1(mainManifest)).serial, Q_UINT64_C(42));

    QVERIFY(QFile::remove(m_desk->Site() + gLatin1("/serial")));
    QVERIFY(QFile::remove(m_desk->Site() + gLatin1("/manifest.xml")));
    QVERIFY(ReleaseDesk::Publish(release));
    QCOMPARE(m_desk->Statement(gLatin1(mainManifest)).serial, Q_UINT64_C(43));

    m_desk->Replace(gLatin1("serial"), "999999999999999\n");
    QVERIFY(ReleaseDesk::Publish(release));
    QCOMPARE(m_desk->Statement(gLatin1(mainManifest)).serial, Q_UINT64_C(1000000000000000));
}

void tst_SiteSerial::the_serial_arrives_before_everything_else()
{
    const QString site = m_desk->Site();
    QVERIFY(ReleaseDesk::Publish(m_desk->Release(gLatin1("9.2.0.0"), {})));
    ArrivalWatch watch({site, site + gLatin1("/packages"), site + gLatin1("/manifests")});
    QVERIFY(ReleaseDesk::Publish(m_desk->Release(gLatin1("9.3.0.0"), {})));
    QCOMPARE(
        watch.Events(),
        (QStringList{site + gLatin1("/serial"), site + gLatin1("/packages/corvina-9.3.0.0.exe"),
                     site + gLatin1("/manifests/9.3.0.0.xml"),
                     site + gLatin1("/manifests/9.2.0.0.xml"), site + gLatin1("/manifest.xml")}));
}

void tst_SiteSerial::a_serial_that_clients_may_have_seen_is_not_taken_back_data()
{
    QTest::addColumn<bool>("isFirst");
    QTest::newRow("the_first_serial_of_a_site") << true;
    QTest::newRow("a_later_one") << false;
}

void tst_SiteSerial::a_serial_that_clients_may_have_seen_is_not_taken_back()
{
    QFETCH(bool, isFirst);
    const QString serial = m_desk->Site() + gLatin1("/serial");
    const QString main = m_desk->Site() + gLatin1("/manifest.xml");
    QVERIFY(ReleaseDesk::Publish(m_desk->Release(gLatin1("9.2.0.0"), {})));
    QVERIFY(!isFirst || (QFile::remove(serial) &&
                         QDir(m_desk->Site() + gLatin1("/manifests")).removeRecursively()));
    // The manifests of single versions are published before it.
    QVERIFY(QFile::remove(main));
    QVERIFY(QDir().mkpath(main + gLatin1("/a folder in its place")));
    const QStringList arguments = m_desk->Release(gLatin1("9.3.0.0"), {});

    auto expected = m_desk->Files();
    const ReleaseDesk::Outcome outcome = ReleaseDesk::Run(arguments);
    QCOMPARE(outcome.code, 1);
    QVERIFY2(outcome.err.contains(gLatin1("/manifest.xml")), qPrintable(outcome.err));
    QCOMPARE(outcome.err.count(QLatin1Char('\n')), 1);
    QCOMPARE(m_desk->Document(gLatin1("serial")), QByteArray(isFirst ? "1\n" : "2\n"));
    auto files = m_desk->Files();
    expected.remove(serial);
    files.remove(serial);
    QCOMPARE(files, expected);
}

void tst_SiteSerial::a_site_that_was_signed_is_not_published_unsigned_data()
{
    QTest::addColumn<QString>("removed");
    QTest::newRow("with_all_its_files") << QString();
    QTest::newRow("without_its_serial") << gLatin1("serial");
    QTest::newRow("without_its_main_manifest") << gLatin1(mainManifest);
}

void tst_SiteSerial::a_site_that_was_signed_is_not_published_unsigned()
{
    QFETCH(QString, removed);
    QVERIFY(ReleaseDesk::Publish(m_desk->Release(gLatin1("9.2.0.0"), {})));
    if (!removed.isEmpty()) {
        QVERIFY(QFile::remove(m_desk->Site() + QLatin1Char('/') + removed));
    }
    const QStringList arguments =
        m_desk->Release(gLatin1("9.3.0.0"), {}, {{gLatin1("sign-key"), QString()}});
    const auto before = m_desk->Files();
    const ReleaseDesk::Outcome outcome = ReleaseDesk::Run(arguments);
    QCOMPARE(outcome.code, 1);
    QVERIFY2(outcome.err.contains(gLatin1("--sign-key")), qPrintable(outcome.err));
    QVERIFY2(outcome.err.contains(gLatin1("--no-sign")), qPrintable(outcome.err));
    QCOMPARE(outcome.err.count(QLatin1Char('\n')), 1);
    QCOMPARE(m_desk->Files(), before);

    QVERIFY(ReleaseDesk::Publish(arguments + QStringList{gLatin1("--no-sign")}));
    QVERIFY(m_desk->Manifest(gLatin1(mainManifest))->ExeUrl().contains(gLatin1("9.3.0.0")));
}

void tst_SiteSerial::a_site_stays_a_signed_one_after_an_unsigned_publication()
{
    const QStringList arguments =
        m_desk->Release(gLatin1("9.3.0.0"), {}, {{gLatin1("sign-key"), QString()}});
    QVERIFY(ReleaseDesk::Publish(m_desk->Release(gLatin1("9.3.0.0"), {})));
    QVERIFY(ReleaseDesk::Publish(arguments + QStringList{gLatin1("--no-sign")}));
    QCOMPARE(ReleaseDesk::Run(arguments).code, 1);
}

void tst_SiteSerial::a_damaged_serial_is_refused_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("says");
    const QString damaged = gLatin1("\"serial\" is damaged");
    QTest::newRow("empty") << QByteArray() << damaged;
    QTest::newRow("without_its_line_feed") << QByteArray("5") << damaged;
    QTest::newRow("two_line_feeds") << QByteArray("5\n\n") << damaged;
    QTest::newRow("no_number") << QByteArray("five\n") << damaged;
    QTest::newRow("a_sign") << QByteArray("-5\n") << damaged;
    QTest::newRow("a_leading_zero") << QByteArray("05\n") << damaged;
    QTest::newRow("above_64_bits") << QByteArray("18446744073709551616\n") << damaged;
    QTest::newRow("the_last_one") << QByteArray("18446744073709551614\n")
                                  << gLatin1("write the right number into it");
    QTest::newRow("above_what_is_counted_up_to")
        << QByteArray("1000000000000001\n") << gLatin1("somebody may have put it there");
    QTest::newRow("nothing_is_counted_up_to_behind_it")
        << QByteArray("1000000000000000\n") << gLatin1("none is signed above it");
    QTest::newRow("behind_the_last_one")
        << QByteArray("18446744073709551615\n") << gLatin1("somebody may have put it there");
}

void tst_SiteSerial::a_damaged_serial_is_refused()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, says);
    QCOMPARE(ReleaseDesk::Run(m_desk->Release(gLatin1("9.2.0.0"), {})).code, 0);
    m_desk->Replace(gLatin1("serial"), content);
    const QStringList arguments = m_desk->Release(gLatin1("9.3.0.0"), {});
    QCOMPARE(m_desk->RefusalFault(arguments, says), QString());
}

void tst_SiteSerial::a_manifest_above_the_file_of_the_serial_is_refused_data()
{
    QTest::addColumn<QByteArray>("serial");
    QTest::addColumn<QString>("key");
    QTest::newRow("the_highest_one_unsigned") << QByteArray("1000000000000000") << QString();
    QTest::newRow("one_more_by_another_key") << QByteArray("2") << gLatin1("other");
    // As it is when somebody has put an older file back.
    QTest::newRow("one_more_by_the_own_key") << QByteArray("2") << gLatin1("plain");
    QTest::newRow("an_impossible_one") << QByteArray("1000000000000001") << gLatin1("other");
}

void tst_SiteSerial::a_manifest_above_the_file_of_the_serial_is_refused()
{
    QFETCH(QByteArray, serial);
    QFETCH(QString, key);
    QVERIFY(ReleaseDesk::Publish(m_desk->Release(gLatin1("9.2.0.0"), {})));
    Plant(serial, key);
    const QStringList arguments = m_desk->Release(gLatin1("9.3.0.0"), {});
    const QString says =
        gLatin1("manifests/0.xml has the serial %1, and the site's file \"serial\" "
                "has 1, which no manifest is above: somebody may have put it "
                "there; remove this file, and see that \"serial\" has the number");
    QCOMPARE(m_desk->RefusalFault(arguments, says.arg(QString::fromLatin1(serial))), QString());

    RemovePlanted();
    QVERIFY(ReleaseDesk::Publish(arguments));
    QCOMPARE(m_desk->Statement(gLatin1(mainManifest)).serial, Q_UINT64_C(2));
}

void tst_SiteSerial::without_the_file_manifests_have_to_be_verified_data()
{
    QTest::addColumn<QByteArray>("serial");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("says");
    QTest::newRow("an_unsigned_one")
        << QByteArray("1000000000000000") << QString() << gLatin1("would refuse manifests/0.xml: ");
    QTest::newRow("one_of_another_key")
        << QByteArray("5") << gLatin1("other") << gLatin1("manifests/0.xml was signed by another");
    QTest::newRow("what_to_do") << QByteArray("5") << gLatin1("other")
                                << gLatin1("write it and a line feed into that file");
    QTest::newRow("an_impossible_one_of_the_own_key")
        << QByteArray("1000000000000001") << gLatin1("plain")
        << gLatin1("manifests/0.xml has the serial 1000000000000001, which is above");
}

void tst_SiteSerial::without_the_file_manifests_have_to_be_verified()
{
    QFETCH(QByteArray, serial);
    QFETCH(QString, key);
    QFETCH(QString, says);
    QVERIFY(ReleaseDesk::Publish(m_desk->Release(gLatin1("9.2.0.0"), {})));
    QVERIFY(QFile::remove(m_desk->Site() + gLatin1("/serial")));
    Plant(serial, key);
    const QStringList arguments = m_desk->Release(gLatin1("9.3.0.0"), {});
    QCOMPARE(m_desk->RefusalFault(arguments, says), QString());

    RemovePlanted();
    QVERIFY(ReleaseDesk::Publish(arguments));
    QCOMPARE(m_desk->Statement(gLatin1(mainManifest)).serial, Q_UINT64_C(2));
}

void tst_SiteSerial::without_the_file_a_manifest_of_an_older_key_counts_when_it_is_named()
{
    QVERIFY(ReleaseDesk::Publish(m_desk->Release(gLatin1("9.2.0.0"), {})));
    QVERIFY(QFile::remove(m_desk->Site() + gLatin1("/serial")));
    Plant("7", gLatin1("other"));
    const QString key = gLatin1("--public-key");
    QVERIFY(ReleaseDesk::Publish(m_desk->Release(gLatin1("9.3.0.0"), {}) +
                                 QStringList{key, SigningDesk::PublicKey(gLatin1("plain")), key,
                                             SigningDesk::PublicKey(gLatin1("other"))}));
    QCOMPARE(m_desk->Statement(gLatin1(mainManifest)).serial, Q_UINT64_C(8));
}

QTEST_GUILESS_MAIN(tst_SiteSerial)
#include "tst_SiteSerial.moc"
