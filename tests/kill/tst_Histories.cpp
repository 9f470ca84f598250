// SPDX-License-Identifier: MIT

#include "tests/kill/Histories.h"

#include <QTest>

/// Whole histories of a download: sessions that are closed, killed and hindered, one after the
/// other. The many of them are in ./dev torture.
class tst_Histories : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_tally = Tally(Tally::Talk::Failures); }

    void histories_with_a_fixed_course_end_with_the_published_bytes();
    void histories_drawn_at_random_end_with_the_published_bytes();

private:
    Tally m_tally{Tally::Talk::Failures};
};

void tst_Histories::histories_with_a_fixed_course_end_with_the_published_bytes()
{
    Histories(&m_tally).RunScripts(true);
    QCOMPARE(m_tally.Failures(), 0);
    QVERIFY(m_tally.Kills() > 0);
}

void tst_Histories::histories_drawn_at_random_end_with_the_published_bytes()
{
    constexpr quint32 seed = 4;
    constexpr quint32 count = 8;

    Histories(&m_tally).RunDrawn(seed, 1, count);
    QCOMPARE(m_tally.Failures(), 0);
    QCOMPARE(m_tally.Cases(), static_cast<int>(count));
}

QTEST_MAIN(tst_Histories)
#include "tst_Histories.moc"
