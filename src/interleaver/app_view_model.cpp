#include "interleaver/app_view_model.h"

#include "foundation/tools/ffprobe_parser.h"
#include "interleaver/interleave_engine.h"
#include "interleaver/scan_report.h"
#include "platform/diagnostics.h"
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

} // namespace

AppViewModel::AppViewModel(DesktopServices& desktop, AudioOutput& audio, std::shared_ptr<ExternalToolDetector> detector)
    : desktop_(desktop), toolDetector_(detector ? std::move(detector) : std::make_shared<ExternalToolDetector>()),
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

AppViewModel::~AppViewModel() { tasks_.cancelAll(); }

bool AppViewModel::canScan() const { return !sourceURL.value().isEmpty() && hasEngine(); }

bool AppViewModel::hasEngine() const {
    return engine.value() == EngineChoice::direct || toolDetector_->ffmpegAvailable.value();
}

bool AppViewModel::canRun() const {
    return hasEngine() && hasProcessableItems() && !isScanning.value() && !isProcessing.value();
}

bool AppViewModel::canProbe() const {
    return engine.value() == EngineChoice::direct || !toolDetector_->ffprobePath.value().isEmpty();
}

template <class Predicate>
int AppViewModel::count(Predicate matches) const {
    const auto of = [&](const auto& list) { return std::count_if(list.begin(), list.end(), matches); };
    return static_cast<int>(currentMode.value() == AppMode::interleave ? of(interleaveGroups)
                                                                       : of(deinterleaveSources));
}

bool AppViewModel::hasProcessableItems() const {
    return count([](const auto& item) { return item.include && item.status.isProcessable(); }) > 0;
}

int AppViewModel::totalCount() const {
    return count([](const auto&) { return true; });
}

int AppViewModel::readyCount() const {
    return count([](const auto& item) { return item.status.kind == ProcessingStatus::Kind::ready; });
}

int AppViewModel::errorCount() const {
    return count([](const auto& item) { return hasFailed(item); });
}

int AppViewModel::skippedCount() const {
    return count([](const auto& item) { return isLeftOut(item); });
}

int AppViewModel::completedCount() const {
    return count([](const auto& item) { return item.status.kind == ProcessingStatus::Kind::completed; });
}

