// SPDX-License-Identifier: MIT

// Writes the seeds of the fuzz targets into the folder named, one folder for each target.

#include "tests/support/BsdiffWriter.h"
#include "tests/support/MinisignKeyPair.h"
#include "tests/support/PeBuilder.h"
#include "tests/support/SignedManifest.h"
#include "tests/support/TestBytes.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

namespace
{
class Corpus
{
public:
    Corpus(const QString &folder, const char *target)
        : m_folder(folder + QLatin1Char('/') + QLatin1String(target))
    {
        QDir().mkpath(m_folder.path());
    }

    void Add(const char *name, const QByteArray &bytes) const
    {
        QFile file(m_folder.filePath(QLatin1String(name)));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
            qFatal("The seed %s cannot be written.", name);
        }
    }

private:
    QDir m_folder;
};

void gWriteManifests(const QString &folder)
{
    const Corpus corpus(folder, "VersionInfo");
    const QByteArray full = "<ExeUrl_x64>https://u.example/c.exe</ExeUrl_x64>"
                            "<Verify_x64>900150983cd24fb0d6963f7d28e17f72</Verify_x64>";
    const QByteArray notes =
        "<WhatNews><Item><Version>9.2.0.0</Version><Text><![CDATA[<li>A</li>]]></Text></Item>"
        "<Item><Version>9.1.0.0</Version><Text>&lt;ol&gt;&lt;li&gt;B&lt;/ol&gt;</Text></Item>"
        "</WhatNews>";
    const QByteArray increase =
        "<OldVerify_x64>d41d8cd98f00b204e9800998ecf8427e</OldVerify_x64><IncreasePackage>"
        "<Url_x64>https://u.example/c.patch</Url_x64><Version>9.2.0.0</Version>"
        "<Verify_x64>0cc175b9c0f1b6a831c399e269772661</Verify_x64><Size_x64>4294967295</Size_x64>"
        "<AutoNotify>1</AutoNotify></IncreasePackage>";
    corpus.Add("empty", "");
    corpus.Add("no-update", "<Update/>");
    corpus.Add("full", "<Update>" + full + notes + "</Update>");
    corpus.Add("increase",
               "<?xml version=\"1.0\"?>\n<Update>" + full + notes + increase + "</Update>\n");
    corpus.Add("odd-order", "<a>" + increase + "<Item><Item>" + notes + "</Item></Item></a>");
    corpus.Add("odd-numbers", "<a><IncreasePackage><Size_x64>-1</Size_x64><AutoNotify>2x"
                              "</AutoNotify></IncreasePackage></a>");
    corpus.Add("entities", "<!DOCTYPE a [<!ENTITY x \"y\"><!ENTITY z \"&x;&x;\">]>"
                           "<a><ExeUrl_x64>&z;&#65;&amp;</ExeUrl_x64></a>");
    corpus.Add("cut", ("<Update>" + full + notes).left(150));
    corpus.Add("web-page", "<!DOCTYPE html><html><body><p>Log in<br></body></html>");
}

void gWriteSignedManifests(const QString &folder)
{
    const Corpus corpus(folder, "SignedManifest");
    const MinisignKeyPair key('f'); // the one that the target trusts
    SignedManifest manifest;
    manifest.forVersion = "9.1.0.0";
    manifest.expires = "2027-01-31T00:00:00Z";
    corpus.Add("no-update", key.Sign(manifest.Document()));
    manifest.exeUrl = QStringLiteral("https://u.example/c.exe");
    manifest.full = "full";
    corpus.Add("full", key.Sign(manifest.Document()));
    manifest.patchUrl = QStringLiteral("https://u.example/c.patch");
    manifest.patch = "patch";
    manifest.result = manifest.full;
    manifest.kept = "kept";
    const QByteArray whole = key.Sign(manifest.Document());
    corpus.Add("increase", whole);
    corpus.Add("unsigned", manifest.Document());
    corpus.Add("cut", whole.chopped(30));
    corpus.Add("two-signatures", key.Sign(whole));
    corpus.Add("odd-numbers", key.Sign(manifest.Document().replace("<Serial>5", "<Serial>+5")));
    corpus.Add("twice", key.Sign(manifest.Document().replace("</Signed>", "</Signed><Signed/>")));
    MinisignKeyPair::Spoil legacy;
    legacy.algorithm = "Ed";
    corpus.Add("legacy", key.Sign(manifest.Document(), legacy));
}

void gWritePrograms(const QString &folder)
{
    const Corpus corpus(folder, "PeVersionResource");
    const PeBuilder usual = PeBuilder::WithFileVersion(QStringLiteral("9.1.0.0"));
    corpus.Add("usual", usual.Build());
    corpus.Add("32-bit", PeBuilder(usual).SetFormat(PeBuilder::Format::Pe32).Build());
    corpus.Add("translations-first", PeBuilder(usual).PutTranslationsFirst().Build());
    corpus.Add("two-languages",
               PeBuilder(usual)
                   .AddTranslation(0x407, 1200)
                   .AddString(QStringLiteral("040704b0"), QStringLiteral("FileVersion"),
                              QStringLiteral("9,1,0,0"))
                   .Build());
    corpus.Add("no-version", PeBuilder(usual).LeaveOutVersionResource().Build());
    corpus.Add("no-resources", PeBuilder(usual).LeaveOutResources().Build());
    corpus.Add("cut", usual.Build().left(PeBuilder::resourceDirectory + 100));
    corpus.Add("script", "#!/bin/sh\n# FileVersion=9.1.0.0\n");
}

