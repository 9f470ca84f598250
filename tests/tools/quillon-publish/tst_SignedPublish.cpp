// SPDX-License-Identifier: MIT

#include "tests/support/TestFiles.h"
#include "tests/tools/quillon-publish/SigningDesk.h"
#include "update/trust/SignedDocument.h"

#include <QCryptographicHash>
#include <QTest>

namespace
{
QString gLatin1(const char *text)
{
    return QString::fromLatin1(text);
}

QString gSha256(const QByteArray &bytes)
{
    return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex());
}

const char mainManifest[] = "manifest.xml";
const char patchManifest[] = "manifests/9.2.0.0.xml";
} // namespace

/// Releases that quillon-publish signs with the program minisign.
class tst_SignedPublish : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_desk.reset(new SigningDesk); }

    void every_manifest_is_signed_for_its_clients();
    void manifests_name_the_digests_and_sizes_of_the_packages();
    void manifests_expire_after_the_days_that_are_given();
    void minisign_accepts_what_was_signed();
    void clients_without_keys_read_what_they_read_before();
    void a_version_with_two_hyphens_is_signed_too();

    void the_password_comes_from_a_descriptor_and_stands_nowhere();
    void what_is_not_published_yet_is_for_its_owner_only();
    void the_password_is_asked_for_once_without_a_descriptor();
    void the_public_key_is_a_text_or_a_file_data();
    void the_public_key_is_a_text_or_a_file();

private:
    QScopedPointer<SigningDesk> m_desk;
};

void tst_SignedPublish::every_manifest_is_signed_for_its_clients()
{
    QVERIFY(m_desk->PublishTwice());
    const QMap<QString, QString> expected{{gLatin1(mainManifest), QString()},
                                          {gLatin1("manifests/9.1.0.0.xml"), gLatin1("9.1.0.0")},
                                          {gLatin1(patchManifest), gLatin1("9.2.0.0")},
                                          {gLatin1("manifests/9.3.0.0.xml"), gLatin1("9.3.0.0")}};
    QCOMPARE(m_desk->Manifests(), expected.keys());
    for (auto manifest = expected.cbegin(); manifest != expected.cend(); ++manifest) {
        QVERIFY2(m_desk->Trusted(manifest.key()), qPrintable(manifest.key()));
        const SignedStatement statement = m_desk->Statement(manifest.key());
        QCOMPARE(statement.forVersion, manifest.value());
        QCOMPARE(statement.serial, Q_UINT64_C(2));
        QVERIFY(!statement.expires);
    }
    QCOMPARE(m_desk->Document(gLatin1("serial")), QByteArray("2\n"));
}

void tst_SignedPublish::manifests_name_the_digests_and_sizes_of_the_packages()
{
    QVERIFY(m_desk->PublishTwice());
    const QByteArray full = m_desk->Document(gLatin1("packages/corvina-9.3.0.0.exe"));
    const QByteArray patch = m_desk->Document(gLatin1("packages/corvina-9.2.0.0-to-9.3.0.0.patch"));
    QVERIFY(!full.isEmpty() && !patch.isEmpty() && full != patch);
    for (const char *name : {mainManifest, "manifests/9.1.0.0.xml", patchManifest}) {
        const SignedStatement statement = m_desk->Statement(gLatin1(name));
        QVERIFY(statement.full);
        QCOMPARE(statement.full->sha256, gSha256(full));
        QCOMPARE(statement.full->size, qint64(full.size()));
        QCOMPARE(statement.patch.has_value(), name == patchManifest);
    }
    const SignedStatement offering = m_desk->Statement(gLatin1(patchManifest));
    QCOMPARE(offering.patch->sha256, gSha256(patch));
    QCOMPARE(offering.patch->size, qint64(patch.size()));
    QCOMPARE(offering.resultSha256, gSha256(full));

    const SignedStatement none = m_desk->Statement(gLatin1("manifests/9.3.0.0.xml"));
    QVERIFY(!none.full && !none.patch && none.resultSha256.isEmpty());
}