int AppViewModel::successCount() const {
    return count([](const auto& item) { return item.status.stands(); });
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

void AppViewModel::triggerAutoDetectLayout() { tasks_.run(detectLayout()); }

QCoro::Task<> AppViewModel::detectLayout() {
    const QStringList selection = selectedFiles.value();
    const QStringList files = uniqueFiles(selection).files;
    const QString ffprobe = toolDetector_->ffprobePath.value();
    if (files.size() != 1 || paths::isFolder(files.first()) || !canProbe()) co_return;
    const auto probe = [parser = FFProbeParser(ffprobe, engine.value()), file = files.first()] {
        return parser.probe(file);
    };
    int channels = 0;
    try {
        channels = (co_await inBackground(this, probe)).channels;
    } catch (const FFProbeError& error) {
        printDiagnostic(QStringLiteral("[DEBUG] Auto-detect layout failed: ") + error.errorDescription());
        co_return;
    }
    if (selectedFiles.value() != selection) co_return; // another selection came meanwhile
    static const std::map<int, ChannelLayout> layouts{
        {8, ChannelLayout::smpte71}, {6, ChannelLayout::smpte51}, {2, ChannelLayout::stereo}};
    const auto found = layouts.find(channels);
    if (found == layouts.end() || found->second.id == selectedLayout.value().id) co_return;
    selectedLayout = found->second;
    log(LogLevel::info, LogCategory::system,
        QStringLiteral("Auto-detected: %1 (%2 channels)").arg(found->second.displayName).arg(channels));
}

void AppViewModel::scan() {
    const auto [files, repeats] = uniqueFiles(selectedFiles.value());
    if (files.isEmpty() || !canProbe()) {
        log(LogLevel::error, LogCategory::system,
            QStringLiteral("Cannot scan: no files/folders selected or ffprobe missing"));
        return;
    }
    for (const QString& sentence : repeats) log(LogLevel::warning, LogCategory::scan, sentence);
    selectedFiles = files;
    playbackManager_->stopAndClear();
    isScanning = true;
    scanProgress = -1;
    statusMessage = QStringLiteral("Scanning...");
    const QString name = paths::lastComponent(files.first());
    const QString message = files.size() > 1 ? QStringLiteral("Starting scan of %1 items...").arg(files.size())
                            : paths::isFolder(files.first()) ? QStringLiteral("Starting scan of folder: ") + name
                                                             : QStringLiteral("Starting scan of file: ") + name;
    log(LogLevel::info, LogCategory::scan, message);
    tasks_.run(runScan(tasks_.begin(Task::scan)));
}

QCoro::Task<> AppViewModel::runScan(TaskHandle handle) {
    QString failure;
    std::vector<InterleaveGroup> groups;
    std::vector<MultiChannelSource> sources;
    const bool interleaving = currentMode.value() == AppMode::interleave;
    const InterleaverScan::Request request = scanRequest();
    InterleaverScan scan(this, request, scanHooks(), handle);
    try {
        if (interleaving) {
            groups = co_await scan.groups();
        } else {
            sources = co_await scan.sources();
        }
    } catch (const ScanError& error) {
        failure = error.errorDescription();
    } catch (const std::exception& error) { // memory, most likely: the scan fails, the window stays
        failure = QString::fromUtf8(error.what());
    }

    if (handle.isCancelled()) {
        log(LogLevel::warning, LogCategory::scan, QStringLiteral("Scan cancelled - results not populated"));
        if (!isScanning.value()) statusMessage = QStringLiteral("Scan cancelled");
        co_return;
    }
    const auto say = [this](LogLevel level, const QString& text) { log(level, LogCategory::scan, text); };
    statusMessage = failure.isEmpty() ? QStringLiteral("Scan complete") : QStringLiteral("Scan failed");
    if (!failure.isEmpty()) {
        say(LogLevel::error, QStringLiteral("Scan failed: ") + failure);
    } else if (interleaving) {
        setDefaultOutputs(groups);
        interleaveGroups.assign(std::move(groups));
        sayWhatWasGrouped(interleaveGroups.rows(), request.layout, say);
    } else {
        deinterleaveSources.assign(std::move(sources));
        sayWhatWasFound(deinterleaveSources.rows(), request.layout, say);
    }
    foreseeCollisions();
    isScanning = false;
}

InterleaverScan::Request AppViewModel::scanRequest() const {
    return {selectedFiles.value(),
            selectedLayout.value(),
            options.value().includeSubfolders,
            toolDetector_->ffprobePath.value(),
            toolDetector_->bwfmetaeditPath.value(),
            engine.value()};
}

InterleaverScan::Hooks AppViewModel::scanHooks() {
    return {[this](LogLevel level, const QString& message, const QString& item) {
                log(level, LogCategory::scan, message, item);
            },
            [this](const QString& text) { statusMessage = text; }, [this](double share) { scanProgress = share; }};
}

void AppViewModel::setDefaultOutputs(std::vector<InterleaveGroup>& groups) const {
    for (InterleaveGroup& group : groups) {
        if (group.outputURL.isEmpty()) group.outputURL = InterleaveEngine::generateOutputURL(group, options.value());
    }
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
    tasks_.cancelAll();
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
    const QString name = QStringLiteral("Ostrel_Log_%1.txt").arg(QDateTime::currentDateTimeUtc().toString(Qt::ISODate));
    logEntries.save(desktop_, name, exportLogs());
}

void AppViewModel::copyLogToClipboard() { logEntries.copy(desktop_, exportLogs()); }

void AppViewModel::toggleAllInterleave(bool include) {
    interleaveGroups.updateAll([include](InterleaveGroup& group) { group.include = include; });
}

void AppViewModel::toggleAllDeinterleave(bool include) {
    deinterleaveSources.updateAll([include](MultiChannelSource& source) { source.include = include; });
}

void AppViewModel::applyAppearance() { desktop_.applyAppearance(appearance.value()); }

void AppViewModel::startProcessing() {
    if (canRun()) start(makeRun());
}

void AppViewModel::retry(const QList<int>& rows) {
    if (isScanning.value() || isProcessing.value() || !hasEngine()) return;
    const auto run = makeRun();
    const auto takeFailed = [&rows](auto& shown, auto& taken) {
        bool isAny = false;
        for (auto& record : taken) record.include = false;
        for (const int row : rows) {
            const auto at = static_cast<std::size_t>(row);
            if (at >= taken.size() || taken[at].status.kind != ProcessingStatus::Kind::failed) continue;
            isAny = true;
            shown.update(at, [](auto& record) {
                record.include = true;
                record.status = ProcessingStatus::ready();
                record.outcome = std::nullopt;
            });
            taken[at] = shown[at];
        }
        return isAny;
    };
    if (run->mode == AppMode::interleave ? takeFailed(interleaveGroups, run->groups)
                                         : takeFailed(deinterleaveSources, run->sources))
        start(run);
}

void AppViewModel::start(const std::shared_ptr<InterleaverRun>& run) {
    playbackManager_->stopAndClear();
    isProcessing = true;
    isCancelled = false;
    progress = 0;
    log(LogLevel::info, LogCategory::process, QStringLiteral("Starting processing..."));
    run->handle = tasks_.begin(Task::run);
    tasks_.run(runProcessing(run));
}

void AppViewModel::foreseeCollisions() {
    const std::shared_ptr<InterleaverRun> run = makeRun();
    const auto show = [](auto& records, const std::vector<QString>& reasons) {
        for (std::size_t row = 0; row < records.size(); ++row) {
            if (records[row].foreseen == reasons[row]) continue;
            records.update(row, [&](auto& record) { record.foreseen = reasons[row]; });
        }
    };
    show(interleaveGroups, run->foreseenOfGroups());
    show(deinterleaveSources, run->foreseenOfSources());
}

std::shared_ptr<InterleaverRun> AppViewModel::makeRun() const {
    auto run = std::make_shared<InterleaverRun>(currentMode.value());
    RunContext& context = run->context;
    context.ffmpegPath = toolDetector_->ffmpegPath.value();
    context.ffprobePath = toolDetector_->ffprobePath.value();
    context.bwfmetaeditPath = toolDetector_->bwfmetaeditPath.value();
    context.layout = selectedLayout.value();
    context.options = options.value();
    context.options.engine = engine.value();
    context.options.proves = proves.value();
    context.outputFolder = useCustomOutput.value() ? outputURL.value() : QString();
    context.selection = selectedFiles.value();
    if (!context.bwfmetaeditPath.isEmpty()) context.metadataEngine.emplace(context.bwfmetaeditPath, sessionID_);
    run->sourceFolder = sourceURL.value();
    run->writesReport = generateCSV.value();
    run->groups = interleaveGroups.rows();
    run->sources = deinterleaveSources.rows();
    return run;
}

QCoro::Task<> AppViewModel::runProcessing(std::shared_ptr<InterleaverRun> run) {
    const InterleaverRun::Hooks hooks =
        run->mode == AppMode::interleave ? runHooks(interleaveGroups, run) : runHooks(deinterleaveSources, run);
    co_await InterleaverRun::carryOut(run, this, hooks);
    const InterleaverReport report = run->report();
    log(LogLevel::info, LogCategory::system,
        QStringLiteral("Processing complete: %1 success, %2 skipped, %3 errors")
            .arg(report.successes)
            .arg(report.skipped)
            .arg(report.errors));
    if (run->writesReport) writeReport(*run);
    // After a stop the flags are the business of whatever runs by now.
    if (!run->handle.isCancelled()) isProcessing = false;
}

// The list may be another one by now: a row is touched only where it still is the item.
template <class Records>
InterleaverRun::Hooks AppViewModel::runHooks(Records& records, const std::shared_ptr<InterleaverRun>& run) {
    const auto isStill = [&records](std::size_t row, const QUuid& id) {
        return row < records.size() && records[row].id == id;
    };
    InterleaverRun::Hooks hooks;
    hooks.onStatus = [&records, isStill](std::size_t row, const QUuid& id, const ProcessingStatus& status) {
        if (!isStill(row, id)) return;
        records.update(row, [&](auto& record) { record.status = status; });
        printDiagnostic(QStringLiteral("[AppViewModel] ✅ Status updated: ") + status.displayText());
    };
    hooks.onBegin = [this, &records, isStill, run, onStatus = hooks.onStatus](std::size_t row, const QUuid& id,
                                                                              const QString& name) {
        currentItemName = name;
        statusMessage = QStringLiteral("Processing: ") + name;
        if constexpr (std::is_same_v<Records, RecordList<InterleaveGroup>>) {
            const QString output = run->outputOf(run->groups[row]);
            if (isStill(row, id)) records.update(row, [&](InterleaveGroup& shown) { shown.outputURL = output; });
        }
        onStatus(row, id, ProcessingStatus::processing());
    };
    hooks.onEnd = [this, &records, isStill](std::size_t row, const QUuid& id, const ItemReport& report) {
        const auto take = [&](auto& record) {
            record.status = report.outcome.status;
            record.outcome = report.outcome;
        };
        if (isStill(row, id)) records.update(row, take);
        for (const ProcessingLogEntry& entry : report.log) logEntries.append(entry);
    };
    hooks.onProgress = [this](double share) { progress = share; };
    return hooks;
}

void AppViewModel::writeReport(const InterleaverRun& run) {
    const InterleaverReport report = run.report();
    const QString folder = report.customFolder.isEmpty() ? run.sourceFolder : report.customFolder;
    if (folder.isEmpty()) {
        log(LogLevel::warning, LogCategory::system, QStringLiteral("Cannot save CSV: no output folder"));
        return;
    }
    reportPath_ = report.write(run.table(), folder);
    if (reportPath_.isEmpty()) {
        log(LogLevel::error, LogCategory::system, QStringLiteral("The CSV report could not be saved in ") + folder);
    } else {
        log(LogLevel::info, LogCategory::system,
            QStringLiteral("CSV report saved: ") + paths::lastComponent(reportPath_));
    }
}

void AppViewModel::log(LogLevel level, LogCategory category, const QString& message, const QString& baseName) {
    logEntries.add(level, category, message, baseName);
}

} // namespace ostrel
