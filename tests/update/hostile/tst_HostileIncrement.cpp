// SPDX-License-Identifier: MIT

#include "tests/support/BsdiffWriter.h"
#include "tests/support/Md5.h"
#include "tests/support/PatchProgram.h"
#include "tests/support/TestBytes.h"
#include "tests/update/hostile/HostileWorld.h"

#include <QtTest>

#include <functional>

/// Incremental packages from a server that misbehaves. Either the kept installer becomes the new
/// one, or it stays as it is and the full package is downloaded, or the user is told.
class tst_HostileIncrement : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void a_package_data();
    void a_package();
    void an_address_data();
    void an_address();

private:
    enum class Outcome { Patched, FullPackage, Told };
    using Spoil = std::function<void(FaultScript &)>;

    void Begin(HostileWorld &world, const Spoil &spoil, const QString &address);
    /// Serves @p patch in place of the true one.
    static Spoil Another(const QByteArray &patch)
    {
        return [patch](FaultScript &script) {
            script.When("HEAD", "/increase.patch").Answer(FaultAnswer::File(patch));
            script.When("GET", "/increase.patch").Answer(FaultAnswer::File(patch));
        };
    }
    Spoil Ranges(const FaultAnswer &answer, const FaultAnswer &then) const;

    QByteArray m_old = "#!/bin/sh\n#FileVersion=9.1.0.0\n" + gTestBytes(20000, 4);
    QByteArray m_new =
        "#!/bin/sh\n#FileVersion=9.2.0.0\n" + gTestBytes(20000, 4) + gTestBytes(3000, 6);
    QByteArray m_patch;
};

Q_DECLARE_METATYPE(std::function<void(FaultScript &)>)

void tst_HostileIncrement::initTestCase()
{
    m_patch = PatchProgram::MakePatch(m_old, m_new);
}

void tst_HostileIncrement::Begin(HostileWorld &world, const Spoil &spoil, const QString &address)
{
    FaultScript script = HostileWorld::Honest();
    Another(m_patch)(script);
    spoil(script);
    world.Server().Play(script);
    gWriteFile(world.KeptInstaller(), m_old);
    world.Offer(world.Server().Address("/files/setup.exe"),
                QString("<OldVerify_x64>%1</OldVerify_x64><IncreasePackage><Url_x64>%2</Url_x64>"
                        "<Verify_x64>%3</Verify_x64></IncreasePackage>")
                    .arg(gMd5(m_old), address, gMd5(m_new)));
    world.PressUpdateNow();
}

tst_HostileIncrement::Spoil tst_HostileIncrement::Ranges(const FaultAnswer &answer,
                                                         const FaultAnswer &then) const
{
    return [answer, then, size = m_patch.size()](FaultScript &script) {
        for (int number = 0; number < 5; ++number) {
            script.When("GET", "/increase.patch")
                .From(number * (size / 5), number == 4 ? size - 1 : (number + 1) * (size / 5) - 1)
                .Answer(answer)
                .Then(then);
        }
    };
}

