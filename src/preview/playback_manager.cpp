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
constexpr int kWaveformPoints = 200;

PreviewRouting storedRouting() {
    const QString stored = QSettings().value(kRoutingKey).toString();
    return stored == rawText(PreviewRouting::speakerRouted) ? PreviewRouting::speakerRouted : PreviewRouting::mono;
}

} // namespace

PlaybackManager::PlaybackManager(AudioOutput& output) : engine_(output), ffmpegPath_(PreviewGenerator::findFFmpeg()) {
    waveformGenerator_ = std::make_shared<WaveformGenerator>(ffmpegPath_);
    engine_.setFFmpegPath(ffmpegPath_);
    connect(&engine_, &AudioPlaybackEngine::changed, this, &PlaybackManager::engineChanged);
    previewRouting = storedRouting();
    routingNotifier_ =
        previewRouting.addNotifier([this] { QSettings().setValue(kRoutingKey, rawText(previewRouting.value())); });
}

PlaybackManager::~PlaybackManager() {
    if (waveformTask_) waveformTask_->cancel();
    cleanupTempFiles();
}

void PlaybackManager::debugLog(const QString& message) const {
    const QString tag = QStringLiteral("PLAYBACK");
    printDiagnostic(debugLogLine(tag, message));
    appendToDebugLog(tag, message, paths::append(paths::parent(cacheFolder()), QStringLiteral("ostrel_debug.log")));
}

void PlaybackManager::forgetSelection() {
    ++selection_;
    engine_.unload();
    if (waveformTask_) waveformTask_->cancel();
    currentFileURL = QString();
    currentFileName = QString();
    waveformData = std::vector<float>();
    multiChannelWaveformData = std::vector<std::vector<float>>();
    isGeneratingWaveform = false;
    waveformError = false;
    currentGroup_.reset();
    currentLayout_.reset();
    currentStereoFile_.reset();
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
    currentGroup_ = group;
    currentLayout_ = layout;
    currentAppMode_ = appMode;
    showInfo(sampleRate, bitDepth);
    QStringList tags;
    for (const QString& tag : layout.channelTags) {
        if (group.channelFiles.contains(tag)) tags << tag;
    }
    setTags(tags);
    setModesOfGroup();
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
    currentStereoFile_ = file;
    currentLayout_ = file.layout;
    currentAppMode_ = appMode;
    showInfo(sampleRate, bitDepth);
    setTags(file.layout.channelTags);
    setModesOfFile();
    loadIntoPlayer(file.sourceURL, paths::lastComponent(file.sourceURL));
}

void PlaybackManager::setModes(std::vector<PreviewMode> modes, const QString& logLine) {
    canTogglePreviewMode = modes.size() > 1;
    availablePreviewModes = std::move(modes);
    debugLog(logLine);
}

void PlaybackManager::setModesOfGroup() {
    const bool isComplete = currentGroup_->missingChannels(*currentLayout_).isEmpty();
    if (currentAppMode_ == AppMode::deinterleave) {
        setModes({PreviewMode::source}, QStringLiteral("De-interleave mode: no group preview"));
    } else if (currentLayout_->id == ChannelLayout::stereo.id && isComplete) {
        setModes({PreviewMode::source, PreviewMode::postInterleave},
                 QStringLiteral("Interleave L/R pair: 2-way toggle enabled (L only/Stereo)"));
    } else if (isSurround() && isComplete) {
        setModes({PreviewMode::source, PreviewMode::postInterleaveSurround},
                 QStringLiteral("Interleave surround: 2-way toggle enabled (Center/Surround)"));
    } else {
        setModes({PreviewMode::source}, QStringLiteral("Interleave incomplete group: toggle disabled"));
    }
}

