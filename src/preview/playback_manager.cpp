#include "preview/playback_manager.h"

#include "foundation/logs/debug_log.h"
#include "platform/audio/audio_file.h"
#include "platform/diagnostics.h"
#include "platform/files/standard_folders.h"
#include "platform/paths.h"

#include <QSettings>

namespace ostrel {
namespace {

const QString kRoutingKey = QStringLiteral("previewRouting");

PreviewRouting storedRouting() {
    const QString stored = QSettings().value(kRoutingKey).toString();
    return stored == rawText(PreviewRouting::speakerRouted) ? PreviewRouting::speakerRouted : PreviewRouting::mono;
}

QString monoName(const QString& file, const QString& tag) {
    return QStringLiteral("%1 (%2)").arg(paths::lastComponent(file), tag);
}

QString routedName(const QString& file, const QString& tag) { return monoName(file, tag) + QStringLiteral(" [QC]"); }

} // namespace

PlaybackManager::PlaybackManager(AudioOutput& output)
    : ffmpegPath_(PreviewGenerator::findFFmpeg()), engine_(output),
      previews_(this, ffmpegPath_, [this](const QString& line) { debugLog(line); }),
      waveforms_(this, ffmpegPath_, [this](Waveforms made) { showWaveforms(std::move(made)); }) {
    engine_.setFFmpegPath(ffmpegPath_);
    previews_.onGenerating = [this](bool isGenerating) { isGeneratingStereoPreview = isGenerating; };
    connect(&engine_, &AudioPlaybackEngine::changed, this, &PlaybackManager::engineChanged);
    previewRouting = storedRouting();
    routingNotifier_ =
        previewRouting.addNotifier([this] { QSettings().setValue(kRoutingKey, rawText(previewRouting.value())); });
}

PlaybackManager::~PlaybackManager() = default;

void PlaybackManager::debugLog(const QString& message) const {
    const QString tag = QStringLiteral("PLAYBACK");
    printDiagnostic(debugLogLine(tag, message));
    appendToDebugLog(tag, message, paths::append(paths::parent(cacheFolder()), QStringLiteral("ostrel_debug.log")));
}

QString PlaybackManager::recordingURL() const {
    if (selected_.file) return selected_.file->sourceURL;
    if (selected_.group) return selected_.group->channelFiles.value(selected_.defaultTag());
    return currentFileURL.value();
}

void PlaybackManager::forgetSelection() {
    ++selection_;
    engine_.unload();
    waveforms_.cancel();
    currentFileURL = QString();
    currentFileName = QString();
    waveformData = std::vector<float>();
    multiChannelWaveformData = std::vector<std::vector<float>>();
    isGeneratingWaveform = false;
    waveformError = false;
    selected_ = PlaybackSelection();
    previewMode = PreviewMode::source;
    canTogglePreviewMode = false;
    availablePreviewModes = std::vector<PreviewMode>();
    selectedChannelTag = QString();
    setTags({});
}

void PlaybackManager::showInfo(std::optional<int> sampleRate, std::optional<int> bitDepth) {
    QStringList parts;
    if (sampleRate) parts << QStringLiteral("%1 kHz").arg(*sampleRate / 1000.0);
    if (bitDepth) parts << QStringLiteral("%1-bit").arg(*bitDepth);
    currentFileInfo = parts.join(QStringLiteral(", "));
}

void PlaybackManager::loadFile(const QString& url, std::optional<int> sampleRate, std::optional<int> bitDepth) {
    forgetSelection();
    showInfo(sampleRate, bitDepth);
    loadIntoPlayer(url, paths::lastComponent(url));
}

void PlaybackManager::loadGroup(const InterleaveGroup& group, const ChannelLayout& layout, AppMode appMode,
                                std::optional<int> sampleRate, std::optional<int> bitDepth) {
    forgetSelection();
    selected_ = {group, std::nullopt, layout, appMode};
    showInfo(sampleRate, bitDepth);
    showChoices();
    loadDefaultOfGroup();
    for (const PreviewMode mode : availablePreviewModes.value()) {
        if (mode == PreviewMode::source) continue;
        debugLog(mode == PreviewMode::postInterleave
                     ? QStringLiteral("Auto-loading stereo preview (previewing what we'll create)")
                     : QStringLiteral("Auto-loading 7.1 surround preview (previewing what we'll create)"));
        setPreviewMode(mode);
    }
}

void PlaybackManager::loadStereoFile(const MultiChannelSource& file, AppMode appMode, std::optional<int> sampleRate,
                                     std::optional<int> bitDepth) {
    forgetSelection();
    selected_ = {std::nullopt, file, file.layout, appMode};
    showInfo(sampleRate, bitDepth);
    showChoices();
    loadIntoPlayer(file.sourceURL, paths::lastComponent(file.sourceURL));
}

void PlaybackManager::showChoices() {
    setTags(selected_.tags());
    const ModesOfSelection choices = modesOf(selected_);
    canTogglePreviewMode = choices.modes.size() > 1;
    availablePreviewModes = choices.modes;
    debugLog(choices.why);
}

void PlaybackManager::setTags(const QStringList& tags) {
    availableChannelTags = tags;
    canAuditionChannels = tags.size() >= 2;
}

bool PlaybackManager::loadIntoPlayer(const QString& url, const QString& name) {
    engine_.load(url);
    currentFileURL = url;
    currentFileName = name;
    loadWaveform(url);
    return engine_.isLoaded.value() || engine_.isLoading.value();
}

bool PlaybackManager::loadDefaultOfGroup() {
    const QString tag = selected_.defaultTag();
    if (tag.isEmpty()) return false;
    const QString file = selected_.group->channelFiles.value(tag);
    const QString name = paths::lastComponent(file);
    if (tag == QStringLiteral("C") && selected_.isSurround()) {
        debugLog(QStringLiteral("Loading CENTER channel as temporary default for surround format"));
    } else if (tag == QStringLiteral("L")) {
        debugLog(QStringLiteral("Loading LEFT channel as default"));
    } else {
        debugLog(QStringLiteral("Loading first available channel: %1").arg(tag));
        return loadIntoPlayer(file, name);
    }
    return loadIntoPlayer(file, QStringLiteral("%1 (%2)").arg(name, tag));
}

bool PlaybackManager::loadSourceMode() {
    if (selected_.group) return loadDefaultOfGroup();
    if (!selected_.file) return false;
    return loadIntoPlayer(selected_.file->sourceURL, paths::lastComponent(selected_.file->sourceURL));
}

void PlaybackManager::loadDefaultChannelOrSource() {
    if (selected_.mode == AppMode::deinterleave && selected_.file) {
        loadSourceMode();
        debugLog(QStringLiteral("Loaded default: Source (multichannel)"));
        return;
    }
    if (!selected_.group || !selected_.layout) {
        debugLog(QStringLiteral("No group/layout for default channel"));
        return;
    }
    loadDefaultOfGroup();
    const bool isCenter = selected_.isSurround() && selected_.group->channelFiles.contains(QStringLiteral("C"));
    debugLog(isCenter ? QStringLiteral("Loaded default: Center channel")
                      : QStringLiteral("Loaded default: Left channel"));
}

void PlaybackManager::togglePlayPause() {
    if (engine_.isPlaying.value()) {
        engine_.pause();
    } else {
        engine_.play();
    }
}

void PlaybackManager::stopAndClear() {
    forgetSelection();
    currentFileInfo = QString();
    cleanupTempFiles();
}

void PlaybackManager::cleanupTempFiles() { previews_.clear(); }

void PlaybackManager::loadWaveform(const QString& url) {
    waveformError = false;
    isGeneratingWaveform = true;
    waveforms_.load(url, canAuditionChannels.value() && availableChannelTags.value().size() >= 2);
}

void PlaybackManager::showWaveforms(Waveforms made) {
    waveformData = std::move(made.whole);
    multiChannelWaveformData = std::move(made.lanes);
    waveformError = made.failed;
    isGeneratingWaveform = false;
}

QCoro::Task<> PlaybackManager::setPreviewMode(PreviewMode target) {
    if (!canTogglePreviewMode.value()) {
        debugLog(QStringLiteral("Cannot set mode - canTogglePreviewMode is false"));
        co_return;
    }
    if (target == previewMode.value()) {
        debugLog(QStringLiteral("Already in mode %1").arg(displayText(target)));
        co_return;
    }
    debugLog(QStringLiteral("Switching to mode: %1").arg(displayText(target)));
    const int selection = selection_;
    const bool isLoaded = co_await loadMode(target);
    if (selection != selection_) co_return;
    if (!isLoaded) {
        debugLog(failureText(target));
        co_return;
    }
    previewMode = target;
    selectedChannelTag = QString();
    debugLog(QStringLiteral("Mode switched to: %1").arg(displayText(target)));
}

QCoro::Task<bool> PlaybackManager::loadMode(PreviewMode target) {
    switch (target) {
    case PreviewMode::source: co_return loadSourceMode();
    case PreviewMode::postInterleave: co_return co_await loadPostInterleavePreview();
    case PreviewMode::postInterleaveSurround: co_return co_await loadPostInterleaveSurroundPreview();
    case PreviewMode::leftChannel: co_return co_await loadChannelPreview(QStringLiteral("left"), QStringLiteral("L"));
    case PreviewMode::rightChannel: co_return co_await loadChannelPreview(QStringLiteral("right"), QStringLiteral("R"));
    case PreviewMode::centerChannel: break;
    }
    co_return co_await loadChannelPreview(QStringLiteral("center"), QStringLiteral("C"));
}

QCoro::Task<bool> PlaybackManager::loadPostInterleavePreview() {
    if (!selected_.group) co_return false;
    const QString left = selected_.group->channelFiles.value(QStringLiteral("L"));
    const QString right = selected_.group->channelFiles.value(QStringLiteral("R"));
    if (left.isEmpty() || right.isEmpty()) co_return false;
    const PreviewRecipe recipe = stereoPreview(left, right);
    const QString name = QStringLiteral("%1 (Stereo)").arg(selected_.group->baseName);
    co_return co_await loadPreview(recipe, name);
}

QCoro::Task<bool> PlaybackManager::loadPostInterleaveSurroundPreview() {
    if (!selected_.group || !selected_.layout) co_return false;
    if (usesSimpleJoin(availableChannelTags.value(), *selected_.layout)) {
        debugLog(QStringLiteral("Using simple join for %1").arg(selected_.layout->id));
    }
    const PreviewRecipe recipe =
        surroundPreview(selected_.group->baseName, selected_.group->channelFiles, *selected_.layout);
    const QString name = QStringLiteral("%1 (Surround)").arg(selected_.group->baseName);
    co_return co_await loadPreview(recipe, name);
}

QCoro::Task<bool> PlaybackManager::loadChannelPreview(QString channel, QString suffix) {
    if (!selected_.file) co_return false;
    const QString file = selected_.file->sourceURL;
    const PreviewRecipe recipe = channelPreview(file, channel);
    const QString name = QStringLiteral("%1 (%2)").arg(paths::lastComponent(file), suffix);
    co_return co_await loadPreview(recipe, name);
}

QCoro::Task<bool> PlaybackManager::loadPreview(PreviewRecipe recipe, QString name) {
    const int selection = selection_;
    const QString preview = co_await previews_.prepared(recipe);
    if (preview.isEmpty() || selection != selection_) co_return false;
    co_return loadIntoPlayer(preview, name);
}

QCoro::Task<> PlaybackManager::reloadSourceFile() {
    if (previewMode.value() != PreviewMode::postInterleaveSurround) {
        loadSourceMode();
        co_return;
    }
    const bool isLoaded = co_await loadPostInterleaveSurroundPreview();
    if (isLoaded) debugLog(QStringLiteral("Reloaded surround preview"));
}

QCoro::Task<> PlaybackManager::auditionChannel(QString tag) {
    if (!canAuditionChannels.value()) {
        debugLog(QStringLiteral("Channel audition not available"));
        co_return;
    }
    if (tag.isEmpty() || (tag == selectedChannelTag.value() && !isReAuditioning_)) {
        returnToDefault(QStringLiteral("Channel deselected, returning to default"));
        co_return;
    }
    if (!availableChannelTags.value().contains(tag)) {
        returnToDefault(QStringLiteral("Channel %1 not available in current layout").arg(tag));
        co_return;
    }
    const int selection = selection_;
    const bool isLoaded =
        selected_.mode == AppMode::interleave ? co_await auditionInGroup(tag) : co_await auditionInFile(tag);
    if (isLoaded && selection == selection_) selectedChannelTag = tag;
}

void PlaybackManager::returnToDefault(const QString& logLine) {
    selectedChannelTag = QString();
    previewMode = PreviewMode::source; // the default is a source, whatever was heard before
    debugLog(logLine);
    loadDefaultChannelOrSource();
}

QCoro::Task<bool> PlaybackManager::auditionInGroup(QString tag) {
    if (!selected_.group || !selected_.layout || !selected_.group->channelFiles.contains(tag)) {
        returnToDefault(QStringLiteral("Channel %1 not in group").arg(tag));
        co_return false;
    }
    debugLog(QStringLiteral("Channel %1 in group").arg(tag));
    const QString file = selected_.group->channelFiles.value(tag);
    if (previewRouting.value() == PreviewRouting::speakerRouted) {
        const int selection = selection_;
        const PreviewRecipe recipe = speakerRouted(selected_.group->baseName, file, tag, *selected_.layout, 0);
        const bool isLoaded = co_await loadPreview(recipe, routedName(file, tag));
        if (isLoaded || selection != selection_) co_return isLoaded;
        debugLog(QStringLiteral("Speaker-routed failed, falling back to mono"));
    }
    const bool isLoaded = loadIntoPlayer(file, monoName(file, tag));
    debugLog(QStringLiteral("%1 loaded for mono audition (interleave mode)").arg(tag));
    co_return isLoaded;
}

QCoro::Task<bool> PlaybackManager::auditionInFile(QString tag) {
    if (!selected_.file || !selected_.layout) {
        debugLog(QStringLiteral("Cannot extract channel - no stereo file or layout"));
        co_return false;
    }
    const QString file = selected_.file->sourceURL;
    const ChannelLayout layout = *selected_.layout;
    if (previewRouting.value() == PreviewRouting::speakerRouted) {
        const int selection = selection_;
        const int channel = static_cast<int>(layout.channelTags.indexOf(tag));
        const PreviewRecipe routed = speakerRouted(paths::stem(file), file, tag, layout, channel);
        const bool isLoaded = co_await loadPreview(routed, routedName(file, tag));
        if (isLoaded || selection != selection_) co_return isLoaded;
        debugLog(QStringLiteral("Speaker-routed extraction failed, falling back to mono"));
    }
    const PreviewRecipe extracted = extractedChannel(file, tag, layout);
    co_return co_await loadPreview(extracted, monoName(file, tag));
}

QCoro::Task<> PlaybackManager::reAuditionCurrentChannel() {
    const QString tag = selectedChannelTag.value();
    if (tag.isEmpty()) {
        debugLog(QStringLiteral("reAuditionCurrentChannel: No channel selected, nothing to re-audition"));
        co_return;
    }
    isReAuditioning_ = true;
    co_await auditionChannel(tag);
    isReAuditioning_ = false;
}

} // namespace ostrel