void tst_SignedPublish::manifests_expire_after_the_days_that_are_given()
{
    const qint64 before = QDateTime::currentSecsSinceEpoch();
    QVERIFY(ReleaseDesk::Publish(m_desk->Release(gLatin1("9.3.0.0"), {gLatin1("9.2.0.0")},
                                                 {{gLatin1("expires"), gLatin1("30")}})));
    const qint64 after = QDateTime::currentSecsSinceEpoch();
    const qint64 days = qint64(30) * 24 * 60 * 60;
    for (const QString &name : m_desk->Manifests()) {
        const SignedStatement statement = m_desk->Statement(name);
        QVERIFY(statement.expires);
        const qint64 end = statement.expires->toSecsSinceEpoch();
        QVERIFY(before + days <= end && end <= after + days);
    }
}

void tst_SignedPublish::minisign_accepts_what_was_signed()
{
    QVERIFY(ReleaseDesk::Publish(m_desk->Release(gLatin1("9.3.0.0"), {gLatin1("9.2.0.0")})));
    const QString bytes = m_desk->Path(gLatin1("bytes"));
    const QString signature = m_desk->Path(gLatin1("signature"));
    const QStringList verify{
        gLatin1("-V"), gLatin1("-H"), gLatin1("-q"),
        gLatin1("-m"), bytes,         gLatin1("-x"),
        signature,     gLatin1("-P"), SigningDesk::PublicKey(gLatin1("plain"))};
    const QStringList manifests = m_desk->Manifests();
    QCOMPARE(manifests.size(), 3);
    for (const QString &name : manifests) {
        const QByteArray document = m_desk->Document(name);
        const int begin = document.indexOf("<!--minisign\n");
        const int end = document.lastIndexOf("-->");
        QVERIFY(begin > 0 && end > begin);
        QVERIFY(document.contains("\ntrusted comment: serial:1\n"));
        m_desk->Write(gLatin1("bytes"), document.left(begin));
        m_desk->Write(gLatin1("signature"), document.mid(begin, end - begin).mid(13));
        QCOMPARE(QProcess::execute(gLatin1("minisign"), verify), 0);
        m_desk->Write(gLatin1("bytes"), document.left(begin) + ' ');
        QVERIFY(QProcess::execute(gLatin1("minisign"), verify) != 0);
    }
}

void tst_SignedPublish::clients_without_keys_read_what_they_read_before()
{
    QVERIFY(m_desk->PublishTwice());
    const QStringList names = m_desk->Manifests();
    QCOMPARE(names.size(), 4);
    const QScopedPointer<SigningDesk> signedDesk(m_desk.take());
    init();
    QVERIFY(m_desk->PublishTwice({{gLatin1("sign-key"), QString()}}));
    QCOMPARE(m_desk->Manifests(), names);
    for (const QString &name : names) {
        const auto read = signedDesk->Manifest(name);
        const auto before = m_desk->Manifest(name);
        QCOMPARE(read->ExeUrl(), before->ExeUrl());
        QCOMPARE(read->FullPackageMd5(), before->FullPackageMd5());
        QCOMPARE(read->OldVerify(), before->OldVerify());
        QCOMPARE(read->IncreaseUrl(), before->IncreaseUrl());
        QCOMPARE(read->IncreaseVersion(), before->IncreaseVersion());
        QCOMPARE(read->IncreaseMd5(), before->IncreaseMd5());
        QCOMPARE(read->IncreaseSize(), before->IncreaseSize());
        QCOMPARE(read->AutoNotify(), before->AutoNotify());
        QCOMPARE(read->ReleaseNotes().size(), before->ReleaseNotes().size());
        QCOMPARE(read->ReleaseNotes().value(0).notes, before->ReleaseNotes().value(0).notes);
    }
    QVERIFY(m_desk->Manifest(gLatin1(mainManifest))->HasExeUrl());
}

void tst_SignedPublish::a_version_with_two_hyphens_is_signed_too()
{
    // In the comment of the signature they would end it.
    m_desk->Write(gLatin1("corvina-9.3--rc.exe"), "#!/bin/sh\n# FileVersion=9.3--rc\n");
    QVERIFY(ReleaseDesk::Publish(m_desk->Release(gLatin1("9.3--rc"), {})));
    QCOMPARE(m_desk->Statement(gLatin1("manifests/9.3--rc.xml")).forVersion, gLatin1("9.3--rc"));
}

