// SPDX-License-Identifier: MIT

// Runs a fuzz target once on every file of the given folders. So builds without a fuzzer test the
// seeds and the inputs that failed once.

#include "tests/fuzz/FuzzTarget.h"

#include <QCoreApplication>
#include <QDirIterator>
#include <QFile>

#include <cstdio>

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    int count = 0;
    const QStringList folders = QCoreApplication::arguments().mid(1);
    for (const QString &folder : folders) {
        QDirIterator files(folder, QDir::Files);
        while (files.hasNext()) {
            QFile file(files.next());
            if (!file.open(QIODevice::ReadOnly)) {
                return 1;
            }
            const QByteArray bytes = file.readAll();
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.constData()),
                                   static_cast<std::size_t>(bytes.size()));
            ++count;
        }
    }
    std::printf("%d inputs\n", count);
    return count > 0 ? 0 : 1;
}
