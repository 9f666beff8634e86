// The desktop as the window has it: panels, alerts, the clipboard, the appearance.
#pragma once

#include "app/desktop/system_appearance.h"
#include "platform/desktop_services.h"

#include <QObject>
#include <QPointer>
#include <QWidget>

namespace ostrel {

class QtDesktopServices : public QObject, public DesktopServices {
public:
    QtDesktopServices();

    // What panels and alerts stand over, from now on.
    void setWindow(QWidget* window) { window_ = window; }

    QStringList showOpenPanel(const OpenPanelRequest& request) override;
    QString showSavePanel(const SavePanelRequest& request) override;
    int showAlert(const AlertRequest& request) override;
    void setPasteboardText(const QString& text) override;
    void openFolder(const QString& path) override;
    void revealFiles(const QStringList& paths) override;
    void openWebPage(const QString& address) override;
    void applyAppearance(Appearance appearance) override;

private:
    void applyShade();

    QPointer<QWidget> window_;
    SystemAppearance system_;
    Appearance appearance_ = Appearance::system;
};

} // namespace ostrel
