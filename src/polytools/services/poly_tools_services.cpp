#include "polytools/services/poly_tools_services.h"

#include "foundation/run/journal.h"
#include "platform/diagnostics.h"
#include "platform/files/unique_files.h"
#include "platform/paths.h"
#include "platform/text/text.h"
#include "roads/own_documents.h"

namespace ostrel {
PolyToolsServices::PolyToolsServices(QObject& owner, PolyToolsState& state, DesktopServices& desktop,
                                     std::shared_ptr<ExternalToolDetector> detector, std::function<void()> onTaskEnded)
    : owner_(owner), state_(state), desktop_(desktop),
      detector_(detector ? std::move(detector) : std::make_shared<ExternalToolDetector>()),
      tasks_(std::move(onTaskEnded)) {}

void PolyToolsServices::checkTools() {
    detector_->detectTools();
    takeTools();
}

void PolyToolsServices::takeTools() {
    state_.ffmpegAvailable = detector_->ffmpegAvailable.value();
    state_.ffprobePath = detector_->ffprobePath.value();
    state_.ffmpegPath = detector_->ffmpegPath.value();
    state_.bwfmetaeditAvailable = detector_->bwfmetaeditAvailable.value();
    state_.bwfmetaeditPath = detector_->bwfmetaeditPath.value();
    manifestExtractor_.reset();
    universalEngine_.reset();
    ownEngine_.reset();
    ownExtractor_.reset();
    answers_ = std::make_shared<SourceAnswers>();
    ownAnswers_ = answersFromBytes();
    if (const QString path = state_.bwfmetaeditPath.value(); !path.isEmpty()) {
        manifestExtractor_.emplace(path, manifestLogger(), answers_);
        universalEngine_ = std::make_shared<UniversalMetadataEngine>(path, answers_);
        ownExtractor_.emplace(path, manifestLogger(), ownAnswers_);
        ownEngine_ = std::make_shared<UniversalMetadataEngine>(path, ownAnswers_);
    } else {
        printDiagnostic(QStringLiteral("[PolyToolsVM] bwfmetaedit not found: no manifests, no metadata"));
    }
    info(LogCategory::system,
         QStringLiteral("Tools checked: ffmpeg=%1, bwfmetaedit=%2")
             .arg(trueOrFalse(state_.ffmpegAvailable.value()), trueOrFalse(state_.bwfmetaeditAvailable.value())));
}

// Called on the threads that extract.
MetadataManifestExtractor::Logger PolyToolsServices::manifestLogger() const {
    return [hop = hop(), state = &state_](const QString& message) {
        hop([state, entry = logEntry(LogLevel::info, LogCategory::system, message)] {
            state->logEntries.append(entry);
        });
    };
}

PolyEngineTools PolyToolsServices::engineTools() const {
    const bool isDirect = state_.engine.value() == EngineChoice::direct;
    return {state_.ffmpegPath.value(), state_.ffprobePath.value(), state_.bwfmetaeditPath.value(),
            isDirect ? ownEngine_ : universalEngine_, isDirect ? ownAnswers_ : answers_};
}

const MetadataManifestExtractor* PolyToolsServices::manifestExtractor() const {
    const auto& extractor = state_.engine.value() == EngineChoice::direct ? ownExtractor_ : manifestExtractor_;
    return extractor ? &*extractor : nullptr;
}

void PolyToolsServices::log(LogLevel level, LogCategory category, const QString& message) {
    state_.logEntries.add(level, category, message);
}

bool PolyToolsServices::requireFFmpeg() {
    if (state_.hasEngine()) return true;
    error(LogCategory::system,
          QStringLiteral("ffmpeg not available - Install from ffmpeg.org or use: brew install ffmpeg"));
    return false;
}

bool PolyToolsServices::requireFFprobe() {
    if (state_.engine.value() == EngineChoice::direct || !state_.ffprobePath.value().isEmpty()) return true;
    error(LogCategory::system,
          QStringLiteral("ffprobe not available - Install ffmpeg from ffmpeg.org or use: brew install ffmpeg"));
    return false;
}

QString PolyToolsServices::chooseFolder(const QString& message) {
    OpenPanelRequest request;
    request.canChooseFiles = false;
    request.canChooseFolders = true;
    request.canCreateFolders = true;
    request.message = message;
    return desktop_.showOpenPanel(request).value(0);
}

QStringList PolyToolsServices::eachOnce(const QStringList& selection) {
    const UniqueFiles unique = uniqueFiles(selection);
    for (const QString& sentence : unique.repeats) warning(LogCategory::scan, sentence);
    return unique.files;
}

void PolyToolsServices::noteReport(const QString& path) {
    state_.reportPath = path;
    if (path.isEmpty()) error(LogCategory::system, QStringLiteral("The CSV report could not be saved"));
    if (!path.isEmpty()) info(LogCategory::system, QStringLiteral("CSV report saved: ") + paths::lastComponent(path));
}

PolyEngineHooks PolyToolsServices::hooks(const TaskHandle& handle) const {
    PolyEngineHooks hooks;
    hooks.onLogEntry = [hop = hop(), state = &state_](const ProcessingLogEntry& entry) {
        hop([state, entry] { state->logEntries.append(entry); });
    };
    hooks.isStopped = [handle] { return handle.isCancelled(); };
    hooks.journal = std::make_shared<Journal>(QStringLiteral("edit")); // no other job of these replaces a recording
    return hooks;
}

} // namespace ostrel
