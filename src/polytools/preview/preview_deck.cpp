#include "polytools/preview/preview_deck.h"

#include "platform/files/file_name.h"
#include "platform/paths.h"
#include "polytools/preview/preview_files.h"

namespace ostrel {

using Task = PolyToolsServices::Task;

PreviewDeck::PreviewDeck(const PolyToolsState& state, PreviewState& preview, PolyToolsServices& services,
                         AudioOutput* output)
    : state_(state), preview_(preview), services_(services) {
    if (output) mixer_ = std::make_unique<PreviewMixer>(*output);
}

void PreviewDeck::toolsChanged() {
    if (!mixer_) return;
    mixer_->bwfmetaeditPath = state_.bwfmetaeditPath.value();
    mixer_->setFFmpegPath(state_.ffmpegPath.value());
}

QString PreviewDeck::numbered(int index, const QString& name) {
    return QStringLiteral("%1: %2").arg(index + 1).arg(name);
}

std::optional<int> PreviewDeck::oneBased(const std::optional<int>& index) {
    return index ? std::optional(*index + 1) : std::nullopt;
}

PreviewDeck::ExtractedChannels PreviewDeck::extractOne(const QString& polyURL, int channel, const QString& folder,
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
QCoro::Task<std::optional<QStringList>> PreviewDeck::extractChannels(QString url, int channelCount, QString folder,
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
        if (showsProgress) preview_.previewPreparationProgress = std::pair(channel + 1, channelCount);
    }
    co_return urls;
}

void PreviewDeck::forgetPreparation() {
    preview_.isPreparingPreview = false;
    preview_.previewPreparationProgress = std::nullopt;
    preview_.isExtractingBatchPreview = false;
    preview_.isLoadingAllPreviews = false;
}

// A preparation that another one takes the place of ends without a word.
TaskHandle PreviewDeck::begin() {
    forgetPreparation();
    return services_.begin(Task::preview);
}

QString PreviewDeck::channelURL(const QStringList& urls, int channelIndex) {
    const QString ending = QStringLiteral("_T%1.wav").arg(channelIndex + 1);
    for (const QString& url : urls) {
        if (url.endsWith(ending)) return url;
    }
    return {};
}

void PreviewDeck::togglePlay() { mixer_->isPlaying.value() ? mixer_->pause() : mixer_->play(); }

// A click on a source: another one is heard alone from here on, the same one pauses and goes on.
void PreviewDeck::listenTo(QProperty<std::optional<int>>& selection, int index, const QString& url,
                           const QString& logLine) {
    const auto source = static_cast<int>(mixer_->sourceURLs().indexOf(url));
    if (url.isEmpty() || source < 0) return; // could not be extracted or loaded
    if (selection.value() == index) return togglePlay();
    selection = index;
    mixer_->soloExclusive(source);
    mixer_->play();
    services_.info(LogCategory::process, logLine);
}

void PreviewDeck::playWhole(QProperty<std::optional<int>>& selection) {
    if (!isEnabled()) return;
    selection = std::nullopt;
    mixer_->clearAllSolos();
    mixer_->play();
}

// The source alone, or the whole again; where it plays it plays on.
void PreviewDeck::toggleSolo(QProperty<std::optional<int>>& selection, int index, const QString& url) {
    const auto source = static_cast<int>(mixer_->sourceURLs().indexOf(url));
    if (source < 0) return; // could not be loaded
    selection = selection.value() == index ? std::nullopt : std::optional(index);
    mixer_->toggleSolo(source);
    mixer_->play();
}

void PreviewDeck::clear() {
    if (mixer_) mixer_->cleanup();
    preview_.selectedChannelForPlayback = std::nullopt;
    preview_.selectedBatchChannelForPlayback = std::nullopt;
    preview_.selectedISOForPlayback = std::nullopt;
    preview_.selectedPreviewISOIndex = std::nullopt;
    preview_.previewedGroupID = QUuid();
}

} // namespace ostrel
