#include "foundation/logs/activity_log.h"

#include "platform/files/files.h"
#include "platform/paths.h"

namespace ostrel {

QString ActivityLog::lines() const {
    QStringList lines;
    for (const ProcessingLogEntry& entry : rows()) lines << entry.formattedEntry();
    return lines.join(u'\n');
}

void ActivityLog::save(DesktopServices& desktop, const QString& suggestedName, const QString& text) {
    SavePanelRequest request;
    request.suggestedName = suggestedName;
    request.allowedExtensions = {QStringLiteral("txt")};
    const QString path = desktop.showSavePanel(request);
    if (path.isEmpty()) return;
    try {
        files::writeAtomically(path, text.toUtf8());
    } catch (const FileError& error) {
        return add(LogLevel::error, LogCategory::system, QStringLiteral("Failed to save log: ") + error.description);
    }
    add(telling_.level, LogCategory::system,
        QStringLiteral("Log saved to: ") + (telling_.showsFolder ? path : paths::lastComponent(path)));
}

void ActivityLog::copy(DesktopServices& desktop, const QString& text) {
    const auto count = size(); // of what is copied
    desktop.setPasteboardText(text);
    add(telling_.level, LogCategory::system, QStringLiteral("Log copied to clipboard (%1 entries)").arg(count));
}

} // namespace ostrel
