// SPDX-License-Identifier: MIT

#include "api/QuillonInit.h"
#include "tests/support/TestFiles.h"
#include "ui/ImageButton.h"
#include "ui/TitleBar.h"
#include "update/UpdateCommon/HintDisplay.h"
#include "update/UpdateCommon/ProgressDisplay.h"
#include "update/UpdateCommon/VersionDisplay.h"

#include <QLabel>
#include <QLocale>
#include <QPainter>
#include <QProgressBar>
#include <QRegularExpression>
#include <QResource>
#include <QScrollBar>
#include <QtEndian>
#include <QtTest>

namespace
{
const QString folder = QStringLiteral(":/Quillon/Resources/");
const QString normalSheet = folder + QStringLiteral("Quillon.qss");
const QString denseSheet = folder + QStringLiteral("Quillon_2x.qss");
const QColor panelColour("#1C232A");

QString gImageOf(const char *state, const char *suffix = "")
{
    return folder +
           QStringLiteral("close_%1%2.png").arg(QLatin1String(state), QLatin1String(suffix));
}

/// The sheet's rules as "selector|property|property", including the rule that is commented out.
QStringList gRulesOf(const QString &sheet)
{
    QStringList rules;
    const QString text = QString::fromUtf8(gReadFile(sheet)).remove(QChar(QChar::ByteOrderMark));
    const auto blocks = text.split(QStringLiteral("\r\r"));
    for (const QString &block : blocks) {
        QString rule = block.trimmed();
        rule.replace(QStringLiteral("\r{\r\t"), QStringLiteral("|"));
        rule.replace(QStringLiteral(";\r\t"), QStringLiteral("|"));
        rule.remove(QStringLiteral(";\r}"));
        rules.append(rule);
    }
    return rules;
}

/// A dark panel with one of the sheets, for the widgets that it styles.
class Panel : public QWidget
{
public:
    explicit Panel(const QString &sheet)
    {
        QPalette dark;
        dark.setColor(QPalette::Window, panelColour);
        setPalette(dark);
        setStyleSheet(QuillonInit::gGetStyleSheet(sheet));
        resize(640, 320);
    }

    QImage PictureOf(const QWidget &child)
    {
        return grab(child.geometry()).toImage().convertToFormat(QImage::Format_RGB32);
    }
};
} // namespace

class tst_Resources : public QObject
{
    Q_OBJECT

private slots:
    void the_tree_holds_these_eighteen_files();
    void every_file_is_embedded_as_it_is_for_all_locales();
    void the_tree_has_format_version_1();
    void images_have_their_size_and_eight_bits_per_channel_with_alpha_data();
    void images_have_their_size_and_eight_bits_per_channel_with_alpha();
    void the_images_of_one_button_differ_clearly_data();
    void the_images_of_one_button_differ_clearly();
    void a_sheet_has_a_byte_order_mark_single_carriage_returns_and_tabs_data();
    void a_sheet_has_a_byte_order_mark_single_carriage_returns_and_tabs();
    void the_sheet_has_these_rules_in_this_order();
    void the_dense_sheet_differs_in_the_close_button_only();
    void every_image_that_a_sheet_names_is_there_data();
    void every_image_that_a_sheet_names_is_there();
    void title_bar_and_labels_take_their_look_from_the_sheet_data();
    void title_bar_and_labels_take_their_look_from_the_sheet();
    void the_commented_rule_has_no_effect();
    void progress_and_scroll_bars_are_flat();
    void each_state_of_the_close_button_shows_its_image_data();
    void each_state_of_the_close_button_shows_its_image();
    void the_dense_image_fills_the_whole_close_button();
};

void tst_Resources::the_tree_holds_these_eighteen_files()
{
    QStringList wanted{"Quillon.qss", "Quillon_2x.qss"};
    for (const char *name : {"close_up", "close_hover", "close_down", "close_dis", "x_small_n",
                             "x_small_h", "x_small_p", "x_small_d"}) {
        wanted << QString::fromLatin1(name) + ".png" << QString::fromLatin1(name) + "_2x.png";
    }
    wanted.sort();

    QCOMPARE(QDir(QStringLiteral(":/Quillon")).entryList(), QStringList{"Resources"});
    QStringList found = QDir(folder).entryList();
    found.sort();
    QCOMPARE(found, wanted);
}

