#include "polytools/poly_tools_view_model.h"

#include "platform/files/files.h"
#include "platform/paths.h"

namespace ostrel {

PolyToolsViewModel::PolyToolsViewModel(DesktopServices& desktop, AudioOutput* audioOutput,
                                       std::unique_ptr<ExternalToolDetector> detector)
    : services_(*this, *this, desktop, std::move(detector), [this] { Q_EMIT taskEnded(); }),
      preview_(*this, services_, audioOutput), selection_(*this, services_, preview_),
      split_(*this, services_, selection_), join_(*this, services_, preview_), review_(*this, services_, preview_),
      edit_(*this, services_, selection_, preview_), foresight_(*this) {
    checkTools();
}

PolyToolsViewModel::~PolyToolsViewModel() {
    services_.cancelAll();
    preview_.channels().cleanupPreviewTempFiles();
    preview_.batch().cleanupBatchPreviewTempFiles();
    preview_.join().cleanupJoinPreview();
}

QString PolyToolsViewModel::batchProcessHelperText() const {
    const QString text = selection_.batchProcessHelperText();
    return text.isEmpty() ? text : text + foresight_.helperEnding();
}

QString PolyToolsViewModel::editPolyHelperText() const {
    const QString text = edit_.editPolyHelperText();
    return text.isEmpty() ? text : text + foresight_.helperEnding();
}

void PolyToolsViewModel::checkTools() {
    services_.checkTools();
    preview_.deck().toolsChanged();
}

void PolyToolsViewModel::selectSource() { showSourcePanel(QString()); }

void PolyToolsViewModel::selectJoinSource() { showSourcePanel(QStringLiteral("Select ISO files or folder")); }

void PolyToolsViewModel::showSourcePanel(const QString& message) {
    OpenPanelRequest request;
    request.canChooseFolders = true;
    request.allowsMultipleSelection = true;
    request.message = message;
    request.allowedExtensions = {QStringLiteral("wav")};
    const QStringList chosen = services_.desktop().showOpenPanel(request);
    if (!chosen.isEmpty()) applyIntelligentModeDetection(chosen, mode.value());
}

void PolyToolsViewModel::applyIntelligentModeDetection(const QStringList& urls, PolyMode forMode) {
    QStringList folders;
    QStringList files;
    for (const QString& url : services_.eachOnce(urls)) {
        if (paths::isFolder(url)) {
            folders << url;
        } else if (paths::exists(url)) {
            files << url;
        }
    }
    services_.info(LogCategory::scan,
                   QStringLiteral("🎹 Classified: %1 folders, %2 files").arg(folders.size()).arg(files.size()));
    if (forMode == PolyMode::join) {
        join_.applyJoinModeDetection(folders, files);
    } else {
        selection_.applySplitModeDetection(folders, files);
    }
}

void PolyToolsViewModel::stopProcessing() {
    isCancelled = true;
    services_.cancelAll();
    isProcessing = false;
    isSplitting = false;
    isJoining = false;
    isBatchProcessing = false;
    isBatchJoining = false;
    isScanningBatchFiles = false;
    isScanningJoinISOs = false;
    isAnalyzing = false;
    isPreparingPreview = false;
    isExtractingBatchPreview = false;
    isLoadingAllPreviews = false;
    previewPreparationProgress = std::nullopt;
    services_.warning(LogCategory::process, QStringLiteral("Operation cancelled by user"));
}

void PolyToolsViewModel::revealInFinder(const QString& url) { services_.desktop().openFolder(paths::parent(url)); }

QString PolyToolsViewModel::exportLogs() const {
    QStringList lines;
    for (const ProcessingLogEntry& entry : logEntries) lines << entry.formattedEntry();
    return lines.join(u'\n');
}

void PolyToolsViewModel::saveLog() {
    SavePanelRequest request;
    request.suggestedName = QStringLiteral("PolyTools_Log_%1.txt")
                                .arg(QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd_HH-mm-ss")));
    request.allowedExtensions = {QStringLiteral("txt")};
    const QString path = services_.desktop().showSavePanel(request);
    if (path.isEmpty()) return;
    try {
        files::writeAtomically(path, exportLogs().toUtf8());
        services_.success(LogCategory::system, QStringLiteral("Log saved to: ") + path);
    } catch (const FileError& error) {
        services_.error(LogCategory::system, QStringLiteral("Failed to save log: ") + error.description);
    }
}

void PolyToolsViewModel::copyLogToClipboard() {
    const auto count = logEntries.size();
    services_.desktop().setPasteboardText(exportLogs());
    services_.success(LogCategory::system, QStringLiteral("Log copied to clipboard (%1 entries)").arg(count));
}

} // namespace ostrel
