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
    QTest::newRow("the suffix goes before the extension") << ":/Quillon/Resources/Quillon.qss"
                                                          << ":/Quillon/Resources/Quillon_2x.qss";
    QTest::newRow("only the last dot begins the extension") << "a/b.old.png"
                                                            << "a/b.old_2x.png";
    QTest::newRow("a dot in a folder's name is no extension") << "a.b/close"
                                                              << "a.b/close_2x";
    QTest::newRow("a name without an extension gets the suffix at its end") << "close"
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
