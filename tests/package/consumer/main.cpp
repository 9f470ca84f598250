// SPDX-License-Identifier: MIT

#include <api/QuillonInit.h>
#include <api/UpdateInit.h>
#include <api/UpdateMain.h>

#include <QApplication>
#include <QTimer>

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    // No program listens on port 9 of this machine, so the check fails at once.
    UpdateInit::SetUpdateUrl("http://127.0.0.1:9/check?pid=&version=&email=");
    UpdateInit::SetUpdateVersion("9.1.0.0");
    QuillonInit::SetConfigFileDir(QApplication::applicationDirPath());

    UpdateMain dialog;
    QObject::connect(&dialog, &UpdateMain::Close, &application, &QApplication::quit);
    const bool asBuilt = dialog.size() == QSize(570, 250) && !dialog.IsNeedUpdate();
    dialog.LiveUpdate("1", UpdateInit::GetUpdateVersion(), "user@corvina.example");
    QTimer::singleShot(0, &dialog, &UpdateMain::Close);
    return QApplication::exec() == 0 && asBuilt && dialog.size() == QSize(640, 270) ? 0 : 1;
}
