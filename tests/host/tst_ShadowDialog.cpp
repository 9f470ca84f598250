// SPDX-License-Identifier: MIT

#include "ShadowDialog.h"

#include <QtTest>

#include <algorithm>

class tst_ShadowDialog : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void the_window_is_frameless_and_see_through();
    void the_shadow_fades_out_before_the_window_ends_data();
    void the_shadow_fades_out_before_the_window_ends();
    void the_shadow_is_fainter_at_the_corners_than_at_the_sides();
    void the_shadow_is_drawn_at_the_resolution_of_the_screen();
    void the_shadow_follows_a_new_size();
    void the_content_area_has_the_window_colour_up_to_its_edges();
    void a_dialog_smaller_than_its_border_is_painted_too();

private:
    static QImage Picture(QWidget *widget);
    static QVector<int> AlphaFromOutside(const QImage &picture, Qt::Edge edge);
};

QImage tst_ShadowDialog::Picture(QWidget *widget)
{
    return widget->grab().toImage().convertToFormat(QImage::Format_ARGB32);
}

QVector<int> tst_ShadowDialog::AlphaFromOutside(const QImage &picture, Qt::Edge edge)
{
    const int pixels = qRound(gGetSystemBorder() * picture.devicePixelRatio());
    const QPoint middle = picture.rect().center();
    QVector<int> alpha;
    for (int i = 0; i < pixels; ++i) {
        QPoint at;
        switch (edge) {
        case Qt::LeftEdge:
            at = QPoint(i, middle.y());
            break;
        case Qt::RightEdge:
            at = QPoint(picture.width() - 1 - i, middle.y());
            break;
        case Qt::TopEdge:
            at = QPoint(middle.x(), i);
            break;
        case Qt::BottomEdge:
            at = QPoint(middle.x(), picture.height() - 1 - i);
            break;
        }
        alpha.append(qAlpha(picture.pixel(at)));
    }
    return alpha;
}

void tst_ShadowDialog::initTestCase()
{
    const double wanted = qEnvironmentVariable("QT_SCALE_FACTOR", QStringLiteral("1")).toDouble();
    QCOMPARE(ShadowDialog().devicePixelRatioF(), wanted);
}

void tst_ShadowDialog::the_window_is_frameless_and_see_through()
{
    const ShadowDialog dialog;
    QVERIFY(dialog.windowFlags().testFlag(Qt::FramelessWindowHint));
    QVERIFY(dialog.testAttribute(Qt::WA_TranslucentBackground));
    QVERIFY(dialog.isWindow());
}

void tst_ShadowDialog::the_shadow_fades_out_before_the_window_ends_data()
{
    QTest::addColumn<Qt::Edge>("edge");
    QTest::newRow("on_the_left") << Qt::LeftEdge;
    QTest::newRow("on_the_right") << Qt::RightEdge;
    QTest::newRow("above") << Qt::TopEdge;
    QTest::newRow("below") << Qt::BottomEdge;
}

void tst_ShadowDialog::the_shadow_fades_out_before_the_window_ends()
{
    QFETCH(Qt::Edge, edge);
    ShadowDialog dialog;
    dialog.resize(300, 200);
    const QVector<int> alpha = AlphaFromOutside(Picture(&dialog), edge);

    QVERIFY(alpha.first() <= 3);
    QVERIFY(alpha.last() >= 50);
    QVERIFY(alpha.last() < 255);
    QVERIFY(std::is_sorted(alpha.begin(), alpha.end()));
}

void tst_ShadowDialog::the_shadow_is_fainter_at_the_corners_than_at_the_sides()
{
    ShadowDialog dialog;
    dialog.resize(300, 200);
    const QImage picture = Picture(&dialog);
    const int last = qRound(gGetSystemBorder() * picture.devicePixelRatio()) - 1;

    QCOMPARE(qAlpha(picture.pixel(0, 0)), 0);
    const int corner = qAlpha(picture.pixel(last, last));
    QVERIFY(corner > 0);
    QVERIFY(corner < qAlpha(picture.pixel(last, picture.height() / 2)));
}

void tst_ShadowDialog::the_shadow_is_drawn_at_the_resolution_of_the_screen()
{
    ShadowDialog dialog;
    dialog.resize(300, 200);
    const QVector<int> alpha = AlphaFromOutside(Picture(&dialog), Qt::BottomEdge);

    // A shadow scaled up from half the size would repeat every value.
    const QVector<int> inner = alpha.mid(alpha.size() / 2);
    QVERIFY(std::adjacent_find(inner.begin(), inner.end()) == inner.end());
}

void tst_ShadowDialog::the_shadow_follows_a_new_size()
{
    ShadowDialog resized;
    resized.resize(300, 200);
    const QImage before = Picture(&resized);
    resized.resize(420, 260);
    ShadowDialog fresh;
    fresh.resize(420, 260);

    QCOMPARE(Picture(&resized), Picture(&fresh));
    resized.resize(300, 200);
    QCOMPARE(Picture(&resized), before);
}

void tst_ShadowDialog::the_content_area_has_the_window_colour_up_to_its_edges()
{
    ShadowDialog dialog;
    dialog.resize(300, 200);
    QPalette palette = dialog.palette();
    palette.setColor(QPalette::Window, QColor(10, 200, 30));
    dialog.setPalette(palette);
    const QImage picture = Picture(&dialog);
    const int border = qRound(gGetSystemBorder() * picture.devicePixelRatio());
    const QRect content = picture.rect().adjusted(border, border, -border, -border);

    QCOMPARE(picture.pixelColor(content.topLeft()), QColor(10, 200, 30));
    QCOMPARE(picture.pixelColor(content.center()), QColor(10, 200, 30));
    QCOMPARE(picture.pixelColor(content.bottomRight()), QColor(10, 200, 30));
    QVERIFY(picture.pixelColor(content.topLeft() - QPoint(1, 0)).alpha() < 255);
    QVERIFY(picture.pixelColor(content.bottomRight() + QPoint(0, 1)).alpha() < 255);
}

void tst_ShadowDialog::a_dialog_smaller_than_its_border_is_painted_too()
{
    ShadowDialog dialog;
    dialog.resize(5, 3);
    const QImage picture = Picture(&dialog);
    QCOMPARE(picture.size() / picture.devicePixelRatio(), QSize(5, 3));
}

QTEST_MAIN(tst_ShadowDialog)
#include "tst_ShadowDialog.moc"