void PlaybackManager::setModesOfFile() {
    if (currentAppMode_ == AppMode::interleave) {
        setModes({PreviewMode::source}, QStringLiteral("Interleave mode: toggle disabled"));
    } else if (currentLayout_->id == ChannelLayout::stereo.id) {
        setModes({PreviewMode::source, PreviewMode::leftChannel, PreviewMode::rightChannel},
                 QStringLiteral("De-interleave stereo file: 3-way toggle enabled (Source/L/R)"));
    } else if (currentStereoFile_->channels >= 6 || isSurround()) {
        setModes({PreviewMode::source, PreviewMode::centerChannel},
                 QStringLiteral("De-interleave surround file: 2-way toggle enabled (Source/Center)"));
    } else {
        setModes({PreviewMode::source}, QStringLiteral("De-interleave mono/other: toggle disabled"));
    }
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
    const QMap<QString, QString>& files = currentGroup_->channelFiles;
    QString tag;
    if (isSurround() && files.contains(QStringLiteral("C"))) {
        tag = QStringLiteral("C");
        debugLog(QStringLiteral("Loading CENTER channel as temporary default for surround format"));
    } else if (files.contains(QStringLiteral("L"))) {
        tag = QStringLiteral("L");
        debugLog(QStringLiteral("Loading LEFT channel as default"));
    } else if (!availableChannelTags.value().isEmpty()) {
        const QString first = availableChannelTags.value().first();
        debugLog(QStringLiteral("Loading first available channel: %1").arg(first));
        return loadIntoPlayer(files.value(first), paths::lastComponent(files.value(first)));
    } else {
        return false;
    }
    return loadIntoPlayer(files.value(tag), QStringLiteral("%1 (%2)").arg(paths::lastComponent(files.value(tag)), tag));
}

bool PlaybackManager::loadSourceMode() {
    if (currentGroup_) return loadDefaultOfGroup();
    if (!currentStereoFile_) return false;
    return loadIntoPlayer(currentStereoFile_->sourceURL, paths::lastComponent(currentStereoFile_->sourceURL));
}

void PlaybackManager::loadDefaultChannelOrSource() {
    if (currentAppMode_ == AppMode::deinterleave && currentStereoFile_) {
        loadSourceMode();
        debugLog(QStringLiteral("Loaded default: Source (multichannel)"));
        return;
    }
    if (!currentGroup_ || !currentLayout_) {
        debugLog(QStringLiteral("No group/layout for default channel"));
        return;
    }
    loadDefaultOfGroup();
    const bool isCenter = isSurround() && currentGroup_->channelFiles.contains(QStringLiteral("C"));
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

void PlaybackManager::cleanupTempFiles() {
    generator_.remove(tempPreviewCache_.values());
    tempPreviewCache_.clear();
}

void PlaybackManager::loadWaveform(const QString& url) {
    if (waveformTask_) waveformTask_->cancel();
    waveformTask_.emplace();
    waveformError = false;
    isGeneratingWaveform = true;
    generateWaveforms(url, canAuditionChannels.value() && availableChannelTags.value().size() >= 2);
}

QCoro::Task<> PlaybackManager::generateWaveforms(QString url, bool wantsLanes) {
    struct Waveforms {
        std::vector<float> lane;
        std::vector<std::vector<float>> lanes;
        bool failed = false;
    };
    const TaskHandle task = *waveformTask_;
    const auto work = [generator = waveformGenerator_, url, wantsLanes, task] {
        Waveforms result;
        try {
            result.lane = generator->generateWaveform(url, kWaveformPoints, task);
            if (wantsLanes) result.lanes = generator->generateMultiChannelWaveform(url, kWaveformPoints, task);
        } catch (const AudioFileError&) {
            result.failed = true; // the panel says that there is no waveform; the player tells why
        } catch (const WaveformError&) {
            result.failed = true;
        }
        return result;
    };
    Waveforms result = co_await inBackground(this, work);
    if (task.isCancelled()) co_return; // another file is shown by now
    waveformData = std::move(result.lane);
    multiChannelWaveformData = std::move(result.lanes);
    waveformError = result.failed;
    isGeneratingWaveform = false;
}

} // namespace ostrel
