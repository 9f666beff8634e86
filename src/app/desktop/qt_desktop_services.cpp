#include "app/desktop/qt_desktop_services.h"

#include "app/controls/alert_dialog.h"
#include "app/desktop/open_panel.h"
#include "app/desktop/recent_folders.h"
#include "platform/paths.h"

#include <QApplication>
#include <QClipboard>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDesktopServices>
#include <QFileDialog>
#include <QUrl>

namespace ostrel {
namespace {

QString fileFilter(const QStringList& extensions) {
    if (extensions.isEmpty()) return QString();
    QStringList patterns;
    for (const QString& extension : extensions) patterns << QStringLiteral("*.%1").arg(extension);
    return QStringLiteral("Files (%1)").arg(patterns.join(u' '));
}

} // namespace

QtDesktopServices::QtDesktopServices() : system_(isDark(QApplication::palette()) ? Shade::dark : Shade::light) {
    connect(&system_, &SystemAppearance::changed, this, [this] { applyShade(); });
    applyShade();
}

QStringList QtDesktopServices::showOpenPanel(const OpenPanelRequest& request) {
    QStringList chosen;
    if (request.canChooseFiles && request.canChooseFolders) {
        // No native dialog takes files and folders at once.
        OpenPanel panel(request, recentFolders(), window_);
        if (panel.exec() == QDialog::Accepted) chosen = panel.chosen();
    } else if (request.canChooseFolders) {
        const QString folder = QFileDialog::getExistingDirectory(window_, request.message, lastFolder());
        if (!folder.isEmpty()) chosen << paths::absolute(folder);
    } else {
        chosen = QFileDialog::getOpenFileNames(window_, request.message, lastFolder(),
                                               fileFilter(request.allowedExtensions));
        if (!request.allowsMultipleSelection) chosen = chosen.first(std::min<qsizetype>(1, chosen.size()));
    }
    if (!chosen.isEmpty()) {
        rememberFolder(paths::isFolder(chosen.first()) ? chosen.first() : paths::parent(chosen.first()));
    }
    return chosen;
}

QString QtDesktopServices::showSavePanel(const SavePanelRequest& request) {
    const QString path =
        QFileDialog::getSaveFileName(window_, request.message, paths::append(lastFolder(), request.suggestedName),
                                     fileFilter(request.allowedExtensions));
    if (path.isEmpty()) return QString();
    rememberFolder(paths::parent(path));
    return paths::absolute(path);
}

int QtDesktopServices::showAlert(const AlertRequest& request) {
    AlertDialog dialog(request, window_);
    dialog.exec();
    return dialog.choice();
}

void QtDesktopServices::setPasteboardText(const QString& text) { QApplication::clipboard()->setText(text); }

void QtDesktopServices::openFolder(const QString& path) { QDesktopServices::openUrl(QUrl::fromLocalFile(path)); }

// The file manager that the desktop names answers at this address; one that isn't there gets the folder opened.
void QtDesktopServices::revealFiles(const QStringList& paths) {
    if (paths.isEmpty()) return;
    QStringList addresses;
    for (const QString& path : paths) addresses << QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded);
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << addresses << QString();
    const QString folder = paths::parent(paths.first());
    auto* answer = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer, folder] {
        if (answer->isError()) openFolder(folder);
        answer->deleteLater();
    });
}

void QtDesktopServices::openWebPage(const QString& address) {
    QDesktopServices::openUrl(QUrl(address, QUrl::StrictMode));
}

void QtDesktopServices::applyAppearance(Appearance appearance) {
    appearance_ = appearance;
    applyShade();
}

void QtDesktopServices::applyShade() {
    Shade shade = system_.shade();
    if (appearance_ == Appearance::light) shade = Shade::light;
    if (appearance_ == Appearance::dark) shade = Shade::dark;
    const QPalette palette = paletteFor(shade);
    if (QApplication::palette() != palette) QApplication::setPalette(palette);
}

} // namespace ostrel
