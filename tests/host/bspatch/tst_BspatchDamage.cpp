// SPDX-License-Identifier: MIT

#include "host/bspatch/BspatchProgram.h"
#include "host/bspatch/PatchError.h"
#include "tests/host/bspatch/PatchFolder.h"
#include "tests/support/BsdiffWriter.h"
#include "tests/support/TestBytes.h"
#include "tests/support/TestFiles.h"

#include <QtTest>

#include <array>
#include <limits>

namespace
{
constexpr int headerSize = 32;
constexpr int numberSize = 8;
constexpr int stepSize = 3 * numberSize;
constexpr qint64 highest = std::numeric_limits<qint64>::max();

const QByteArray minusZero("\0\0\0\0\0\0\0\x80", numberSize);

struct Field {
    const char *name;
    int index;
};
constexpr std::array<Field, 3> headerFields{
    {{"control size", 0}, {"diff size", 1}, {"new size", 2}}};
constexpr std::array<Field, 3> stepFields{{{"added", 0}, {"copied", 1}, {"skipped", 2}}};

QByteArray gBytesOfSize(qint64 size)
{
    return gTestBytes(size, static_cast<quint64>(size));
}

BsdiffWriter::Blocks gPackedBlocks(const BsdiffWriter &writer)
{
    const BsdiffWriter::Blocks &unpacked = writer.Unpacked();
    return {BsdiffWriter::Packed(unpacked.control), BsdiffWriter::Packed(unpacked.diff),
            BsdiffWriter::Packed(unpacked.extra)};
}

QByteArray gWithHeaderField(QByteArray patch, int index, const QByteArray &number)
{
    return patch.replace(numberSize * (1 + index), numberSize, number);
}

QByteArray gWithStepField(const BsdiffWriter &writer, int step, int index, const QByteArray &number)
{
    BsdiffWriter::Blocks blocks = writer.Unpacked();
    blocks.control.replace(step * stepSize + index * numberSize, numberSize, number);
    return BsdiffWriter::Build(blocks, writer.NewSize());
}
} // namespace

/// Damaged and forged patches, each applied in this process, so that a sanitizer sees every one.
class tst_BspatchDamage : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void the_patch_in_order_is_applied();
    void a_patch_that_is_cut_off_is_refused();
    void an_impossible_number_in_the_header_is_refused_data();
    void an_impossible_number_in_the_header_is_refused();
    void a_size_in_the_header_that_is_off_is_refused_data();
    void a_size_in_the_header_that_is_off_is_refused();
    void an_impossible_step_is_refused_data();
    void an_impossible_step_is_refused();
    void a_position_beyond_its_type_is_refused_data();
    void a_position_beyond_its_type_is_refused();
    void another_magic_is_refused_data();
    void another_magic_is_refused();
    void blocks_in_a_wrong_place_are_refused_data();
    void blocks_in_a_wrong_place_are_refused();
    void a_block_that_is_longer_than_the_new_file_is_refused_data();
    void a_block_that_is_longer_than_the_new_file_is_refused();
    void numbers_that_only_add_up_are_refused_data();
    void numbers_that_only_add_up_are_refused();
    void a_block_that_reaches_into_the_next_is_refused();
    void a_new_size_without_the_data_for_it_is_refused();
    void a_flipped_bit_never_makes_another_file_data();
    void a_flipped_bit_never_makes_another_file();
    void rubbish_behind_the_compressed_data_is_no_damage_data();
    void rubbish_behind_the_compressed_data_is_no_damage();

private:
    PatchFolder m_folder;
    BsdiffWriter m_writer;
    QByteArray m_patch;
    QByteArray m_newContent;
};

void tst_BspatchDamage::initTestCase()
{
    const QByteArray old = gBytesOfSize(30000);
    PatchFolder::Write(m_folder.OldPath(), old);
    m_writer.AddStep(QByteArray(9000, '\0'), gBytesOfSize(300), 500);
    m_writer.AddStep(QByteArray(200, '\1'), gBytesOfSize(12000), -4000);
    m_writer.AddStep(gBytesOfSize(7000), gBytesOfSize(10), 20);
    m_writer.AddStep(QByteArray(100, '\0'), QByteArray(), 0);
    m_patch = m_writer.Build();

    m_newContent = old.left(9000) + gBytesOfSize(300);
    for (const char byte : old.mid(9500, 200)) {
        m_newContent += static_cast<char>(byte + 1);
    }
    m_newContent += gBytesOfSize(12000);
    const QByteArray diff = gBytesOfSize(7000);
    for (int index = 0; index < diff.size(); ++index) {
        m_newContent += static_cast<char>(diff[index] + old[5700 + index]);
    }
    m_newContent += gBytesOfSize(10) + old.mid(12720, 100);
}