void gWriteStates(const QString &folder)
{
    const Corpus corpus(folder, "ResumeState");
    const QByteArray sizes = "[FullPackage_size]\nFullPackage_size=1000003\n\n"
                             "[AlreadyDownload_size]\nAlreadyDownload_size=123456\n\n";
    const QByteArray ranges =
        "[DownLoad_Tasks]\nStart_Byte1=100000\nEnd_Byte1=199999\nStart_Byte2=223456\n"
        "End_Byte2=399999\nStart_Byte3=400000\nEnd_Byte3=599999\nStart_Byte4=600000\n"
        "End_Byte4=799999\nStart_Byte5=800000\nEnd_Byte5=1000002\n";
    corpus.Add("empty", "");
    corpus.Add("half-way", sizes + ranges);
    const QByteArray flushed = "\n[Flushed]\nBoot_Id=0f1e2d3c\nFlushed_Byte1=50000\n"
                               "Flushed_Byte2=200000\nFlushed_Byte3=400000\n"
                               "Flushed_Byte4=600000\nFlushed_Byte5=800000\n";
    corpus.Add("half-way-and-flushed", sizes + ranges + flushed);
    corpus.Add("flushed-beyond",
               sizes + ranges +
                   QByteArray(flushed).replace("=50000", "=99999999999").replace("=200000", "=-1"));
    corpus.Add("no-ranges", sizes);
    corpus.Add("windows-lines", QByteArray(sizes + ranges).replace("\n", "\r\n"));
    corpus.Add("odd-numbers",
               "[FullPackage_size]\nFullPackage_size=99999999999\n[DownLoad_Tasks]\n"
               "Start_Byte1=-1\nEnd_Byte1=@Invalid()\nStart_Byte2=1, 2\n"
               "End_Byte2=@Variant(\\0\\0\\0\\x2\\0\\0\\0\\x1)\nStart_Byte3=\"\\x41\"\n");
    corpus.Add("cut", (sizes + ranges).left(140));
    corpus.Add("zeros", QByteArray(200, '\0'));
}

/// @p bytes behind their length, as fuzz_Bspatch reads a piece.
QByteArray gPieceWithLength(const QByteArray &bytes)
{
    return QByteArray(1, static_cast<char>(bytes.size() % 256)) +
           QByteArray(1, static_cast<char>(bytes.size() / 256)) + bytes;
}

void gWritePatches(const QString &folder)
{
    const Corpus corpus(folder, "Bspatch");
    const QByteArray old = gTestBytes(300);
    BsdiffWriter writer;
    writer.AddStep(QByteArray(100, '\0'), "extra", 50);
    writer.AddStep(QByteArray(60, '\1'), "", -120);
    writer.AddStep("", "the end", 0);
    const BsdiffWriter::Blocks &blocks = writer.Unpacked();
    corpus.Add("patch", 'a' + gPieceWithLength(old) + writer.Build());
    corpus.Add("cut", 'a' + gPieceWithLength(old) + writer.Build().chopped(20));
    corpus.Add("empty", "a");
    corpus.Add("no-blocks", 'a' + gPieceWithLength({}) + BsdiffWriter::Build({}, 0));
    corpus.Add("blocks", 'b' + gPieceWithLength(old) + gPieceWithLength(blocks.control) +
                             gPieceWithLength(blocks.diff) + gPieceWithLength(blocks.extra));
    BsdiffWriter far;
    far.AddStep("ab", "c", Q_INT64_C(-9000000000000000000));
    far.AddStep("de", "f", Q_INT64_C(9000000000000000000));
    BsdiffWriter farther;
    farther.AddStep("ab", "c", Q_INT64_C(9000000000000000000));
    farther.AddStep("", "f", Q_INT64_C(9000000000000000000));
    corpus.Add("far", 'b' + gPieceWithLength(old) + gPieceWithLength(far.Unpacked().control) +
                          gPieceWithLength(far.Unpacked().diff) +
                          gPieceWithLength(far.Unpacked().extra));
    corpus.Add("too-far", 'b' + gPieceWithLength(old) +
                              gPieceWithLength(farther.Unpacked().control) +
                              gPieceWithLength(farther.Unpacked().diff) +
                              gPieceWithLength(farther.Unpacked().extra));
}
} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QString folder = QCoreApplication::arguments().value(1);
    if (folder.isEmpty()) {
        return 2;
    }
    gWriteManifests(folder);
    gWriteSignedManifests(folder);
    gWritePrograms(folder);
    gWriteStates(folder);
    gWritePatches(folder);
    return 0;
}
