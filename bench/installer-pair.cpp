// SPDX-License-Identifier: MIT

// installer-pair DIR MB: writes the installers DIR/old and DIR/new of about MB mebibytes and the
// patch DIR/patch between them.
//
// The pair differs as two versions of an installer do: most files in it are the same, a program
// that was built again has other addresses all over it, and some files are new or gone. A tool that
// makes patches takes minutes and gigabytes to find that out for 256 MB; here it is known.

#include "tests/support/BsdiffWriter.h"

#include <QByteArray>
#include <QFile>
#include <QString>

#include <bzlib.h>

#include <iostream>
#include <random>

namespace
{
constexpr int mebibyte = 1024 * 1024;

class InstallerPair
{
public:
    /// @param seed the same one gives the same pair
    explicit InstallerPair(unsigned int seed)
        : m_random(seed)
    {
    }

    /// The next mebibyte of the old installer, and what became of it in the new one.
    void AddMebibyte()
    {
        constexpr int program = mebibyte / 10;
        constexpr int mostBetweenAddresses = 80;
        constexpr int gone = 5000;
        constexpr int added = 10000;

        const QByteArray same = RandomBytes(mebibyte - gone);
        QByteArray diff(same.size(), '\0');
        QByteArray changed = same;
        for (int at = 0; at < program;
             at += 1 + static_cast<int>(m_random() % mostBetweenAddresses)) {
            const int change = 1 + static_cast<int>(m_random() % 255);
            diff[at] = static_cast<char>(change);
            changed[at] = static_cast<char>(changed.at(at) + change);
        }
        const QByteArray extra = RandomBytes(added);
        m_old += same + RandomBytes(gone);
        m_new += changed + extra;
        m_patch.AddStep(diff, extra, gone);
    }

    bool Write(const QString &folder) const
    {
        // In blocks as large as those of the usual tool, so that unpacking takes as much memory.
        const BsdiffWriter::Blocks &blocks = m_patch.Unpacked();
        const QByteArray patch = BsdiffWriter::Assemble(
            {Packed(blocks.control), Packed(blocks.diff), Packed(blocks.extra)}, m_patch.NewSize());
        return WriteFile(folder + QStringLiteral("/old"), m_old) &&
               WriteFile(folder + QStringLiteral("/new"), m_new) &&
               WriteFile(folder + QStringLiteral("/patch"), patch);
    }

private:
    QByteArray RandomBytes(int count)
    {
        QByteArray bytes;
        while (bytes.size() < count) {
            const quint64 number = m_random();
            bytes.append(reinterpret_cast<const char *>(&number), sizeof number);
        }
        bytes.truncate(count);
        return bytes;
    }

    static QByteArray Packed(const QByteArray &block)
    {
        constexpr int nineHundredKilobytes = 9;
        auto size = static_cast<unsigned int>(block.size() + block.size() / 100 + 601);
        QByteArray packed(static_cast<int>(size), Qt::Uninitialized);
        const int result = BZ2_bzBuffToBuffCompress(
            packed.data(), &size, const_cast<char *>(block.constData()),
            static_cast<unsigned int>(block.size()), nineHundredKilobytes, 0, 0);
        packed.truncate(result == BZ_OK ? static_cast<int>(size) : 0);
        return packed;
    }

    static bool WriteFile(const QString &path, const QByteArray &bytes)
    {
        QFile file(path);
        return !bytes.isEmpty() && file.open(QIODevice::WriteOnly) &&
               file.write(bytes) == bytes.size() && file.flush();
    }

    std::mt19937_64 m_random;
    QByteArray m_old;
    QByteArray m_new;
    BsdiffWriter m_patch;
};
} // namespace

int main(int argc, char *argv[])
{
    constexpr int mostMebibytes = 1024;

    const int size = argc == 3 ? QByteArray(argv[2]).toInt() : 0;
    if (size <= 0 || size > mostMebibytes) {
        std::cerr << "usage: installer-pair DIR MB (at most " << mostMebibytes << ")\n";
        return 2;
    }
    InstallerPair pair(static_cast<unsigned int>(size));
    for (int part = 0; part < size; ++part) {
        pair.AddMebibyte();
    }
    if (!pair.Write(QString::fromLocal8Bit(argv[1]))) {
        std::cerr << "installer-pair: cannot write into " << argv[1] << '\n';
        return 1;
    }
    return 0;
}