void tst_BspatchDamage::the_patch_in_order_is_applied()
{
    QCOMPARE(m_folder.Refuses(m_patch), QStringLiteral("the patch was applied"));
    QVERIFY(gReadFile(m_folder.NewPath()) == m_newContent);
}

void tst_BspatchDamage::a_patch_that_is_cut_off_is_refused()
{
    QVERIFY(m_patch.size() > 15000);
    for (int size = 0; size < m_patch.size(); size += size < 2 * headerSize ? 1 : 64) {
        QVERIFY2(m_folder.Refuses(m_patch.left(size)).isEmpty(), qPrintable(QString::number(size)));
    }
    for (int missing = 1; missing < 64; ++missing) {
        QCOMPARE(m_folder.Refuses(m_patch.chopped(missing)), QString());
    }
}

void tst_BspatchDamage::an_impossible_number_in_the_header_is_refused_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QByteArray>("number");

    for (const Field &field : headerFields) {
        const auto row = [&field](const char *what, const QByteArray &number) {
            QTest::addRow("%s_%s", field.name, what) << field.index << number;
        };
        row("of_zero", BsdiffWriter::Number(0));
        row("of_minus_zero", minusZero);
        row("of_minus_one", BsdiffWriter::Number(-1));
        row("of_the_lowest_number", BsdiffWriter::Number(-highest));
        row("of_the_highest_number", BsdiffWriter::Number(highest));
        row("of_all_bits", QByteArray(numberSize, '\xff'));
        row("that_overflows_when_the_header_is_added", BsdiffWriter::Number(highest - headerSize));
        for (int difference = -headerSize - 1; difference <= 1; ++difference) {
            row(qPrintable(QStringLiteral("of the size of the patch %1").arg(difference)),
                BsdiffWriter::Number(m_patch.size() + difference));
        }
    }
}

void tst_BspatchDamage::an_impossible_number_in_the_header_is_refused()
{
    QFETCH(int, index);
    QFETCH(QByteArray, number);

    QCOMPARE(m_folder.Refuses(gWithHeaderField(m_patch, index, number)), QString());
}

void tst_BspatchDamage::a_size_in_the_header_that_is_off_is_refused_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<int>("difference");

    for (const Field &field : headerFields) {
        for (const int difference : {-100, -1, 1, 100}) {
            QTest::addRow("%s_by_%d", field.name, difference) << field.index << difference;
        }
    }
}

void tst_BspatchDamage::a_size_in_the_header_that_is_off_is_refused()
{
    QFETCH(int, index);
    QFETCH(int, difference);

    const BsdiffWriter::Blocks packed = gPackedBlocks(m_writer);
    const std::array<qint64, 3> right{packed.control.size(), packed.diff.size(),
                                      m_writer.NewSize()};
    const QByteArray number =
        BsdiffWriter::Number(right.at(static_cast<size_t>(index)) + difference);
    QCOMPARE(m_folder.Refuses(gWithHeaderField(m_patch, index, number)), QString());
}

void tst_BspatchDamage::an_impossible_step_is_refused_data()
{
    QTest::addColumn<int>("step");
    QTest::addColumn<int>("index");
    QTest::addColumn<QByteArray>("number");

    for (const int step : {0, 1, 2, 3}) {
        for (const Field &field : {stepFields[0], stepFields[1]}) {
            const auto row = [step, &field](const char *what, const QByteArray &number) {
                QTest::addRow("step_%d_%s_%s", step, field.name, what)
                    << step << field.index << number;
            };
            row("of_minus_one", BsdiffWriter::Number(-1));
            row("of_the_lowest_number", BsdiffWriter::Number(-highest));
            row("of_the_highest_number", BsdiffWriter::Number(highest));
            row("of_all_bits", QByteArray(numberSize, '\xff'));
            row("beyond_the_new_file", BsdiffWriter::Number(m_writer.NewSize() + 1));
            row("that_takes_the_whole_new_file", BsdiffWriter::Number(m_writer.NewSize()));
            row("that_is_too_small_by_a_lot", BsdiffWriter::Number(1));
        }
        QTest::addRow("step_%d_adds_nothing", step) << step << 0 << BsdiffWriter::Number(0);
        QTest::addRow("step_%d_adds_minus_zero", step) << step << 0 << minusZero;
    }
    // Not the last step: in the undamaged patch it copies nothing.
    for (const int step : {0, 1, 2}) {
        QTest::addRow("step_%d_copies_nothing", step) << step << 1 << BsdiffWriter::Number(0);
        QTest::addRow("step_%d_copies_minus_zero", step) << step << 1 << minusZero;
    }
}

