// The desktop as a terminal has it: nothing to click, so a panel is always cancelled; paths come as arguments.
#pragma once

#include "platform/desktop_services.h"

namespace ostrel::cli {

class TerminalDesktopServices : public DesktopServices {
public:
    QStringList showOpenPanel(const OpenPanelRequest&) override { return {}; }
    QString showSavePanel(const SavePanelRequest&) override { return {}; }
    int showAlert(const AlertRequest& request) override;
    void setPasteboardText(const QString&) override {}
    void openFolder(const QString&) override {}
    void revealFiles(const QStringList&) override {}
    void openWebPage(const QString&) override {}
    void applyAppearance(Appearance) override {}
};

} // namespace ostrel::cli
