#include "interleaver/app_view_model.h"

#include "platform/files/files.h"
#include "platform/files/unique_files.h"
#include "platform/paths.h"
#include "platform/text/text.h"
#include "preview/playback_manager.h"

#include <QSettings>

namespace ostrel {
namespace {

const QString kAppearanceKey = QStringLiteral("appearance");

QString rawText(Appearance appearance) {
    switch (appearance) {
    case Appearance::system: return QStringLiteral("system");
    case Appearance::light: return QStringLiteral("light");
    case Appearance::dark: break;
    }
    return QStringLiteral("dark");
}

Appearance storedAppearance() {
    const QString stored = QSettings().value(kAppearanceKey).toString();
    for (const Appearance candidate : {Appearance::light, Appearance::dark}) {
        if (stored == rawText(candidate)) return candidate;
    }
    return Appearance::system;
}

template <class List, class Predicate>
int count(const List& list, Predicate predicate) {
    return static_cast<int>(std::count_if(list.begin(), list.end(), predicate));
}

} // namespace

AppViewModel::AppViewModel(DesktopServices& desktop, AudioOutput& audio, std::unique_ptr<ExternalToolDetector> detector)
    : desktop_(desktop), toolDetector_(detector ? std::move(detector) : std::make_unique<ExternalToolDetector>()),
      playbackManager_(std::make_unique<PlaybackManager>(audio)), sessionID_(freshUuid()) {
    MetadataEngine::cleanupOldSessions();
    appearance = storedAppearance();
    applyAppearance();
    appearanceNotifier_ = appearance.addNotifier([this] {
        QSettings().setValue(kAppearanceKey, rawText(appearance.value()));
        applyAppearance();
    });
    const auto foresee = [this] {
        if (!isScanning.value() && !isProcessing.value()) foreseeCollisions();
    };
    outputNotifiers_ = {outputURL.addNotifier(foresee), useCustomOutput.addNotifier(foresee),
                        options.addNotifier(foresee)};
}

AppViewModel::~AppViewModel() {
    if (scanningTask_) scanningTask_->cancel();
    if (processingTask_) processingTask_->cancel();
}

bool AppViewModel::canScan() const { return !sourceURL.value().isEmpty() && toolDetector_->ffmpegAvailable.value(); }

bool AppViewModel::canRun() const {
    return toolDetector_->ffmpegAvailable.value() && hasProcessableItems() && !isScanning.value() &&
           !isProcessing.value();
}

bool AppViewModel::hasProcessableItems() const {
    const auto isProcessable = [](const auto& item) { return item.include && item.status.isProcessable(); };
    return currentMode.value() == AppMode::interleave
               ? std::any_of(interleaveGroups.begin(), interleaveGroups.end(), isProcessable)
               : std::any_of(deinterleaveSources.begin(), deinterleaveSources.end(), isProcessable);
}

int AppViewModel::totalCount() const {
    return static_cast<int>(currentMode.value() == AppMode::interleave ? interleaveGroups.size()
                                                                       : deinterleaveSources.size());
}

int AppViewModel::readyCount() const {
    const auto isReady = [](const auto& item) { return item.status.kind == ProcessingStatus::Kind::ready; };
    return currentMode.value() == AppMode::interleave ? count(interleaveGroups, isReady)
                                                      : count(deinterleaveSources, isReady);
}

int AppViewModel::errorCount() const {
    const auto hasError = [](const auto& item) { return hasFailed(item); };
    return currentMode.value() == AppMode::interleave ? count(interleaveGroups, hasError)
                                                      : count(deinterleaveSources, hasError);
}

int AppViewModel::skippedCount() const {
    const auto isOut = [](const auto& item) { return isLeftOut(item); };
    return currentMode.value() == AppMode::interleave ? count(interleaveGroups, isOut)
                                                      : count(deinterleaveSources, isOut);
}

int AppViewModel::completedCount() const {
    const auto isCompleted = [](const auto& item) { return item.status.kind == ProcessingStatus::Kind::completed; };
    return currentMode.value() == AppMode::interleave ? count(interleaveGroups, isCompleted)
                                                      : count(deinterleaveSources, isCompleted);
}

int AppViewModel::successCount() const {
    const auto stands = [](const auto& item) { return item.status.stands(); };
    return currentMode.value() == AppMode::interleave ? count(interleaveGroups, stands)
                                                      : count(deinterleaveSources, stands);
}

void AppViewModel::selectSource() {
    OpenPanelRequest request;
    request.canChooseFolders = true;
    request.allowsMultipleSelection = true;
    request.message = QStringLiteral("Select audio files or folders to process");
    request.prompt = QStringLiteral("Select");
    request.allowedExtensions = QStringLiteral("wav wave aif aiff aifc caf flac mp3 m4a aac mp4 ogg").split(u' ');
    const QStringList chosen = desktop_.showOpenPanel(request);
    if (!chosen.isEmpty()) select(chosen);
}

void AppViewModel::select(const QStringList& chosen) {
    QStringList urls;
    const auto [once, repeats] = uniqueFiles(chosen);
    for (const QString& sentence : repeats) log(LogLevel::warning, LogCategory::system, sentence);
    for (const QString& url : once) {
        if (paths::isRegularFile(url) || paths::isFolder(url)) {
            urls << url;
        } else {
            log(LogLevel::warning, LogCategory::system, QStringLiteral("Not a file or folder: ") + url);
        }
    }
    if (urls.isEmpty()) return;
    selectedFiles = urls;
    const QString first = urls.first();
    sourceURL = paths::isFolder(first) ? first : paths::parent(first);
    sourcePath = sourceURL.value();
    clearResults();
    if (urls.size() > 1) {
        log(LogLevel::info, LogCategory::system, QStringLiteral("Selected %1 items").arg(urls.size()));
        return;
    }
    log(LogLevel::info, LogCategory::system, QStringLiteral("Selected: ") + paths::lastComponent(first));
    triggerAutoDetectLayout();
}

void AppViewModel::selectOutputFolder() {
    OpenPanelRequest request;
    request.canChooseFiles = false;
    request.canChooseFolders = true;
    request.canCreateFolders = true;
    request.message = QStringLiteral("Select output folder for processed files");
    request.prompt = QStringLiteral("Select");
    const QStringList chosen = desktop_.showOpenPanel(request);
    if (!chosen.isEmpty()) setOutputFolder(chosen.first());
}

void AppViewModel::setOutputFolder(const QString& folder) {
    outputURL = folder;
    outputPath = folder;
    useCustomOutput = true;
    log(LogLevel::info, LogCategory::system, QStringLiteral("Output folder selected: ") + paths::lastComponent(folder));
}

void AppViewModel::clearResults() {
    playbackManager_->stopAndClear();
    interleaveGroups.clear();
    deinterleaveSources.clear();
    progress = 0;
    currentItemName = QString();
    statusMessage = QString();
}

void AppViewModel::stopProcessing() {
    isCancelled = true;
    if (scanningTask_) scanningTask_->cancel();
    if (processingTask_) processingTask_->cancel();
    isProcessing = false;
    isScanning = false;
    log(LogLevel::warning, LogCategory::process, QStringLiteral("Operation cancelled by user"));
    statusMessage = QStringLiteral("Cancelled");
}

void AppViewModel::confirmDelete() {
    ProcessingOptions changed = options.value();
    if (deleteConfirmationMode.value() == AppMode::deinterleave) {
        changed.deleteOriginalsDeinterleave = true;
    } else {
        changed.deleteOriginalsInterleave = true;
    }
    options = changed;
    showDeleteConfirmation = false;
}

void AppViewModel::tellUnfinishedSteps() {
    for (const QString& sentence : Journal::tellUnfinished()) log(LogLevel::warning, LogCategory::system, sentence);
}

void AppViewModel::recheckTools() {
    toolDetector_->detectTools();
    log(LogLevel::info, LogCategory::system, QStringLiteral("Tools rechecked"));
}

QString AppViewModel::exportLogs() const {
    return exportToText(logEntries.rows(), sourcePath.value(), rawText(currentMode.value()),
                        selectedLayout.value().displayName);
}

void AppViewModel::saveLogToFile() {
    SavePanelRequest request;
    request.suggestedName =
        QStringLiteral("Ostrel_Log_%1.txt").arg(QDateTime::currentDateTimeUtc().toString(Qt::ISODate));
    request.allowedExtensions = {QStringLiteral("txt")};
    const QString path = desktop_.showSavePanel(request);
    if (path.isEmpty()) return;
    try {
        files::writeAtomically(path, exportLogs().toUtf8());
        log(LogLevel::info, LogCategory::system, QStringLiteral("Log saved to: ") + paths::lastComponent(path));
    } catch (const FileError&) {
        return; // silent, as with every log: nothing depends on it
    }
}

void AppViewModel::copyLogToClipboard() {
    const auto entries = logEntries.size();
    desktop_.setPasteboardText(exportLogs());
    log(LogLevel::info, LogCategory::system, QStringLiteral("Log copied to clipboard (%1 entries)").arg(entries));
}

void AppViewModel::toggleAllInterleave(bool include) {
    interleaveGroups.updateAll([include](InterleaveGroup& group) { group.include = include; });
}

void AppViewModel::toggleAllDeinterleave(bool include) {
    deinterleaveSources.updateAll([include](MultiChannelSource& source) { source.include = include; });
}

void AppViewModel::applyAppearance() { desktop_.applyAppearance(appearance.value()); }

void AppViewModel::endTask() {
    --runningTasks_;
    Q_EMIT taskEnded();
}

void AppViewModel::log(LogLevel level, LogCategory category, const QString& message, const QString& baseName) {
    ProcessingLogEntry entry;
    entry.level = level;
    entry.category = category;
    entry.message = message;
    entry.baseName = baseName;
    logEntries.append(std::move(entry));
}

} // namespace ostrel