void tst_HostileIncrement::a_package_data()
{
    QTest::addColumn<Spoil>("spoil");
    QTest::addColumn<int>("outcome");
    const auto row = [](const char *sentence, const Spoil &spoil, Outcome outcome) {
        QTest::newRow(sentence) << spoil << int(outcome);
    };
    const FaultAnswer honest = FaultAnswer::File(m_patch);
    const QByteArray page = "<html>Please log in</html>";
    BsdiffWriter::Blocks blocks;
    blocks.control =
        BsdiffWriter::Number(1000000000) + BsdiffWriter::Number(0) + BsdiffWriter::Number(0);

    row(
        "in_order", [](FaultScript &) {}, Outcome::Patched);
    row("cut_once_in_every_range", Ranges(honest.CutAfter(100), honest), Outcome::Patched);
    row("reset_once_in_every_range", Ranges(honest.ResetAfter(100), honest), Outcome::Patched);
    row("stalled_once_in_every_range", Ranges(honest.StallAfter(100), honest), Outcome::Patched);
    row("cut_again_and_again_but_going_on", Ranges(honest.CutAfter(300), honest.CutAfter(300)),
        Outcome::Patched);
    row("never_answered", Ranges(FaultAnswer::Closed(), FaultAnswer::Closed()), Outcome::Told);
    row("not_found", Ranges(FaultAnswer::Status(404), FaultAnswer::Status(404)), Outcome::Told);
    row("the_whole_file_for_every_range", Ranges(honest.OverlookRange(), honest.OverlookRange()),
        Outcome::Told);
    row("compressed", Ranges(honest.Gzip(), honest.Gzip()), Outcome::Told);
    row("of_no_bytes", Another(""), Outcome::Told);
    row("of_one_byte", Another("B"), Outcome::FullPackage);
    row("half_a_patch", Another(m_patch.left(m_patch.size() / 2)), Outcome::FullPackage);
    row("a_page_in_its_place", Another(page), Outcome::FullPackage);
    QByteArray other = m_old;
    for (int at = 100; at < other.size(); at += 50) {
        other[at] = static_cast<char>(other.at(at) + 1);
    }
    row("for_another_installer", Another(PatchProgram::MakePatch(other, m_new)),
        Outcome::FullPackage);
    row("that_makes_another_installer", Another(PatchProgram::MakePatch(m_old, "another")),
        Outcome::FullPackage);
    row("that_names_a_new_file_larger_than_any_disk",
        Another(BsdiffWriter::Build(blocks, Q_INT64_C(1) << 60)), Outcome::FullPackage);
    row("whose_sizes_are_below_zero", Another(BsdiffWriter::Build(blocks, -1)),
        Outcome::FullPackage);
}

void tst_HostileIncrement::a_package()
{
    QFETCH(Spoil, spoil);
    QFETCH(int, outcome);
    const PatchProgram program;
    HostileWorld world;
    Begin(world, spoil, world.Server().Address("/increase.patch"));
    QTRY_VERIFY(world.Ended() != HostileWorld::End::None);
    QTest::qWait(50);
    QCOMPARE(world.Damage(), QString());
    QCOMPARE(world.Ended(), Outcome(outcome) == Outcome::Told ? HostileWorld::End::Told
                                                              : HostileWorld::End::Installed);
    const bool patched = Outcome(outcome) == Outcome::Patched;
    QVERIFY(gReadFile(world.KeptInstaller()) == (patched ? m_new : m_old));
    QCOMPARE(QFile::exists(world.Rig().Installer()), Outcome(outcome) == Outcome::FullPackage);
    if (patched) {
        return;
    }

    // The server is in order again: what the failed update left must not prevent the next one. A
    // patch that could not be applied is not downloaded a second time.
    QFile::remove(world.Rig().Installer());
    Begin(
        world, [](FaultScript &) {}, world.Server().Address("/increase.patch"));
    QTRY_COMPARE(world.Ended(), HostileWorld::End::Installed);
    QCOMPARE(world.Damage(), QString());
    const bool isPatchTried = Outcome(outcome) == Outcome::FullPackage;
    QVERIFY(gReadFile(world.KeptInstaller()) == (isPatchTried ? m_old : m_new));
    QCOMPARE(QFile::exists(world.Rig().Installer()), isPatchTried);
}

void tst_HostileIncrement::an_address_data()
{
    QTest::addColumn<QString>("address");
    QTest::newRow("that_names_the_kept_installer") << "/Corvina9";
    QTest::newRow("of_a_folder") << "/increase/";
    QTest::newRow("of_the_folder_above") << "/increase/..";
    QTest::newRow("of_a_file_of_this_machine") << "file:///etc/passwd";
}

void tst_HostileIncrement::an_address()
{
    QFETCH(QString, address);
    const PatchProgram program;
    HostileWorld world;
    Begin(
        world,
        [this](FaultScript &script) {
            for (const char *path : {"/Corvina9", "/increase/", "/increase/.."}) {
                script.When("HEAD", path).Answer(FaultAnswer::File(m_patch));
                script.When("GET", path).Answer(FaultAnswer::File(m_patch));
            }
        },
        address.startsWith('/') ? world.Server().Address(address) : address);
    QTRY_VERIFY(world.Ended() != HostileWorld::End::None);
    QTest::qWait(50);
    QCOMPARE(world.Damage(), QString());
    QVERIFY2(gReadFile(world.KeptInstaller()) == m_old, "the kept installer is gone");
}

QTEST_MAIN(tst_HostileIncrement)
#include "tst_HostileIncrement.moc"
