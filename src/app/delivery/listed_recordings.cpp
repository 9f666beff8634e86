#include "app/delivery/listed_recordings.h"

#include "app/delivery/check_dialog.h"
#include "app/delivery/report_dialog.h"
#include "app/panels/tab_page.h"
#include "foundation/run/recording_list.h"
#include "platform/desktop_services.h"

namespace ostrel {
namespace {

// Empty: a person cancelled.
QStringList selectionOf(const TabPage& page, DesktopServices& desktop, const QString& message) {
    const QStringList listed = page.listedRecordings();
    if (!listed.isEmpty()) return listed;
    OpenPanelRequest request;
    request.canChooseFolders = true;
    request.allowsMultipleSelection = true;
    request.allowedExtensions = waveFileExtensions();
    request.message = message;
    request.prompt = QStringLiteral("Select");
    return desktop.showOpenPanel(request);
}

} // namespace

void checkListed(const TabPage& page, DesktopServices& desktop, QWidget* parent) {
    const QStringList selection =
        selectionOf(page, desktop, QStringLiteral("Select recordings or folders to be looked at"));
    if (!selection.isEmpty()) CheckDialog(selection, desktop, parent).exec();
}

void reportListed(const TabPage& page, DesktopServices& desktop, QWidget* parent) {
    const QStringList selection =
        selectionOf(page, desktop, QStringLiteral("Select the recordings or folders of a sound report"));
    if (!selection.isEmpty()) ReportDialog(selection, desktop, parent).exec();
}

} // namespace ostrel