void tst_SignedPublish::the_password_comes_from_a_descriptor_and_stands_nowhere()
{
    const QString told = m_desk->Path(gLatin1("told"));
    const QString minisign = m_desk->Script(
        gLatin1("signing"), "{ echo run; cat /proc/$$/cmdline /proc/$$/environ; } >> '" +
                                told.toUtf8() + "'\nexec minisign \"$@\"\n");
    m_desk->Write(gLatin1("password"), SigningDesk::Password() + "\nanother line\n");
    const ReleaseDesk::Outcome outcome = m_desk->RunWithDescriptor(
        m_desk->Release(gLatin1("9.3.0.0"), {gLatin1("9.2.0.0")},
                        {{gLatin1("sign-key"), SigningDesk::Key(gLatin1("locked"))},
                         {gLatin1("sign-password-fd"), gLatin1("3")},
                         {gLatin1("minisign"), minisign}}),
        gLatin1("password"));
    QVERIFY2(outcome.code == 0, qPrintable(outcome.err));
    QVERIFY(!outcome.out.contains(QString::fromLatin1(SigningDesk::Password())));
    QVERIFY(!outcome.err.contains(QString::fromLatin1(SigningDesk::Password())));
    const QByteArray seen = gReadFile(told);
    QCOMPARE(seen.count("run\n"), 1);
    QVERIFY(!seen.contains(SigningDesk::Password()));
    QString refusal;
    const auto keys = gReadMinisignKeys({SigningDesk::PublicKey(gLatin1("locked"))});
    for (const QString &name : m_desk->Manifests()) {
        QVERIFY2(gReadTrustedManifest(m_desk->Document(name), keys, &refusal), qPrintable(refusal));
    }
}

void tst_SignedPublish::what_is_not_published_yet_is_for_its_owner_only()
{
    const QString staging = m_desk->Path(gLatin1(".site.quillon-publish"));
    const QString told = m_desk->Path(gLatin1("mode"));
    const QString minisign =
        m_desk->Script(gLatin1("signing"), "stat -c %a '" + staging.toUtf8() + "' > '" +
                                               told.toUtf8() + "'\nexec minisign \"$@\"\n");
    QVERIFY(ReleaseDesk::Publish(
        m_desk->Release(gLatin1("9.3.0.0"), {}, {{gLatin1("minisign"), minisign}})));
    QCOMPARE(gReadFile(told), QByteArray("700\n"));
}

void tst_SignedPublish::the_password_is_asked_for_once_without_a_descriptor()
{
    const ReleaseDesk::Outcome outcome = SigningDesk::RunWithInput(
        m_desk->Release(gLatin1("9.3.0.0"), {gLatin1("9.2.0.0")},
                        {{gLatin1("sign-key"), SigningDesk::Key(gLatin1("locked"))}}),
        SigningDesk::Password() + '\n');
    QVERIFY2(outcome.code == 0, qPrintable(outcome.err));
    QCOMPARE(outcome.err.count(gLatin1("Password:")), 1);
    QVERIFY(gWithoutSignature(m_desk->Document(gLatin1(mainManifest))) !=
            m_desk->Document(gLatin1(mainManifest)));
}

void tst_SignedPublish::the_public_key_is_a_text_or_a_file_data()
{
    QTest::addColumn<QStringList>("keys");
    const QString text = SigningDesk::PublicKey(gLatin1("plain"));
    QTest::newRow("a_text") << QStringList{text};
    QTest::newRow("a_file") << QStringList{
        SigningDesk::Key(gLatin1("plain")).replace(gLatin1(".key"), gLatin1(".pub"))};
    QTest::newRow("one_of_several") << QStringList{SigningDesk::PublicKey(gLatin1("other")), text};
}

void tst_SignedPublish::the_public_key_is_a_text_or_a_file()
{
    QFETCH(QStringList, keys);
    // The secret key alone, so that the file beside it does not count.
    const QString alone = m_desk->Path(gLatin1("alone.key"));
    QVERIFY(QFile::copy(SigningDesk::Key(gLatin1("plain")), alone));
    QStringList arguments = m_desk->Release(gLatin1("9.3.0.0"), {}, {{gLatin1("sign-key"), alone}});
    for (const QString &key : keys) {
        arguments << gLatin1("--public-key") << key;
    }
    QVERIFY(ReleaseDesk::Publish(arguments));
    QVERIFY(m_desk->Trusted(gLatin1(mainManifest)));
}

QTEST_GUILESS_MAIN(tst_SignedPublish)
#include "tst_SignedPublish.moc"
