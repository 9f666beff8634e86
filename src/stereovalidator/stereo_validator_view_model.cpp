// Selection, options and log of the Stereo Validator's controller.
#include "stereovalidator/stereo_validator_view_model.h"

#include "platform/paths.h"
#include "stereovalidator/validator_words.h"

#include <QDateTime>

namespace ostrel {
namespace {

QString textOf(bool value) { return value ? QStringLiteral("true") : QStringLiteral("false"); }
QString textOf(double value) { return QString::number(value); }
QString textOf(const QString& value) { return value.isEmpty() ? QStringLiteral("none") : value; }
QString textOf(ExportScope value) { return rawText(value); }
QString textOf(DualMonoSideSelection value) { return rawText(value); }

QString textOf(const std::optional<QStringList>& files) {
    if (!files) return QStringLiteral("none");
    QStringList names;
    for (const QString& file : files->first(std::min<qsizetype>(files->size(), 3))) names << paths::lastComponent(file);
    return QStringLiteral("%1 files %2").arg(files->size()).arg(names.join(QStringLiteral(", ")));
}

} // namespace

StereoValidatorViewModel::StereoValidatorViewModel(DesktopServices& desktop, AudioOutput& audio,
                                                   std::unique_ptr<ExternalToolDetector> detector)
    : desktop_(desktop), toolDetector_(detector ? std::move(detector) : std::make_unique<ExternalToolDetector>()),
      playbackManager_(std::make_unique<PlaybackManager>(audio)) {
    connect(playbackManager_.get(), &PlaybackManager::engineChanged, this,
            [this] { isAuditioning = playbackManager_->engine().isPlaying.value(); });
    watchOptions();
    log(LogLevel::info, LogCategory::system,
        QStringLiteral("Using native in-process analyzer - no external dependencies required"));
}

StereoValidatorViewModel::~StereoValidatorViewModel() {
    analysisTask_.cancel();
    exportTask_.cancel();
}

void StereoValidatorViewModel::watchOptions() {
    const auto watch = [this](auto& property, const char* name) {
        notifiers_.push_back(property.addNotifier([&property, name] {
            writeValidatorDebugLine(
                QStringLiteral("🔄 %1 changed: %2").arg(QLatin1String(name), textOf(property.value())));
        }));
    };
    watch(sourceFolder, "sourceFolder");
    watch(selectedFiles, "selectedFiles");
    watch(recursiveScan, "recursiveScan");
    watch(skipMonoFiles, "skipMonoFiles");
    watch(outputFolder, "outputFolder");
    watch(dualMonoThreshold, "dualMonoThreshold");
    watch(nearMonoThreshold, "nearMonoThreshold");
    watch(smallLagMs, "smallLagMs");
    watch(bigLagMs, "bigLagMs");
    watch(oneSidedDb, "oneSidedDb");
    watch(includeMidSide, "includeMidSide");
    watch(exportScope, "exportScope");
    watch(processDualMono, "processDualMono");
    watch(processOneSided, "processOneSided");
    watch(processBroken, "processBroken");
    watch(dualMonoSideSelection, "dualMonoSideSelection");
    watch(addMonoSuffix, "addMonoSuffix");
    watch(allowOverwrite, "allowOverwrite");
    watch(generateCSV, "generateCSV");
}

bool StereoValidatorViewModel::canAnalyze() const {
    return (!sourceFolder.value().isEmpty() || selectedFiles.value()) && !isAnalyzing.value();
}

StereoValidatorOptions StereoValidatorViewModel::options() const {
    return {
        .dualMonoThreshold = dualMonoThreshold.value(),
        .nearMonoThreshold = nearMonoThreshold.value(),
        .smallLagMs = smallLagMs.value(),
        .bigLagMs = bigLagMs.value(),
        .oneSidedDb = oneSidedDb.value(),
        .includeMidSide = includeMidSide.value(),
        .generateCSV = generateCSV.value(),
    };
}

void StereoValidatorViewModel::applyPreset(AnalysisPreset preset) {
    const StereoValidatorOptions values = optionsOf(preset);
    dualMonoThreshold = values.dualMonoThreshold;
    nearMonoThreshold = values.nearMonoThreshold;
    smallLagMs = values.smallLagMs;
    bigLagMs = values.bigLagMs;
    oneSidedDb = values.oneSidedDb;
}

void StereoValidatorViewModel::detectTools() {
    toolDetector_->detectTools();
    log(LogLevel::info, LogCategory::system,
        QStringLiteral("Using native in-process analyzer - no external dependencies required"));
}

void StereoValidatorViewModel::selectSource() {
    OpenPanelRequest request;
    request.canChooseFolders = true;
    request.allowsMultipleSelection = true;
    request.message = QStringLiteral("Select stereo audio files or folder");
    request.allowedExtensions = validatorExtensions();
    const QStringList chosen = desktop_.showOpenPanel(request);
    if (!chosen.isEmpty()) select(chosen);
}

void StereoValidatorViewModel::select(const QStringList& urls) {
    if (urls.isEmpty()) return;
    if (paths::isFolder(urls.first())) {
        sourceFolder = urls.first();
        selectedFiles = std::nullopt;
        log(LogLevel::info, LogCategory::scan,
            QStringLiteral("Source folder selected: ") + paths::lastComponent(urls.first()));
    } else {
        sourceFolder = QString();
        selectedFiles = urls;
        log(LogLevel::info, LogCategory::scan, QStringLiteral("Selected %1 file(s)").arg(urls.size()));
    }
}

void StereoValidatorViewModel::selectOutputFolder() {
    OpenPanelRequest request;
    request.canChooseFiles = false;
    request.canChooseFolders = true;
    request.canCreateFolders = true;
    request.message = QStringLiteral("Choose where to save analysis results and processed files");
    const QStringList chosen = desktop_.showOpenPanel(request);
    if (chosen.isEmpty()) return;
    outputFolder = chosen.first();
    log(LogLevel::info, LogCategory::scan,
        QStringLiteral("Output folder selected: ") + paths::lastComponent(chosen.first()));
}

void StereoValidatorViewModel::audition(const StereoValidatorResult& result) {
    const auto known = [](int value) { return value > 0 ? std::optional(value) : std::nullopt; };
    playbackManager_->loadFile(result.filepath, known(result.sampleRate), known(result.bitDepth));
    playbackManager_->engine().play();
}

void StereoValidatorViewModel::log(LogLevel level, LogCategory category, const QString& message) {
    logEntries.append({.level = level, .category = category, .message = message});
}

QString StereoValidatorViewModel::logText() const {
    QStringList lines;
    for (const ProcessingLogEntry& entry : logEntries) lines << entry.formattedEntry();
    return lines.join(QLatin1Char('\n'));
}

void StereoValidatorViewModel::saveLog() {
    SavePanelRequest request;
    request.suggestedName = QStringLiteral("StereoValidator_Log_%1.txt")
                                .arg(QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd_HH-mm-ss")));
    request.allowedExtensions = {QStringLiteral("txt")};
    const QString path = desktop_.showSavePanel(request);
    if (path.isEmpty()) return;
    try {
        files::writeAtomically(path, logText().toUtf8());
        log(LogLevel::success, LogCategory::system, QStringLiteral("Log saved to: ") + path);
    } catch (const FileError& error) {
        log(LogLevel::error, LogCategory::system, QStringLiteral("Failed to save log: ") + error.description);
    }
}

void StereoValidatorViewModel::copyLogToClipboard() {
    const auto count = logEntries.size();
    desktop_.setPasteboardText(logText());
    log(LogLevel::success, LogCategory::system, QStringLiteral("Log copied to clipboard (%1 entries)").arg(count));
}

} // namespace ostrel
