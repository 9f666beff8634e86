// The scan phase of the Interleaver: a selection becomes groups or sources.
#include "interleaver/app_view_model.h"
#include "interleaver/direct_pairing.h"
#include "interleaver/interleave_engine.h"
#include "interleaver/library_safety.h"
#include "interleaver/library_scanner.h"
#include "platform/diagnostics.h"
#include "platform/files/unique_files.h"
#include "platform/paths.h"
#include "preview/playback_manager.h"

namespace ostrel {

void AppViewModel::triggerAutoDetectLayout() { detectLayout(); }

QCoro::Task<> AppViewModel::detectLayout() {
    ++runningTasks_;
    co_await performAutoDetectLayout();
    endTask();
}

QCoro::Task<> AppViewModel::performAutoDetectLayout() {
    const QStringList selection = selectedFiles.value();
    const QStringList files = uniqueFiles(selection).files;
    const QString ffprobe = toolDetector_->ffprobePath.value();
    if (files.size() != 1 || paths::isFolder(files.first()) || ffprobe.isEmpty()) co_return;
    const auto probe = [parser = FFProbeParser(ffprobe), file = files.first()] { return parser.probe(file); };
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
    if (files.isEmpty() || toolDetector_->ffprobePath.value().isEmpty()) {
        log(LogLevel::error, LogCategory::system,
            QStringLiteral("Cannot scan: no files/folders selected or ffprobe missing"));
        return;
    }
    for (const QString& sentence : repeats) log(LogLevel::warning, LogCategory::scan, sentence);
    selectedFiles = files;
    playbackManager_->stopAndClear();
    isScanning = true;
    statusMessage = QStringLiteral("Scanning...");
    const QString name = paths::lastComponent(files.first());
    const QString message = files.size() > 1 ? QStringLiteral("Starting scan of %1 items...").arg(files.size())
                            : paths::isFolder(files.first()) ? QStringLiteral("Starting scan of folder: ") + name
                                                             : QStringLiteral("Starting scan of file: ") + name;
    log(LogLevel::info, LogCategory::scan, message);
    if (scanningTask_) scanningTask_->cancel();
    scanningTask_ = TaskHandle();
    runScan(*scanningTask_);
}

QCoro::Task<> AppViewModel::runScan(TaskHandle handle) {
    ++runningTasks_;
    QString failure;
    std::vector<InterleaveGroup> groups;
    std::vector<MultiChannelSource> sources;
    const bool interleaving = currentMode.value() == AppMode::interleave;
    try {
        if (!interleaving) {
            sources = co_await scanForSources(handle);
        } else if (selectionHasFolders()) {
            groups = co_await scanFoldersForGroups(handle);
        } else {
            groups = co_await pairHandPickedFiles(handle);
        }
    } catch (const ScanError& error) {
        failure = error.errorDescription();
    } catch (const std::exception& error) { // memory, most likely: the scan fails, the window stays
        failure = QString::fromUtf8(error.what());
    }

    if (handle.isCancelled()) {
        log(LogLevel::warning, LogCategory::scan, QStringLiteral("Scan cancelled - results not populated"));
        if (!isScanning.value()) statusMessage = QStringLiteral("Scan cancelled");
        endTask();
        co_return;
    }
    if (!failure.isEmpty()) {
        log(LogLevel::error, LogCategory::scan, QStringLiteral("Scan failed: ") + failure);
        statusMessage = QStringLiteral("Scan failed");
    } else if (interleaving) {
        setDefaultOutputs(groups);
        interleaveGroups.assign(std::move(groups));
        reportGroups();
        statusMessage = QStringLiteral("Scan complete");
    } else {
        deinterleaveSources.assign(std::move(sources));
        reportSources();
        statusMessage = QStringLiteral("Scan complete");
    }
    foreseeCollisions();
    isScanning = false;
    endTask();
}

QCoro::Task<std::vector<InterleaveGroup>> AppViewModel::pairHandPickedFiles(TaskHandle handle) {
    const ChannelLayout layout = selectedLayout.value();
    const QStringList files = selectedFiles.value();
    log(LogLevel::info, LogCategory::scan,
        QStringLiteral("Direct file pairing: %1 manually selected files for %2")
            .arg(files.size())
            .arg(layout.displayName));
    DirectPairing pairing = DirectPairing::of(files);
    for (const DirectPairing::Line& line : pairing.log) log(line.level, LogCategory::scan, line.text);

    std::vector<InterleaveGroup> complete;
    for (const InterleaveGroup& candidate : pairing.groups) {
        const QStringList missing = candidate.missingChannels(layout);
        if (!missing.isEmpty()) {
            log(LogLevel::warning, LogCategory::scan,
                QStringLiteral("⚠️ Incomplete: %1 - Missing channels: %2")
                    .arg(candidate.baseName, missing.join(QStringLiteral(", "))));
            continue;
        }
        if (handle.isCancelled()) break;
        const auto probe = [scanner = scanner(), candidate] { return scanner.probed(candidate); };
        try {
            InterleaveGroup group = co_await inBackground(this, probe);
            log(LogLevel::info, LogCategory::scan,
                QStringLiteral("✅ Complete: %1 (%2 channels, %3Hz, %4-bit)")
                    .arg(group.baseName)
                    .arg(group.channelFiles.size())
                    .arg(group.sampleRate.value_or(0))
                    .arg(group.bitDepth.value_or(0)));
            complete.push_back(std::move(group));
        } catch (const FFProbeError& error) {
            log(LogLevel::error, LogCategory::scan,
                QStringLiteral("Cannot use %1: %2").arg(candidate.baseName, error.errorDescription()),
                candidate.baseName);
        }
    }
    co_return complete;
}

QCoro::Task<std::vector<InterleaveGroup>> AppViewModel::scanFoldersForGroups(TaskHandle handle) {
    const ChannelLayout layout = selectedLayout.value();
    const bool librarySafe = layout == ChannelLayout::stereo;
    if (librarySafe) {
        log(LogLevel::info, LogCategory::scan,
            QStringLiteral("Using library-safe L/R scanner with pristine stereo gates"));
    }
    const auto work = [scanner = scanner(), request = scanRequest(handle), layout, librarySafe] {
        return librarySafe ? scanner.scanForLibrarySafeLRMerge(request) : scanner.scanForInterleave(request, layout);
    };
    co_return co_await inBackground(this, work);
}

QCoro::Task<std::vector<MultiChannelSource>> AppViewModel::scanForSources(TaskHandle handle) {
    const ChannelLayout layout = selectedLayout.value();
    if (selectionHasFolders()) {
        const auto work = [scanner = scanner(), request = scanRequest(handle), layout] {
            return scanner.scanForDeinterleave(request, layout);
        };
        co_return co_await inBackground(this, work);
    }
    const QStringList files = selectedFiles.value();
    log(LogLevel::info, LogCategory::scan,
        QStringLiteral("Processing %1 specific files (not scanning folder)").arg(files.size()));
    std::vector<MultiChannelSource> sources;
    for (const QString& file : files) {
        if (handle.isCancelled()) break;
        if (paths::lowerExtension(file) != QStringLiteral("wav")) continue;
        const auto analyze = [scanner = scanner(), file, layout] { return scanner.analyzed(file, layout); };
        try {
            std::optional<MultiChannelSource> source = co_await inBackground(this, analyze);
            if (source) sources.push_back(std::move(*source));
        } catch (const FFProbeError& error) {
            log(LogLevel::error, LogCategory::scan,
                QStringLiteral("Cannot use %1: %2").arg(paths::lastComponent(file), error.errorDescription()));
        }
    }
    co_return sources;
}

// Folders of the selection are walked and its files taken as they are, so what comes out lies wholly inside it.
ScanRequest AppViewModel::scanRequest(const TaskHandle& handle) {
    const QStringList files = selectedFiles.value();
    ScanRequest request;
    request.items = files;
    request.root = files.size() == 1 && paths::isFolder(files.first()) ? files.first() : paths::parent(files.first());
    request.includeSubfolders = options.value().includeSubfolders;
    request.isCancelled = [handle] { return handle.isCancelled(); };
    const MainThreadHop hop(this);
    request.progress = [this, hop, handle](const QString& text) {
        hop([this, handle, text] {
            if (!handle.isCancelled()) statusMessage = text;
        });
    };
    request.warn = [this, hop](const QString& text) {
        hop([this, text] { log(LogLevel::warning, LogCategory::scan, text); });
    };
    return request;
}

LibraryScanner AppViewModel::scanner() const {
    return LibraryScanner(toolDetector_->ffprobePath.value(), toolDetector_->bwfmetaeditPath.value());
}

bool AppViewModel::selectionHasFolders() const {
    const QStringList files = selectedFiles.value();
    return std::any_of(files.begin(), files.end(), paths::isFolder);
}

void AppViewModel::setDefaultOutputs(std::vector<InterleaveGroup>& groups) const {
    for (InterleaveGroup& group : groups) {
        if (group.outputURL.isEmpty()) group.outputURL = InterleaveEngine::generateOutputURL(group, options.value());
    }
}

void AppViewModel::reportGroups() {
    const QString layoutName = selectedLayout.value().displayName;
    const auto say = [this](LogLevel level, const QString& text) { log(level, LogCategory::scan, text); };
    const auto sayNothingFound = [&] {
        say(LogLevel::info, QStringLiteral("No channel groups found - This folder appears to contain only interleaved "
                                           "files or mono files without matching channel tags for %1. Nothing to "
                                           "process in Interleave mode.")
                                .arg(layoutName));
    };
    const auto total = interleaveGroups.size();
    const auto sayNothingReady = [&] {
        say(LogLevel::warning, QStringLiteral("Found %1 groups, but 0 ready to process. Check for mismatches or "
                                              "missing channels for %2.")
                                   .arg(total)
                                   .arg(layoutName));
    };
    if (total == 0) return sayNothingFound();
    if (selectedLayout.value() != ChannelLayout::stereo) {
        if (readyCount() == 0) return sayNothingReady();
        return say(LogLevel::success, QStringLiteral("Found %1 groups, %2 ready").arg(total).arg(readyCount()));
    }
    const LRScanSummary summary = LRScanSummary::generate(interleaveGroups.rows());
    const int held = summary.protectedSurround + summary.protectedAmbisonics + summary.incomplete;
    if (summary.readyPairs == 0 && held < 1) return sayNothingReady();
    say(LogLevel::success, QStringLiteral("L/R Scan Summary:"));
    const auto sayCount = [&](const char16_t* words, int number) {
        if (number > 0) say(LogLevel::info, QString::fromUtf16(words) + QString::number(number));
    };
    say(LogLevel::info, QStringLiteral("  ✅ Safe L/R pairs (ready): %1").arg(summary.readyPairs));
    sayCount(u"  🛡️ Surround sets protected: ", summary.protectedSurround);
    sayCount(u"  🛡️ Ambisonics protected: ", summary.protectedAmbisonics);
    sayCount(u"  ⚠️ Incomplete pairs: ", summary.incomplete);
    sayCount(u"  ⚠️ Mismatches (SR/BD/Dur): ", summary.mismatches());
    say(LogLevel::success, QStringLiteral("Ready to process: %1 pairs → %1 stereo files").arg(summary.readyPairs));
}

void AppViewModel::reportSources() {
    if (deinterleaveSources.empty()) {
        log(LogLevel::info, LogCategory::scan,
            QStringLiteral("No multichannel files found matching the selected layout (%1). This folder may contain "
                           "only mono files or files with different channel counts. Nothing to process in "
                           "De-interleave mode.")
                .arg(selectedLayout.value().displayName));
        return;
    }
    log(LogLevel::success, LogCategory::scan,
        QStringLiteral("Found %1 multichannel files").arg(deinterleaveSources.size()));
}

} // namespace ostrel
