// SPDX-License-Identifier: MIT

#include "ResourcePath.h"

#include <QScreen>
#include <QtTest>

class tst_ResourcePath : public QObject
{
    Q_OBJECT

private slots:
    void the_screen_chooses_the_variant_data();
    void the_screen_chooses_the_variant();
};

void tst_ResourcePath::the_screen_chooses_the_variant_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("denseVariant");
    QTest::newRow("the_suffix_goes_before_the_extension") << ":/Quillon/Resources/Quillon.qss"
                                                          << ":/Quillon/Resources/Quillon_2x.qss";
    QTest::newRow("only_the_last_dot_begins_the_extension") << "a/b.old.png"
                                                            << "a/b.old_2x.png";
    QTest::newRow("a_dot_in_a_folders_name_is_no_extension") << "a.b/close"
                                                             << "a.b/close_2x";
    QTest::newRow("a_name_without_an_extension_gets_the_suffix_at_its_end") << "close"
                                                                            << "close_2x";
}

void tst_ResourcePath::the_screen_chooses_the_variant()
{
    QFETCH(QString, path);
    QFETCH(QString, denseVariant);
    const double ratio = qEnvironmentVariable("QT_SCALE_FACTOR", QStringLiteral("1")).toDouble();
    QCOMPARE(QGuiApplication::primaryScreen()->devicePixelRatio(), ratio);

    QCOMPARE(gGetResourcePathWithPixelRatio(path), ratio >= 2 ? denseVariant : path);
}

QTEST_MAIN(tst_ResourcePath)
#include "tst_ResourcePath.moc"
