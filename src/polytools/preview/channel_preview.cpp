#include "polytools/preview/channel_preview.h"

#include "platform/files/files.h"

namespace ostrel {

QCoro::Task<> ChannelPreview::extractAllChannelsForPreview() {
    if (!deck_.isEnabled()) co_return;
    const std::optional<PolyFile> poly = source_.polyFile.value();
    if (!poly || state_.ffmpegPath.value().isEmpty()) {
        deck_.log(LogLevel::warning, QStringLiteral("Cannot prepare preview: missing poly file or ffmpeg"));
        co_return;
    }
    const TaskHandle handle = deck_.begin();
    cleanupPreviewTempFiles();
    preview_.isPreparingPreview = true;
    preview_.previewPreparationProgress = std::pair(0, poly->channelCount);
    deck_.log(LogLevel::info,
              QStringLiteral("Preparing preview mixer: extracting %1 channels...").arg(poly->channelCount));
    QString folder;
    try {
        folder = folder_.makeFresh();
    } catch (const FileError& error) {
        deck_.log(LogLevel::error, QStringLiteral("Failed to create temp directory: ") + error.description);
        preview_.isPreparingPreview = false;
        preview_.previewPreparationProgress = std::nullopt;
        co_return;
    }
    const std::optional<QStringList> urls =
        co_await deck_.extractChannels(poly->url, poly->channelCount, folder, QString(), handle, true);
    if (!urls) co_return; // stopped, or another poly is being prepared
    preview_.extractedChannelURLs = *urls;
    preview_.isPreparingPreview = false;
    preview_.previewPreparationProgress = std::nullopt;
    if (urls->isEmpty()) {
        deck_.log(LogLevel::error, QStringLiteral("Preview preparation failed: no channels extracted"));
        co_return;
    }
    deck_.mixer()->loadMix(*urls, poly->url);
    deck_.log(LogLevel::success,
              QStringLiteral("Preview %1 channels loaded into mixer + poly %2").arg(urls->size()).arg(poly->fileName));
}

void ChannelPreview::selectChannelForPlayback(int channelIndex) {
    if (!deck_.isEnabled()) return;
    const QString url = deck_.channelURL(preview_.extractedChannelURLs.value(), channelIndex);
    const bool isReady = deck_.mixer()->isLoaded.value() && deck_.mixer()->sourceURLs().contains(url);
    if (!isReady && !preview_.isPreparingPreview.value() && preview_.extractedChannelURLs.value().isEmpty()) {
        return services_.run(extractThenSelect(channelIndex));
    }
    if (!isReady) loadPolyUnlessLoaded();
    deck_.listenTo(preview_.selectedChannelForPlayback, channelIndex, url,
                   QStringLiteral("Selected channel %1").arg(channelIndex + 1));
}

QCoro::Task<> ChannelPreview::extractThenSelect(int channelIndex) {
    co_await extractAllChannelsForPreview();
    if (!preview_.extractedChannelURLs.value().isEmpty()) selectChannelForPlayback(channelIndex);
}

// Another mode may have had the mixer.
void ChannelPreview::loadPolyUnlessLoaded() {
    const QStringList& urls = preview_.extractedChannelURLs.value();
    const auto& poly = source_.polyFile.value();
    if (urls.isEmpty() || !poly) return;
    if (deck_.mixer()->polySourceURL() == poly->url && deck_.mixer()->sourceURLs() == urls) return;
    deck_.mixer()->loadMix(urls, poly->url);
    preview_.selectedChannelForPlayback = std::nullopt;
}

void ChannelPreview::playPolySource() {
    if (!deck_.isEnabled()) return;
    loadPolyUnlessLoaded();
    deck_.playWhole(preview_.selectedChannelForPlayback);
}

QString ChannelPreview::playbackDisplayLabel() const {
    if (const auto& index = preview_.selectedChannelForPlayback.value()) {
        const auto row = static_cast<std::size_t>(*index);
        return PreviewDeck::numbered(*index, row < source_.channelItems.size() ? source_.channelItems[row].trackName
                                                                               : noTrackName());
    }
    const auto& poly = source_.polyFile.value();
    if (poly && deck_.isEnabled() && deck_.mixer()->isPlaying.value()) return poly->fileName;
    return QStringLiteral("Select a channel to preview");
}

std::optional<int> ChannelPreview::activeChannelNumber() const {
    return PreviewDeck::oneBased(preview_.selectedChannelForPlayback.value());
}

void ChannelPreview::cleanupPreviewTempFiles() {
    const QStringList urls = preview_.extractedChannelURLs.value();
    if (deck_.isEnabled() && !urls.isEmpty() && deck_.mixer()->sourceURLs() == urls) deck_.clear();
    preview_.extractedChannelURLs = QStringList();
    folder_.remove();
}

} // namespace ostrel