void tst_Resources::every_file_is_embedded_as_it_is_for_all_locales()
{
    const QStringList names = QDir(folder).entryList();
    for (const QString &name : names) {
        const QResource resource(folder + name, QLocale(QLocale::German));
        QVERIFY(resource.isValid());
        QCOMPARE(resource.compressionAlgorithm(), QResource::NoCompression);
        QCOMPARE(gReadFile(folder + name), gReadFile(QStringLiteral(RESOURCES_SOURCE "/") + name));
    }
}

void tst_Resources::the_tree_has_format_version_1()
{
    // Later versions of the resource format contain each file's modification time.
    QVERIFY(QResource(normalSheet).isValid());
    QVERIFY(QResource(normalSheet).lastModified().isNull());
}

void tst_Resources::images_have_their_size_and_eight_bits_per_channel_with_alpha_data()
{
    QTest::addColumn<quint32>("side");
    const QStringList images = QDir(folder).entryList({QStringLiteral("*.png")});
    for (const QString &name : images) {
        const quint32 side = name.startsWith(QLatin1String("close")) ? 17 : 14;
        QTest::newRow(qPrintable(name)) << (name.contains(QLatin1String("_2x")) ? 2 * side : side);
    }
}

void tst_Resources::images_have_their_size_and_eight_bits_per_channel_with_alpha()
{
    QFETCH(quint32, side);
    const QByteArray png = gReadFile(folder + QString::fromLatin1(QTest::currentDataTag()));
    QCOMPARE(png.mid(1, 3), QByteArray("PNG"));
    QCOMPARE(png.mid(12, 4), QByteArray("IHDR"));
    QCOMPARE(qFromBigEndian<quint32>(png.constData() + 16), side);
    QCOMPARE(qFromBigEndian<quint32>(png.constData() + 20), side);
    QCOMPARE(int(png[24]), 8);
    // Colour type 6: red, green, blue and alpha.
    QCOMPARE(int(png[25]), 6);
}

void tst_Resources::the_images_of_one_button_differ_clearly_data()
{
    QTest::addColumn<QStringList>("names");
    QTest::newRow("close button") << QStringList{"close_up", "close_hover", "close_down",
                                                 "close_dis"};
    QTest::newRow("small cross") << QStringList{"x_small_n", "x_small_h", "x_small_p", "x_small_d"};
}

void tst_Resources::the_images_of_one_button_differ_clearly()
{
    QFETCH(QStringList, names);
    for (const QString &suffix : {QStringLiteral(".png"), QStringLiteral("_2x.png")}) {
        QVector<QColor> crosses;
        for (const QString &name : qAsConst(names)) {
            const QImage image(folder + name + suffix);
            QImage shown(image.size(), QImage::Format_RGB32);
            shown.fill(panelColour);
            QPainter(&shown).drawImage(0, 0, image);
            crosses.append(shown.pixelColor(shown.rect().center()));
            crosses.append(shown.pixelColor(shown.width() / 2, 1));
        }
        for (int i = 0; i < crosses.size(); i += 2) {
            for (int j = i + 2; j < crosses.size(); j += 2) {
                const auto differ = [&](int k) {
                    return qAbs(qGray(crosses[i + k].rgb()) - qGray(crosses[j + k].rgb()));
                };
                QVERIFY(qMax(differ(0), differ(1)) >= 20);
            }
        }
    }
}

void tst_Resources::a_sheet_has_a_byte_order_mark_single_carriage_returns_and_tabs_data()
{
    QTest::addColumn<QString>("sheet");
    QTest::newRow("normal") << normalSheet;
    QTest::newRow("dense") << denseSheet;
}

void tst_Resources::a_sheet_has_a_byte_order_mark_single_carriage_returns_and_tabs()
{
    QFETCH(QString, sheet);
    const QByteArray bytes = gReadFile(sheet);
    QVERIFY(bytes.startsWith("\xef\xbb\xbf"));
    QCOMPARE(bytes.count('\n'), 0);
    QVERIFY(bytes.count('\r') > 100);
    const auto lines = bytes.mid(3).split('\r');
    for (const QByteArray &line : lines) {
        QVERIFY2(!line.startsWith(' '), line.constData());
        QVERIFY2(!line.endsWith(' '), line.constData());
        QCOMPARE(line.endsWith(';'), line.startsWith('\t'));
    }
}