void tst_BspatchDamage::an_impossible_step_is_refused()
{
    QFETCH(int, step);
    QFETCH(int, index);
    QFETCH(QByteArray, number);

    QCOMPARE(m_folder.Refuses(gWithStepField(m_writer, step, index, number)), QString());
}

void tst_BspatchDamage::a_position_beyond_its_type_is_refused_data()
{
    QTest::addColumn<qint64>("first");
    QTest::addColumn<qint64>("second");

    QTest::newRow("the_first_skip_goes_too_far") << highest << qint64(0);
    QTest::newRow("so_near_to_the_highest_number_that_the_next_bytes_pass_it")
        << highest - 9000 - 199 << qint64(0);
    QTest::newRow("two_skips_forward") << highest - 20000 << highest;
    QTest::newRow("two_skips_backward") << -highest << -highest;
    QTest::newRow("two_skips_backward_one_too_far") << -highest << qint64(-9202);
}

void tst_BspatchDamage::a_position_beyond_its_type_is_refused()
{
    QFETCH(qint64, first);
    QFETCH(qint64, second);

    BsdiffWriter::Blocks blocks = m_writer.Unpacked();
    blocks.control.replace(2 * numberSize, numberSize, BsdiffWriter::Number(first));
    blocks.control.replace(stepSize + 2 * numberSize, numberSize, BsdiffWriter::Number(second));
    const QByteArray patch = BsdiffWriter::Build(blocks, m_writer.NewSize());
    QCOMPARE(m_folder.Refuses(patch), QString());
}

void tst_BspatchDamage::another_magic_is_refused_data()
{
    QTest::addColumn<QByteArray>("magic");

    QTest::newRow("a_later_version") << QByteArray("BSDIFF41");
    QTest::newRow("lower_case") << QByteArray("bsdiff40");
    QTest::newRow("zeros") << QByteArray(8, '\0');
    QTest::newRow("another_programs") << QByteArray("ENDSLEY/");
}

void tst_BspatchDamage::another_magic_is_refused()
{
    QFETCH(QByteArray, magic);

    QCOMPARE(m_folder.Refuses(QByteArray(m_patch).replace(0, magic.size(), magic)), QString());
}

void tst_BspatchDamage::blocks_in_a_wrong_place_are_refused_data()
{
    QTest::addColumn<QByteArray>("order");

    for (const char *order : {"dce", "ced", "edc", "dec", "ecd", "ccc", "cdd"}) {
        QTest::newRow(order) << QByteArray(order);
    }
}

void tst_BspatchDamage::blocks_in_a_wrong_place_are_refused()
{
    QFETCH(QByteArray, order);

    const BsdiffWriter::Blocks packed = gPackedBlocks(m_writer);
    QByteArray body;
    for (const char block : order) {
        body += block == 'c' ? packed.control : block == 'd' ? packed.diff : packed.extra;
    }
    QCOMPARE(m_folder.Refuses(m_patch.left(headerSize) + body), QString());
}

void tst_BspatchDamage::a_block_that_is_longer_than_the_new_file_is_refused_data()
{
    QTest::addColumn<QByteArray>("control");
    QTest::addColumn<QByteArray>("diff");
    QTest::addColumn<QByteArray>("extra");

    const QByteArray none;
    QTest::newRow("a_step_too_many") << QByteArray(stepSize, '\0') << none << none;
    QTest::newRow("a_byte_behind_the_steps") << QByteArray(1, '\0') << none << none;
    QTest::newRow("a_byte_too_many_to_add") << none << QByteArray(1, '\0') << none;
    QTest::newRow("a_byte_too_many_to_copy") << none << none << QByteArray(1, '\0');
}

void tst_BspatchDamage::a_block_that_is_longer_than_the_new_file_is_refused()
{
    QFETCH(QByteArray, control);
    QFETCH(QByteArray, diff);
    QFETCH(QByteArray, extra);

    BsdiffWriter::Blocks blocks = m_writer.Unpacked();
    blocks.control += control;
    blocks.diff += diff;
    blocks.extra += extra;
    const QByteArray patch = BsdiffWriter::Build(blocks, m_writer.NewSize());
    QCOMPARE(m_folder.Refuses(patch), QString());
}

void tst_BspatchDamage::numbers_that_only_add_up_are_refused_data()
{
    QTest::addColumn<QVector<int>>("numbers");
    QTest::addColumn<int>("diffSize");
    QTest::addColumn<int>("extraSize");

    QTest::newRow("fewer_than_none_added") << QVector<int>{-10, 30, 0} << 0 << 30;
    QTest::newRow("fewer_than_none_copied") << QVector<int>{20, -5, 0, 5, 0, 0} << 25 << 0;
    QTest::newRow("more_added_than_fit") << QVector<int>{21, 0, 0} << 21 << 0;
    QTest::newRow("more_copied_than_fit") << QVector<int>{10, 11, 0} << 10 << 11;
}

