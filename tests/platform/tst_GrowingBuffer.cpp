// SPDX-License-Identifier: MIT

#include "platform/GrowingBuffer.h"

#include <QtTest>

namespace
{
struct Entry {
    quint64 number;
    quint64 more;
};

enum class Answer { Filled, TooSmall, Failed };

/// A system whose list needs one of @p needs bytes at each call, the last of them for ever.
class GrowingSystem
{
public:
    explicit GrowingSystem(QList<quint32> needs)
        : m_needs(std::move(needs))
    {
    }

    Answer Ask(Entry *entries, quint32 *size)
    {
        const quint32 needed = m_needs.value(calls++, m_needs.last());
        offered.append(*size);
        if (entries == nullptr || *size < needed) {
            *size = needed;
            return needed == 0 ? Answer::Failed : Answer::TooSmall;
        }
        for (quint32 byte = 0; byte < *size; ++byte) {
            reinterpret_cast<uchar *>(entries)[byte] = 0xab;
        }
        return Answer::Filled;
    }

    int calls = 0;
    QList<quint32> offered;

private:
    QList<quint32> m_needs;
};

std::vector<Entry> gAsk(GrowingSystem &system, Answer *answer)
{
    return gFillGrowingBuffer<Entry, quint32>(
        [&system](Entry *entries, quint32 *size) { return system.Ask(entries, size); },
        Answer::TooSmall, answer);
}
} // namespace

/// A list that grows between the question for its size and the question for its content.
class tst_GrowingBuffer : public QObject
{
    Q_OBJECT

private slots:
    void a_list_that_stays_is_asked_for_twice();
    void a_list_that_has_grown_is_asked_for_again();
    void a_list_that_grows_for_ever_is_given_up();
    void what_fails_is_not_asked_again();
    void the_buffer_is_never_smaller_than_needed_data();
    void the_buffer_is_never_smaller_than_needed();
};

void tst_GrowingBuffer::a_list_that_stays_is_asked_for_twice()
{
    GrowingSystem system({160});
    Answer answer = Answer::Failed;
    const std::vector<Entry> buffer = gAsk(system, &answer);
    QCOMPARE(answer, Answer::Filled);
    QCOMPARE(system.calls, 2);
    QVERIFY(buffer.size() >= 10);
    QCOMPARE(buffer.at(9).more, Q_UINT64_C(0xabababababababab));
}

void tst_GrowingBuffer::a_list_that_has_grown_is_asked_for_again()
{
    GrowingSystem system({160, 1600, 16000});
    Answer answer = Answer::Failed;
    const std::vector<Entry> buffer = gAsk(system, &answer);
    QCOMPARE(answer, Answer::Filled);
    QCOMPARE(system.calls, 4);
    QVERIFY(buffer.size() >= 1000);
    QCOMPARE(buffer.at(999).more, Q_UINT64_C(0xabababababababab));
}

void tst_GrowingBuffer::a_list_that_grows_for_ever_is_given_up()
{
    QList<quint32> needs;
    for (quint32 call = 1; call <= 100; ++call) {
        needs.append(160 * call);
    }
    GrowingSystem system(needs);
    Answer answer = Answer::Failed;
    gAsk(system, &answer);
    QCOMPARE(answer, Answer::TooSmall);
    QCOMPARE(system.calls, 9);
}

void tst_GrowingBuffer::what_fails_is_not_asked_again()
{
    GrowingSystem system({0});
    Answer answer = Answer::Filled;
    QVERIFY(gAsk(system, &answer).empty());
    QCOMPARE(answer, Answer::Failed);
    QCOMPARE(system.calls, 1);
}

void tst_GrowingBuffer::the_buffer_is_never_smaller_than_needed_data()
{
    QTest::addColumn<quint32>("needed");
    QTest::newRow("one_byte") << quint32(1);
    QTest::newRow("one_byte_less_than_an_entry") << quint32(sizeof(Entry) - 1);
    QTest::newRow("one_entry") << quint32(sizeof(Entry));
    QTest::newRow("one_byte_more") << quint32(sizeof(Entry) + 1);
}

void tst_GrowingBuffer::the_buffer_is_never_smaller_than_needed()
{
    QFETCH(quint32, needed);
    GrowingSystem system({needed});
    Answer answer = Answer::Failed;
    const std::vector<Entry> buffer = gAsk(system, &answer);
    QCOMPARE(answer, Answer::Filled);
    QCOMPARE(system.calls, 2);
    QCOMPARE(system.offered.at(1), quint32(buffer.size() * sizeof(Entry)));
}

QTEST_GUILESS_MAIN(tst_GrowingBuffer)
#include "tst_GrowingBuffer.moc"