void tst_Resources::the_sheet_has_these_rules_in_this_order()
{
    const QString close =
        QStringLiteral("ImageButton#Quillon_TitleBar_CloseBtn%1|background-position: center"
                       "|background-repeat: no-repeat"
                       "|background-image: url(:/Quillon/Resources/close_%2.png)");
    const QStringList wanted{
        "UpdateMainImpl|background-color: #1C232A|border: 1px solid #2A343F",
        "URMessageBox|background-color: #1C232A",
        "TitleBar|background-color: #1C232A|border-bottom: 1px solid #000000",
        close.arg("", "up"),
        close.arg(":hover", "hover"),
        close.arg(":pressed", "down"),
        close.arg(":disabled", "dis"),
        QString("HintDisplay QLabel, QLabel#Quillon_TitleBar_CaptionLabel|%1|color: #CDD5DD")
            .arg("font: 14px \"Lato\""),
        "ProgressDisplay QLabel|font: 14px \"Lato\"|color: #6D8698",
        "/*QLabel#UpdateProgressLabel|font: 14px \"Lato\"|color: #6D8698*/",
        "QLabel#VersionDisplay_VersionLabel|font: 14px \"Lato\"|background-color: #1C232A",
        "QScrollArea|border: 0px",
        "QProgressBar|border: none|background-color: #151A20",
        "QProgressBar::chunk|background-color: #61DED0",
        // NOLINTNEXTLINE(bugprone-suspicious-missing-comma)
        "QScrollBar:vertical|border: none|background-color: #191E23|width: 10px"
        "|margin: 0px 7px 0px 0px|padding: 0px",
        "QScrollBar::handle:vertical|margin: 0px|padding: 0px|border: 0px|background: #4E6873"
        "|min-height: 20px|width: 3px",
        "QScrollBar::add-line:vertical|height: 0px",
        "QScrollBar::sub-line:vertical|height: 0px",
        "QScrollBar::add-page:vertical, QScrollBar::sub-page:vertical|background: transparent",
    };
    QCOMPARE(gRulesOf(normalSheet), wanted);
}

void tst_Resources::the_dense_sheet_differs_in_the_close_button_only()
{
    QByteArray wanted = gReadFile(normalSheet);
    wanted.replace("background-image:", "border-image:").replace(".png)", "_2x.png)");
    QCOMPARE(gReadFile(denseSheet), wanted);
}

void tst_Resources::every_image_that_a_sheet_names_is_there_data()
{
    a_sheet_has_a_byte_order_mark_single_carriage_returns_and_tabs_data();
}

void tst_Resources::every_image_that_a_sheet_names_is_there()
{
    QFETCH(QString, sheet);
    const QRegularExpression url(QStringLiteral("url\\(([^)]*)\\)"));
    auto match = url.globalMatch(QString::fromUtf8(gReadFile(sheet)));
    int count = 0;
    for (; match.hasNext(); ++count) {
        QVERIFY(QFile::exists(match.next().captured(1)));
    }
    QCOMPARE(count, 4);
}

void tst_Resources::title_bar_and_labels_take_their_look_from_the_sheet_data()
{
    a_sheet_has_a_byte_order_mark_single_carriage_returns_and_tabs_data();
}

void tst_Resources::title_bar_and_labels_take_their_look_from_the_sheet()
{
    QFETCH(QString, sheet);
    Panel panel(sheet);
    TitleBar titleBar(&panel);
    titleBar.setGeometry(0, 0, 300, 30);
    HintDisplay hintPage(&panel);
    ProgressDisplay progressPage(&panel);
    VersionDisplay versionPage(&panel);
    for (QWidget *page : {static_cast<QWidget *>(&hintPage), static_cast<QWidget *>(&progressPage),
                          static_cast<QWidget *>(&versionPage)}) {
        page->move(0, 40);
    }
    panel.show();

    const QImage bar = panel.PictureOf(titleBar);
    QCOMPARE(bar.pixelColor(2, 28), panelColour);
    QCOMPARE(bar.pixelColor(2, 29), QColor("#000000"));
    const auto hasLook = [](const QLabel *label, const char *colour) {
        return label->font().family() == QLatin1String("Lato") && label->font().pixelSize() == 14 &&
               label->palette().color(QPalette::WindowText) == QColor(colour);
    };
    QVERIFY(hasLook(titleBar.findChild<QLabel *>("Quillon_TitleBar_CaptionLabel"), "#CDD5DD"));
    QVERIFY(hasLook(hintPage.findChild<QLabel *>(), "#CDD5DD"));
    const auto labels = progressPage.findChildren<QLabel *>();
    QCOMPARE(labels.size(), 2);
    QVERIFY(hasLook(labels[0], "#6D8698"));
    QVERIFY(hasLook(labels[1], "#6D8698"));
    const auto *version = versionPage.findChild<QLabel *>("VersionDisplay_VersionLabel");
    QCOMPARE(version->font().pixelSize(), 14);
    QCOMPARE(version->palette().color(QPalette::WindowText),
             QGuiApplication::palette().color(QPalette::WindowText));
}

