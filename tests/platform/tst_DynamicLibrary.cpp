// SPDX-License-Identifier: MIT

#include "platform/DynamicLibrary.h"

#include "tests/support/LoadedLibrary.h"
#include "tests/support/OddCustomization.h"

#include <QFile>
#include <QScopedPointer>
#include <QTemporaryDir>
#include <QTest>

namespace
{

const QString library = QStringLiteral(ODD_CUSTOMIZATION);
const QString libraryWithoutRead = QStringLiteral(ODD_CUSTOMIZATION_WITHOUT_READ);

using ReadFunction = decltype(&ReadCustomizeInfoW);

} // namespace

class tst_DynamicLibrary : public QObject
{
    Q_OBJECT

private slots:
    void an_export_can_be_called();
    void a_missing_export_is_null();
    void nothing_resolves_before_a_library_is_loaded();
    void what_is_no_library_is_not_loaded_data();
    void what_is_no_library_is_not_loaded();
    void a_loaded_library_stays();
    void a_failed_load_can_be_repeated();
    void the_library_leaves_the_process_with_the_object();
    void a_path_beyond_ascii_is_found();

private:
    QTemporaryDir m_directory;
};

void tst_DynamicLibrary::an_export_can_be_called()
{
    DynamicLibrary loaded;
    QVERIFY(loaded.Load(library));
    const auto read = loaded.Resolve<ReadFunction>("ReadCustomizeInfoW");
    QVERIFY(read);
    char16_t buffer[256] = {};
    QCOMPARE(read(u"PID", u"ENG", buffer, 256, 0, 0), 1);
    QCOMPARE(QString::fromUtf16(buffer), QString("value"));
}

void tst_DynamicLibrary::a_missing_export_is_null()
{
    DynamicLibrary loaded;
    QVERIFY(loaded.Load(libraryWithoutRead));
    QVERIFY(!loaded.Resolve<ReadFunction>("ReadCustomizeInfoW"));
    QVERIFY(!loaded.Resolve<ReadFunction>(""));
}

void tst_DynamicLibrary::nothing_resolves_before_a_library_is_loaded()
{
    const DynamicLibrary nothing;
    // A look-up in the whole process would find this export of the C library.
    QVERIFY(!nothing.Resolve<void (*)()>("malloc"));
    QVERIFY(!nothing.Resolve<ReadFunction>("ReadCustomizeInfoW"));
}

void tst_DynamicLibrary::what_is_no_library_is_not_loaded_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("a_missing_file") << "missing.dll";
    QTest::newRow("a_text") << "text.dll";
    QTest::newRow("an_empty_file") << "empty.dll";
    QTest::newRow("a_directory") << ".";
}

void tst_DynamicLibrary::what_is_no_library_is_not_loaded()
{
    QFETCH(QString, name);
    QFile text(m_directory.filePath("text.dll"));
    QVERIFY(text.open(QIODevice::WriteOnly) && text.write("no library\n") > 0);
    text.close();
    QFile empty(m_directory.filePath("empty.dll"));
    QVERIFY(empty.open(QIODevice::WriteOnly));

    DynamicLibrary nothing;
    QVERIFY(!nothing.Load(m_directory.filePath(name)));
    QVERIFY(!nothing.Resolve<ReadFunction>("ReadCustomizeInfoW"));
}

void tst_DynamicLibrary::a_loaded_library_stays()
{
    DynamicLibrary loaded;
    QVERIFY(loaded.Load(library));
    QVERIFY(loaded.Load(libraryWithoutRead));
    QVERIFY(loaded.Load(m_directory.filePath("missing.dll")));
    QVERIFY(loaded.Resolve<ReadFunction>("ReadCustomizeInfoW"));
    QVERIFY(!gIsInProcess(libraryWithoutRead));
}

void tst_DynamicLibrary::a_failed_load_can_be_repeated()
{
    DynamicLibrary loaded;
    QVERIFY(!loaded.Load(m_directory.filePath("missing.dll")));
    QVERIFY(loaded.Load(library));
    QVERIFY(loaded.Resolve<ReadFunction>("ReadCustomizeInfoW"));
}

void tst_DynamicLibrary::the_library_leaves_the_process_with_the_object()
{
    QVERIFY(!gIsInProcess(library));
    QScopedPointer<DynamicLibrary> loaded(new DynamicLibrary);
    QVERIFY(loaded->Load(library));
    QVERIFY(gIsInProcess(library));
    loaded.reset();
    QVERIFY(!gIsInProcess(library));
}

void tst_DynamicLibrary::a_path_beyond_ascii_is_found()
{
    const QString copy = m_directory.filePath(QString::fromUtf8("für alle.dll"));
    QVERIFY(QFile::copy(library, copy));
    DynamicLibrary loaded;
    QVERIFY(loaded.Load(copy));
    QVERIFY(loaded.Resolve<ReadFunction>("ReadCustomizeInfoW"));
}

QTEST_GUILESS_MAIN(tst_DynamicLibrary)
#include "tst_DynamicLibrary.moc"
