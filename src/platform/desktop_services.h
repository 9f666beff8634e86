// What a controller asks of the desktop: panels, alerts, the pasteboard, opening things. The window implements it with
// dialogs, the command line without, tests script it. All calls are made on the main thread and may run an event loop.
#pragma once

#include <QString>
#include <QStringList>

namespace ostrel {

struct OpenPanelRequest {
    bool canChooseFiles = true;
    bool canChooseFolders = false;
    bool allowsMultipleSelection = false;
    bool canCreateFolders = false;
    QString message;               // what the choice is for
    QString prompt;                // the button's word
    QStringList allowedExtensions; // lower case, without the point; empty allows all
};

struct SavePanelRequest {
    QString message;
    QString suggestedName;
    QStringList allowedExtensions;
};

struct AlertRequest {
    enum class Style { informational, warning, critical };
    Style style = Style::informational;
    QString title;
    QString text;
    QStringList buttons;        // the last is what Escape means; empty means one "OK"
    int defaultButton = 0;      // what Return means
    int destructiveButton = -1; // one that destroys something, shown in red; -1: none does
};

enum class Appearance { system, light, dark };

class DesktopServices {
public:
    virtual ~DesktopServices() = default;

    // The chosen paths; empty if the person cancelled.
    virtual QStringList showOpenPanel(const OpenPanelRequest& request) = 0;
    // The chosen path; empty if the person cancelled.
    virtual QString showSavePanel(const SavePanelRequest& request) = 0;
    // The index of the chosen button; the last one if the alert was closed without a choice.
    virtual int showAlert(const AlertRequest& request) = 0;
    // Clears the pasteboard and puts the text there.
    virtual void setPasteboardText(const QString& text) = 0;
    virtual void openFolder(const QString& path) = 0;
    // Shows these files in the file manager, selected; where it can't, the folder of the first.
    virtual void revealFiles(const QStringList& paths) = 0;
    virtual void openWebPage(const QString& address) = 0;
    // From now on; `system` follows the desktop's own setting.
    virtual void applyAppearance(Appearance appearance) = 0;
};

} // namespace ostrel