void tst_Resources::the_commented_rule_has_no_effect()
{
    Panel panel(normalSheet);
    QLabel label(QStringLiteral("Text"), &panel);
    label.setObjectName(QStringLiteral("UpdateProgressLabel"));
    panel.show();
    QCOMPARE(label.palette().color(QPalette::WindowText),
             QGuiApplication::palette().color(QPalette::WindowText));
    QVERIFY(label.font().pixelSize() != 14);
}

void tst_Resources::progress_and_scroll_bars_are_flat()
{
    Panel panel(normalSheet);
    QProgressBar progressBar(&panel);
    progressBar.setTextVisible(false);
    progressBar.setGeometry(0, 0, 200, 4);
    progressBar.setValue(50);
    QScrollBar scrollBar(Qt::Vertical, &panel);
    scrollBar.setGeometry(300, 0, 10, 200);
    scrollBar.setRange(0, 100);
    scrollBar.setPageStep(100);
    panel.show();

    const QImage progress = panel.PictureOf(progressBar);
    QCOMPARE(progress.pixelColor(20, 0), QColor("#61DED0"));
    QCOMPARE(progress.pixelColor(20, 3), QColor("#61DED0"));
    QCOMPARE(progress.pixelColor(180, 2), QColor("#151A20"));
    QCOMPARE(scrollBar.sizeHint().width(), 10);
    const QImage scroll = panel.PictureOf(scrollBar);
    // The handle begins at the very top, as there are no arrows, and takes half of the height.
    QCOMPARE(scroll.pixelColor(1, 1), QColor("#4E6873"));
    QCOMPARE(scroll.pixelColor(2, 90), QColor("#4E6873"));
    QCOMPARE(scroll.pixelColor(1, 150), QColor("#191E23"));
    QCOMPARE(scroll.pixelColor(3, 90), panelColour);
    QCOMPARE(scroll.pixelColor(9, 150), panelColour);
}

void tst_Resources::each_state_of_the_close_button_shows_its_image_data()
{
    QTest::addColumn<QString>("image");
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<bool>("underMouse");
    QTest::newRow("normal") << gImageOf("up") << true << false;
    QTest::newRow("mouse_over") << gImageOf("hover") << true << true;
    QTest::newRow("disabled") << gImageOf("dis") << false << false;
}

void tst_Resources::each_state_of_the_close_button_shows_its_image()
{
    QFETCH(QString, image);
    QFETCH(bool, enabled);
    QFETCH(bool, underMouse);
    Panel panel(normalSheet);
    ImageButton button(&panel);
    button.setObjectName(QStringLiteral("Quillon_TitleBar_CloseBtn"));
    button.setGeometry(50, 50, 24, 24);
    button.setEnabled(enabled);
    button.setAttribute(Qt::WA_UnderMouse, underMouse);
    panel.show();

    QImage wanted(24, 24, QImage::Format_RGB32);
    wanted.fill(panelColour);
    QPainter(&wanted).drawImage(4, 4, QImage(image));
    QCOMPARE(panel.PictureOf(button), wanted);
}

void tst_Resources::the_dense_image_fills_the_whole_close_button()
{
    Panel panel(denseSheet);
    ImageButton button(&panel);
    button.setObjectName(QStringLiteral("Quillon_TitleBar_CloseBtn"));
    button.setGeometry(50, 50, 24, 24);
    button.setAttribute(Qt::WA_UnderMouse);
    panel.show();

    // The plate under the cross reaches the button's edges; unscaled and centred it would end
    // before them.
    const QImage picture = panel.PictureOf(button);
    const QColor plate = QImage(gImageOf("hover", "_2x")).pixelColor(17, 1);
    QCOMPARE(picture.pixelColor(12, 0), plate);
    QCOMPARE(picture.pixelColor(0, 12), plate);
    QCOMPARE(picture.pixelColor(23, 12), plate);
}

QTEST_MAIN(tst_Resources)
#include "tst_Resources.moc"
