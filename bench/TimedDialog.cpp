// SPDX-License-Identifier: MIT

// A library of its own, linked with the module as a host is; see TimedDialog.h.

#include "bench/TimedDialog.h"

#include "api/QuillonInit.h"
#include "api/UpdateInit.h"
#include "api/UpdateMain.h"

#include <QNetworkAccessManager>

namespace
{
class LinkedDialog : public TimedDialog
{
public:
    QWidget *Widget() override { return &m_dialog; }
    void LiveUpdate() override { m_dialog.LiveUpdate(); }
    bool IsNeedUpdate() override { return m_dialog.IsNeedUpdate(); }

private:
    UpdateMain m_dialog;
};
} // namespace

extern "C" Q_DECL_EXPORT TimedDialog *gNewTimedDialog(const QString &updateUrl,
                                                      const QString &configDirectory)
{
    QuillonInit::SetConfigFileDir(configDirectory);
    UpdateInit::SetUpdateUrl(updateUrl);
    UpdateInit::SetUpdateVersion(QStringLiteral("9.1.0.0"));
    return new LinkedDialog;
}

extern "C" Q_DECL_EXPORT void gUseNetwork()
{
    const QNetworkAccessManager manager;
}
