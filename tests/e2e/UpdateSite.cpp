// SPDX-License-Identifier: MIT

#include "tests/e2e/UpdateSite.h"

#include "tests/support/Md5.h"
#include "tests/support/TestFiles.h"

#include <QDir>
#include <QSettings>

namespace
{
const char resumeFile[] = "/CvBreakResumeDownLoad.ini";
} // namespace

UpdateSite::UpdateSite(const QString &workingFolder)
    : m_workingFolder(workingFolder.isEmpty() ? Home() + QStringLiteral("/data/Halvard")
                                              : workingFolder)
{
    QDir().mkpath(Home());
    QDir().mkpath(Folder() + QStringLiteral("/packages"));
    QDir().mkpath(Folder() + QStringLiteral("/manifests"));
    QDir().mkpath(WorkingFolder());
}

QString UpdateSite::Folder() const
{
    return m_folder.filePath(QStringLiteral("site"));
}

QString UpdateSite::Home() const
{
    return m_folder.filePath(QStringLiteral("home"));
}

bool UpdateSite::Publish(const QString &name, const QByteArray &content) const
{
    return gWriteFile(Folder() + QStringLiteral("/packages/") + name, content);
}

bool UpdateSite::WriteManifest(const QString &url) const
{
    const QString manifest =
        QStringLiteral(
            "<Update><ExeUrl_x64>%1</ExeUrl_x64><WhatNews><Item><Version>9.2.0.0</Version>"
            "<Text><![CDATA[<li>Faster export</li><li>Fewer stalls</li>]]></Text></Item>"
            "</WhatNews></Update>")
            .arg(url);
    return gWriteFile(Folder() + QStringLiteral("/manifest.xml"), manifest.toUtf8());
}

QString UpdateSite::PatchName()
{
    return QStringLiteral("corvina.patch");
}

bool UpdateSite::PublishPatch(const QString &baseUrl, const QString &oldVersion,
                              const QByteArray &oldInstaller, const QByteArray &newInstaller,
                              const QString &fullUrl, const QByteArray &patch,
                              const QString &newVersion) const
{
    const QString manifest =
        QStringLiteral("<Update><ExeUrl_x64>%1</ExeUrl_x64><Verify_x64>%2</Verify_x64>"
                       "<OldVerify_x64>%3</OldVerify_x64>"
                       "<WhatNews><Item><Version>%6</Version>"
                       "<Text><![CDATA[<li>Faster export</li>]]></Text></Item></WhatNews>"
                       "<IncreasePackage><Url_x64>%4</Url_x64><Version>%6</Version>"
                       "<Verify_x64>%2</Verify_x64><Size_x64>%5</Size_x64>"
                       "<AutoNotify>0</AutoNotify></IncreasePackage></Update>")
            .arg(fullUrl, gMd5(newInstaller), gMd5(oldInstaller),
                 baseUrl + QStringLiteral("/packages/") + PatchName(),
                 QString::number(patch.size()), newVersion);
    return Publish(PatchName(), patch) &&
           gWriteFile(Folder() + QStringLiteral("/manifests/%1.xml").arg(oldVersion),
                      manifest.toUtf8());
}

int UpdateSite::ResumeValue(const QString &group, const QString &key) const
{
    const QSettings settings(Home() + QLatin1String(resumeFile), QSettings::IniFormat);
    return settings.value(group + QLatin1Char('/') + key).toInt();
}

void UpdateSite::WriteResumeState(int size, int already, const QList<QPair<int, int>> &ranges) const
{
    QSettings settings(Home() + QLatin1String(resumeFile), QSettings::IniFormat);
    settings.setValue(QStringLiteral("FullPackage_size/FullPackage_size"), QString::number(size));
    settings.setValue(QStringLiteral("AlreadyDownload_size/AlreadyDownload_size"),
                      QString::number(already));
    for (int index = 0; index < ranges.size(); ++index) {
        settings.setValue(QStringLiteral("DownLoad_Tasks/Start_Byte%1").arg(index + 1),
                          ranges.at(index).first);
        settings.setValue(QStringLiteral("DownLoad_Tasks/End_Byte%1").arg(index + 1),
                          ranges.at(index).second);
    }
}
