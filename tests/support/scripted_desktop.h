// Desktop services that answer as a test says and remember what they were asked.
#pragma once

#include "platform/desktop_services.h"

#include <functional>
#include <vector>

namespace ostrel::testing {

class ScriptedDesktop : public DesktopServices {
public:
    // Answers
    QStringList openPanelAnswer;
    QString savePanelAnswer;
    int alertAnswer = 0;
    std::function<void()> duringAlert; // what happens while it stands

    // Requests, in order
    std::vector<OpenPanelRequest> openPanels;
    std::vector<SavePanelRequest> savePanels;
    std::vector<AlertRequest> alerts;
    QStringList pasteboard;
    QStringList openedFolders;
    QStringList revealed;
    QStringList openedPages;
    std::vector<Appearance> appearances;

    QStringList showOpenPanel(const OpenPanelRequest& request) override {
        openPanels.push_back(request);
        return openPanelAnswer;
    }
    QString showSavePanel(const SavePanelRequest& request) override {
        savePanels.push_back(request);
        return savePanelAnswer;
    }
    int showAlert(const AlertRequest& request) override {
        alerts.push_back(request);
        if (duringAlert) duringAlert();
        return alertAnswer;
    }
    void setPasteboardText(const QString& text) override { pasteboard << text; }
    void openFolder(const QString& path) override { openedFolders << path; }
    void revealFiles(const QStringList& paths) override { revealed << paths; }
    void openWebPage(const QString& address) override { openedPages << address; }
    void applyAppearance(Appearance appearance) override { appearances.push_back(appearance); }
};

} // namespace ostrel::testing
