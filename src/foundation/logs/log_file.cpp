#include "foundation/logs/log_file.h"

#include "platform/files/files.h"

namespace ostrel {

QString linesOf(const std::vector<ProcessingLogEntry>& entries) {
    QStringList lines;
    for (const ProcessingLogEntry& entry : entries) lines << entry.formattedEntry();
    return lines.join(u'\n');
}

SavedLog saveLog(DesktopServices& desktop, const QString& suggestedName, const QString& text) {
    SavePanelRequest request;
    request.suggestedName = suggestedName;
    request.allowedExtensions = {QStringLiteral("txt")};
    SavedLog saved{desktop.showSavePanel(request), QString()};
    if (saved.path.isEmpty()) return saved;
    try {
        files::writeAtomically(saved.path, text.toUtf8());
    } catch (const FileError& error) {
        saved.failure = error.description;
    }
    return saved;
}

} // namespace ostrel
