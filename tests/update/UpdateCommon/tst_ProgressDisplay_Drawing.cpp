// SPDX-License-Identifier: MIT

#include "update/UpdateCommon/ProgressDisplay.h"

#include <QElapsedTimer>
#include <QImage>
#include <QLabel>
#include <QPaintEvent>
#include <QProgressBar>
#include <QTest>

namespace
{
QLabel *gProgressLabel(const QWidget &page)
{
    return page.findChild<QLabel *>("UpdateProgressLabel", Qt::FindDirectChildrenOnly);
}

QProgressBar *gProgressBar(const QWidget &page)
{
    return page.findChild<QProgressBar *>("UpdateProgressBar", Qt::FindDirectChildrenOnly);
}

/// The label with the percentage, which has no object name.
QLabel *gPercentLabel(const QWidget &page)
{
    for (auto *label : page.findChildren<QLabel *>(QString(), Qt::FindDirectChildrenOnly)) {
        if (label->objectName().isEmpty()) {
            return label;
        }
    }
    return nullptr;
}

/// What a label showed each time that the whole of it was drawn.
class DrawnTexts : public QObject
{
public:
    explicit DrawnTexts(QLabel *label)
        : m_label(label)
    {
        label->installEventFilter(this);
    }

    QStringList texts;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint &&
            static_cast<QPaintEvent *>(event)->rect().contains(m_label->rect())) {
            texts += m_label->text();
        }
        return QObject::eventFilter(watched, event);
    }

private:
    QLabel *m_label;
};

/// At the size that the dialog gives it.
bool gShow(ProgressDisplay *page)
{
    page->resize(638, 239);
    page->show();
    return QTest::qWaitForWindowExposed(page);
}

void gSetAll(ProgressDisplay *page, int value)
{
    page->SetText(QString::number(value) + " bytes");
    page->SetMaximum(1000);
    page->SetValue(value);
}

} // namespace

/// The values of the page are always the latest; they are drawn less often than they change.
class tst_ProgressDisplay_Drawing : public QObject
{
    Q_OBJECT

private slots:
    void a_first_change_is_not_held_back();
    void of_many_changes_few_are_drawn();
    void each_change_has_its_values_though_it_is_not_drawn();
    void the_last_change_is_drawn_in_the_end();
    void a_picture_has_what_is_not_drawn_yet();
};

void tst_ProgressDisplay_Drawing::a_first_change_is_not_held_back()
{
    ProgressDisplay page(nullptr);
    page.SetText("Checking the version.");
    QVERIFY(gProgressLabel(page)->updatesEnabled());
    page.SetText("Downloading the update, please wait.");
    QVERIFY(!gProgressLabel(page)->updatesEnabled());
}

void tst_ProgressDisplay_Drawing::of_many_changes_few_are_drawn()
{
    constexpr int changes = 300;
    constexpr int pauseMs = 95; // a timer of 100 ms may be early by a twentieth
    ProgressDisplay page(nullptr);
    QVERIFY(gShow(&page));
    DrawnTexts status(gProgressLabel(page));
    DrawnTexts percentage(gPercentLabel(page));
    QElapsedTimer clock;
    clock.start();
    for (int value = 1; value <= changes; ++value) {
        gSetAll(&page, value);
        QCoreApplication::processEvents();
    }
    // Ten in a second, and some more: for the first change, and where the system asks for a window that was
    // just shown. Under Wine there are up to 16 in half a second.
    const qint64 most = qMax<qint64>(changes / 5, clock.elapsed() / pauseMs + 5);
    QVERIFY2(status.texts.size() <= most, qPrintable(status.texts.join('\n')));
    QVERIFY2(percentage.texts.size() <= most, qPrintable(percentage.texts.join('\n')));
}

void tst_ProgressDisplay_Drawing::each_change_has_its_values_though_it_is_not_drawn()
{
    ProgressDisplay page(nullptr);
    page.show();
    for (int value = 10; value <= 1000; value += 10) {
        gSetAll(&page, value);
        QCOMPARE(gProgressLabel(page)->text(), QString::number(value) + " bytes");
        QCOMPARE(gProgressBar(page)->maximum(), 1000);
        QCOMPARE(gProgressBar(page)->value(), value);
        QCOMPARE(gPercentLabel(page)->text(), QString::number(value / 10) + "%");
    }
}

void tst_ProgressDisplay_Drawing::the_last_change_is_drawn_in_the_end()
{
    ProgressDisplay page(nullptr);
    QVERIFY(gShow(&page));
    DrawnTexts status(gProgressLabel(page));
    DrawnTexts percentage(gPercentLabel(page));
    for (const int value : {100, 200, 300}) {
        gSetAll(&page, value);
        QCoreApplication::processEvents();
    }
    QTRY_COMPARE(status.texts.value(status.texts.size() - 1), QString("300 bytes"));
    QTRY_COMPARE(percentage.texts.value(percentage.texts.size() - 1), QString("30%"));
    gSetAll(&page, 1000);
    QTRY_COMPARE(status.texts.constLast(), QString("1000 bytes"));
    QTRY_COMPARE(percentage.texts.constLast(), QString("100%"));
}

void tst_ProgressDisplay_Drawing::a_picture_has_what_is_not_drawn_yet()
{
    ProgressDisplay other(nullptr);
    other.resize(638, 239);
    gSetAll(&other, 900);
    const QImage expected = other.grab().toImage();

    ProgressDisplay page(nullptr);
    page.resize(638, 239);
    gSetAll(&page, 100);
    QVERIFY(page.grab().toImage() != expected);
    gSetAll(&page, 900);
    QVERIFY(!gProgressLabel(page)->updatesEnabled());
    QCOMPARE(page.grab().toImage(), expected);
}

QTEST_MAIN(tst_ProgressDisplay_Drawing)
#include "tst_ProgressDisplay_Drawing.moc"
