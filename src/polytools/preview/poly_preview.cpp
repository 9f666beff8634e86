#include "polytools/preview/poly_preview.h"

#include "platform/files/file_name.h"
#include "platform/files/files.h"
#include "platform/paths.h"

namespace ostrel {
namespace {

using Task = PolyToolsServices::Task;

QString numbered(int index, const QString& name) { return QStringLiteral("%1: %2").arg(index + 1).arg(name); }

std::optional<int> oneBased(const std::optional<int>& index) {
    return index ? std::optional(*index + 1) : std::nullopt;
}

} // namespace

PolyPreview::PolyPreview(PolyToolsState& state, PolyToolsServices& services, AudioOutput* output)
    : state_(state), services_(services) {
    if (output) mixer_ = std::make_unique<PreviewMixer>(*output);
}

void PolyPreview::toolsChanged() {
    if (!mixer_) return;
    mixer_->bwfmetaeditPath = state_.bwfmetaeditPath.value();
    mixer_->setFFmpegPath(state_.ffmpegPath.value());
}

PolyPreview::ExtractedChannels PolyPreview::extractOne(const QString& polyURL, int channel, const QString& folder,
                                                       const QString& ffmpegPath) {
    const QString ending = QStringLiteral("_T%1.wav").arg(channel + 1);
    const QString output = paths::append(folder, fittedFileName(paths::stem(polyURL), ending));
    try {
        extractChannel(polyURL, channel, output, ffmpegPath);
        return {{output}, {}};
    } catch (const std::exception& error) {
        return {{}, {QStringLiteral("Failed to extract channel %1: %2").arg(channel + 1).arg(describe(error))}};
    }
}

// The channels one after the other; nothing if it was stopped.
QCoro::Task<std::optional<QStringList>> PolyPreview::extractChannels(QString url, int channelCount, QString folder,
                                                                     QString logStart, TaskHandle handle,
                                                                     bool showsProgress) {
    QStringList urls;
    for (int channel = 0; channel < channelCount; ++channel) {
        const auto work = [url, channel, folder, ffmpeg = state_.ffmpegPath.value()] {
            return extractOne(url, channel, folder, ffmpeg);
        };
        const ExtractedChannels extracted = co_await inBackground(services_.owner(), work);
        if (handle.isCancelled()) co_return std::nullopt;
        urls << extracted.urls;
        for (const QString& failure : extracted.failures) log(LogLevel::warning, logStart + failure);
        if (showsProgress) state_.previewPreparationProgress = std::pair(channel + 1, channelCount);
    }
    co_return urls;
}

QCoro::Task<> PolyPreview::extractAllChannelsForPreview() {
    if (!isEnabled()) co_return;
    const std::optional<PolyFile> poly = state_.polyFile.value();
    if (!poly || state_.ffmpegPath.value().isEmpty()) {
        log(LogLevel::warning, QStringLiteral("Cannot prepare preview: missing poly file or ffmpeg"));
        co_return;
    }
    const TaskHandle handle = beginPreview();
    cleanupPreviewTempFiles();
    state_.isPreparingPreview = true;
    state_.previewPreparationProgress = std::pair(0, poly->channelCount);
    log(LogLevel::info, QStringLiteral("Preparing preview mixer: extracting %1 channels...").arg(poly->channelCount));
    QString folder;
    try {
        folder = channelFolder_.makeFresh();
    } catch (const FileError& error) {
        log(LogLevel::error, QStringLiteral("Failed to create temp directory: ") + error.description);
        state_.isPreparingPreview = false;
        state_.previewPreparationProgress = std::nullopt;
        co_return;
    }
    const std::optional<QStringList> urls =
        co_await extractChannels(poly->url, poly->channelCount, folder, QString(), handle, true);
    if (!urls) co_return; // stopped, or another poly is being prepared
    state_.extractedChannelURLs = *urls;
    state_.isPreparingPreview = false;
    state_.previewPreparationProgress = std::nullopt;
    if (urls->isEmpty()) {
        log(LogLevel::error, QStringLiteral("Preview preparation failed: no channels extracted"));
        co_return;
    }
    mixer_->loadMix(*urls, poly->url);
    log(LogLevel::success,
        QStringLiteral("Preview %1 channels loaded into mixer + poly %2").arg(urls->size()).arg(poly->fileName));
}

// A preparation that another one takes the place of ends without a word.
TaskHandle PolyPreview::beginPreview() {
    state_.isPreparingPreview = false;
    state_.previewPreparationProgress = std::nullopt;
    state_.isExtractingBatchPreview = false;
    state_.isLoadingAllPreviews = false;
    return services_.begin(Task::preview);
}

QString PolyPreview::channelURL(const QStringList& urls, int channelIndex) const {
    const QString ending = QStringLiteral("_T%1.wav").arg(channelIndex + 1);
    for (const QString& url : urls) {
        if (url.endsWith(ending)) return url;
    }
    return {};
}

void PolyPreview::togglePlay() { mixer_->isPlaying.value() ? mixer_->pause() : mixer_->play(); }

// A click on a source: another one is heard alone from here on, the same one pauses and goes on.
void PolyPreview::listenTo(QProperty<std::optional<int>>& selection, int index, const QString& url,
                           const QString& logLine) {
    const auto source = static_cast<int>(mixer_->sourceURLs().indexOf(url));
    if (url.isEmpty() || source < 0) return; // could not be extracted or loaded
    if (selection.value() == index) return togglePlay();
    selection = index;
    mixer_->soloExclusive(source);
    mixer_->play();
    services_.info(LogCategory::process, logLine);
}

void PolyPreview::playWhole(QProperty<std::optional<int>>& selection) {
    if (!isEnabled()) return;
    selection = std::nullopt;
    mixer_->clearAllSolos();
    mixer_->play();
}

// The source alone, or the whole again; where it plays it plays on.
void PolyPreview::toggleSolo(QProperty<std::optional<int>>& selection, int index, const QString& url) {
    const auto source = static_cast<int>(mixer_->sourceURLs().indexOf(url));
    if (source < 0) return; // could not be loaded
    selection = selection.value() == index ? std::nullopt : std::optional(index);
    mixer_->toggleSolo(source);
    mixer_->play();
}

void PolyPreview::selectChannelForPlayback(int channelIndex) {
    if (!isEnabled()) return;
    const QString url = channelURL(state_.extractedChannelURLs.value(), channelIndex);
    const bool isReady = mixer_->isLoaded.value() && mixer_->sourceURLs().contains(url);
    if (!isReady && !state_.isPreparingPreview.value() && state_.extractedChannelURLs.value().isEmpty()) {
        return services_.run(extractThenSelect(channelIndex));
    }
    if (!isReady) loadPolyUnlessLoaded();
    listenTo(state_.selectedChannelForPlayback, channelIndex, url,
             QStringLiteral("Selected channel %1").arg(channelIndex + 1));
}

QCoro::Task<> PolyPreview::extractThenSelect(int channelIndex) {
    co_await extractAllChannelsForPreview();
    if (!state_.extractedChannelURLs.value().isEmpty()) selectChannelForPlayback(channelIndex);
}

// Another mode may have had the mixer.
void PolyPreview::loadPolyUnlessLoaded() {
    const QStringList& urls = state_.extractedChannelURLs.value();
    const auto& poly = state_.polyFile.value();
    if (urls.isEmpty() || !poly) return;
    if (mixer_->polySourceURL() == poly->url && mixer_->sourceURLs() == urls) return;
    mixer_->loadMix(urls, poly->url);
    state_.selectedChannelForPlayback = std::nullopt;
}

void PolyPreview::playPolySource() {
    if (!isEnabled()) return;
    loadPolyUnlessLoaded();
    playWhole(state_.selectedChannelForPlayback);
}

QString PolyPreview::playbackDisplayLabel() const {
    if (const auto& index = state_.selectedChannelForPlayback.value()) {
        const auto row = static_cast<std::size_t>(*index);
        return numbered(*index, row < state_.channelItems.size() ? state_.channelItems[row].trackName : noTrackName());
    }
    const auto& poly = state_.polyFile.value();
    if (poly && mixer_ && mixer_->isPlaying.value()) return poly->fileName;
    return QStringLiteral("Select a channel to preview");
}

QString PolyPreview::batchPlaybackDisplayLabel() const {
    if (const auto& index = state_.selectedBatchChannelForPlayback.value()) {
        const auto row = static_cast<std::size_t>(*index);
        return numbered(*index, row < state_.batchChannelItems.size() ? state_.batchChannelItems[row].trackName
                                                                      : noTrackName());
    }
    const auto& poly = state_.selectedBatchPreviewIndex.value();
    if (poly && validRow(*poly)) return state_.batchPolyMetadata[static_cast<std::size_t>(*poly)].baseName;
    return QStringLiteral("Select a channel to preview");
}

QString PolyPreview::joinPlaybackDisplayLabel() const {
    if (const auto& index = state_.selectedISOForPlayback.value()) {
        const auto row = static_cast<std::size_t>(*index);
        if (row < state_.isoFiles.size()) return numbered(*index, state_.isoFiles[row].fileName);
    }
    if (mixer_ && mixer_->isPlaying.value()) return state_.joinOutputName.value();
    return QStringLiteral("Click an ISO to preview");
}

QString PolyPreview::previewGroupDisplayLabel() const {
    const std::vector<ISOFile>& isos = state_.previewedGroupISOs.value();
    if (const auto& index = state_.selectedPreviewISOIndex.value()) {
        const auto row = static_cast<std::size_t>(*index);
        if (row < isos.size()) return numbered(*index, isos[row].fileName);
    }
    return isos.empty() ? QStringLiteral("Click an ISO to preview") : state_.previewedGroupOutputName.value();
}

std::optional<int> PolyPreview::activeChannelNumber() const {
    return oneBased(state_.selectedChannelForPlayback.value());
}
std::optional<int> PolyPreview::activeBatchChannelNumber() const {
    return oneBased(state_.selectedBatchChannelForPlayback.value());
}
std::optional<int> PolyPreview::activeJoinChannelNumber() const {
    return oneBased(state_.selectedISOForPlayback.value());
}
std::optional<int> PolyPreview::activePreviewChannelNumber() const {
    return oneBased(state_.selectedPreviewISOIndex.value());
}

void PolyPreview::clearPlaybackState() {
    if (mixer_) mixer_->cleanup();
    state_.selectedChannelForPlayback = std::nullopt;
    state_.selectedBatchChannelForPlayback = std::nullopt;
    state_.selectedISOForPlayback = std::nullopt;
    state_.selectedPreviewISOIndex = std::nullopt;
    state_.previewedGroupID = QUuid();
}

void PolyPreview::cleanupPreviewTempFiles() {
    const QStringList urls = state_.extractedChannelURLs.value();
    if (mixer_ && !urls.isEmpty() && mixer_->sourceURLs() == urls) clearPlaybackState();
    state_.extractedChannelURLs = QStringList();
    channelFolder_.remove();
}

void PolyPreview::cleanupJoinPreview() {
    if (mixer_) mixer_->cleanup();
    joinFolder_.remove();
}

} // namespace ostrel
