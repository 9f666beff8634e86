#include "polytools/poly_tools_view_model.h"

#include "platform/paths.h"

namespace ostrel {

PolyToolsViewModel::PolyToolsViewModel(DesktopServices& desktop, AudioOutput* audioOutput,
                                       std::shared_ptr<ExternalToolDetector> detector)
    : services_(*this, *this, desktop, std::move(detector), [this] { Q_EMIT taskEnded(); }),
      preview_(*this, *this, *this, *this, services_, audioOutput),
      selection_(*this, *this, *this, services_, preview_), split_(*this, *this, *this, services_, selection_),
      join_(*this, *this, services_, preview_), review_(*this, services_, preview_),
      edit_(*this, *this, *this, services_, selection_, preview_), foresight_(*this, *this, *this, *this, *this) {
    takeTools();
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

void PolyToolsViewModel::takeTools() {
    services_.takeTools();
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
    preview_.deck().forgetPreparation();
    services_.warning(LogCategory::process, QStringLiteral("Operation cancelled by user"));
}

void PolyToolsViewModel::revealInFinder(const QString& url) { services_.desktop().revealFiles({url}); }

QString PolyToolsViewModel::exportLogs() const { return logEntries.lines(); }

void PolyToolsViewModel::saveLog() {
    const QString now = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd_HH-mm-ss"));
    logEntries.save(services_.desktop(), QStringLiteral("PolyTools_Log_%1.txt").arg(now), exportLogs());
}

void PolyToolsViewModel::copyLogToClipboard() { logEntries.copy(services_.desktop(), exportLogs()); }

} // namespace ostrel