void tst_BspatchDamage::numbers_that_only_add_up_are_refused()
{
    QFETCH(QVector<int>, numbers);
    QFETCH(int, diffSize);
    QFETCH(int, extraSize);

    // The blocks hold exactly the bytes that the steps take, so the patch has no other fault.
    QByteArray control;
    for (const int number : numbers) {
        control += BsdiffWriter::Number(number);
    }
    const BsdiffWriter::Blocks blocks{control, gBytesOfSize(diffSize), gBytesOfSize(extraSize)};
    QCOMPARE(m_folder.Refuses(BsdiffWriter::Build(blocks, 20)), QString());
}

void tst_BspatchDamage::a_block_that_reaches_into_the_next_is_refused()
{
    // The same stream is the control block and the diff block.
    const QByteArray step =
        BsdiffWriter::Number(stepSize) + BsdiffWriter::Number(0) + BsdiffWriter::Number(0);
    const BsdiffWriter::Blocks packed{QByteArray(), BsdiffWriter::Packed(step),
                                      BsdiffWriter::Packed(QByteArray())};
    QCOMPARE(m_folder.Refuses(BsdiffWriter::Assemble(packed, stepSize)), QString());
}

void tst_BspatchDamage::a_new_size_without_the_data_for_it_is_refused()
{
    for (const int index : {0, 1}) {
        BsdiffWriter::Blocks blocks = m_writer.Unpacked();
        blocks.control = QByteArray(stepSize, '\0');
        blocks.control.replace(index * numberSize, numberSize, BsdiffWriter::Number(highest));
        QCOMPARE(m_folder.Refuses(BsdiffWriter::Build(blocks, highest)), QString());
    }
}

void tst_BspatchDamage::a_flipped_bit_never_makes_another_file_data()
{
    QTest::addColumn<QByteArray>("patch");
    QTest::addColumn<int>("stride");

    BsdiffWriter small;
    small.AddStep(QByteArray(700, '\0') + gBytesOfSize(60), gBytesOfSize(50), 20);
    small.AddStep(gBytesOfSize(30), QByteArray(90, 'x'), 0);
    QTest::newRow("of_a_small_patch_mostly_code_tables") << small.Build() << 3;
    QTest::newRow("of_a_larger_patch_mostly_data") << m_patch << 509;
}

void tst_BspatchDamage::a_flipped_bit_never_makes_another_file()
{
    QFETCH(QByteArray, patch);
    QFETCH(int, stride);

    QCOMPARE(m_folder.Refuses(patch), QStringLiteral("the patch was applied"));
    const QByteArray right = gReadFile(m_folder.NewPath());
    int flips = 0;
    int harmless = 0;
    for (int bit = 0; bit < patch.size() * 8; bit += stride) {
        QByteArray damaged = patch;
        damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ (1 << bit % 8));
        ++flips;
        const QString problem = m_folder.Refuses(damaged);
        if (problem.isEmpty()) {
            continue;
        }
        QVERIFY2(problem == QLatin1String("the patch was applied"), qPrintable(problem));
        QVERIFY2(gReadFile(m_folder.NewPath()) == right, QByteArray::number(bit).constData());
        ++harmless;
    }
    // Some bits are padding, or belong to codes that do not occur in the data.
    QVERIFY2(harmless * 20 < flips, QByteArray::number(harmless).constData());
}

void tst_BspatchDamage::rubbish_behind_the_compressed_data_is_no_damage_data()
{
    QTest::addColumn<int>("block");

    QTest::newRow("in_the_control_block") << 0;
    QTest::newRow("in_the_diff_block") << 1;
    QTest::newRow("at_the_end") << 2;
}

void tst_BspatchDamage::rubbish_behind_the_compressed_data_is_no_damage()
{
    QFETCH(int, block);

    BsdiffWriter::Blocks packed = gPackedBlocks(m_writer);
    std::array<QByteArray *, 3> blocks{&packed.control, &packed.diff, &packed.extra};
    *blocks.at(static_cast<size_t>(block)) += "rubbish";
    QCOMPARE(m_folder.Refuses(BsdiffWriter::Assemble(packed, m_writer.NewSize())),
             QStringLiteral("the patch was applied"));
    QVERIFY(gReadFile(m_folder.NewPath()) == m_newContent);
}

QTEST_GUILESS_MAIN(tst_BspatchDamage)
#include "tst_BspatchDamage.moc"
