#include "polytools/preview/batch_preview.h"

#include "platform/files/files.h"
#include "platform/paths.h"

namespace ostrel {

bool BatchPreview::validRow(int row) const {
    return row >= 0 && static_cast<std::size_t>(row) < source_.batchPolyMetadata.size();
}

void BatchPreview::extractBatchPolyForPreview(int row, bool autoPlay) {
    if (!deck_.isEnabled()) return;
    if (!validRow(row)) return deck_.log(LogLevel::warning, QStringLiteral("Invalid batch poly index: %1").arg(row));
    if (state_.ffmpegPath.value().isEmpty())
        return deck_.log(LogLevel::error, QStringLiteral("Cannot extract: ffmpeg not available"));
    services_.run(extractBatchPoly(row, autoPlay, deck_.begin()));
}

QCoro::Task<> BatchPreview::extractBatchPoly(int row, bool autoPlay, TaskHandle handle) {
    preview_.isExtractingBatchPreview = true;
    preview_.selectedBatchPreviewIndex = row;
    const bool extracted = co_await extractRow(row, QString(), handle);
    if (handle.isCancelled()) co_return;
    preview_.isExtractingBatchPreview = false;
    if (!extracted) co_return;
    loadRow(row);
    if (!autoPlay) co_return;
    if (deck_.mixer()->isLoaded.value()) {
        deck_.mixer()->play();
    } else {
        deck_.log(LogLevel::warning, QStringLiteral("Mixer not ready, skipping auto-play"));
    }
}

// Extracts the channels of a row that has none yet. False if none could be made, or it was stopped.
QCoro::Task<bool> BatchPreview::extractRow(int row, QString logStart, TaskHandle handle) {
    const BatchPolyMetadata poly = source_.batchPolyMetadata[static_cast<std::size_t>(row)];
    if (poly.isPreviewReady) co_return true;
    QString folder;
    try {
        folder = paths::append(folder_.get(), QString::number(row));
        files::createFolder(folder);
    } catch (const FileError& error) {
        deck_.log(LogLevel::error, logStart + QStringLiteral("Failed to create temp directory: ") + error.description);
        co_return false;
    }
    const std::optional<QStringList> urls =
        co_await deck_.extractChannels(poly.url, poly.channelCount, folder, logStart, handle, false);
    if (!urls || urls->isEmpty()) co_return false;
    const auto at = static_cast<std::size_t>(row);
    if (!validRow(row) || source_.batchPolyMetadata[at].id != poly.id) co_return false; // another selection meanwhile
    source_.batchPolyMetadata.update(at, [&](BatchPolyMetadata& metadata) {
        metadata.isPreviewReady = true;
        metadata.extractedChannelURLs = *urls;
    });
    co_return true;
}

void BatchPreview::loadRow(int row) {
    const BatchPolyMetadata& poly = source_.batchPolyMetadata[static_cast<std::size_t>(row)];
    preview_.selectedBatchPreviewIndex = row;
    preview_.selectedBatchChannelForPlayback = std::nullopt;
    populateBatchChannelItems(poly);
    deck_.mixer()->loadMix(poly.extractedChannelURLs, poly.url);
}

void BatchPreview::extractBatchPolyForPreviewSilent(int row) {
    if (!deck_.isEnabled()) return;
    if (!validRow(row))
        return deck_.log(LogLevel::warning, QStringLiteral("Silent extract: invalid index %1").arg(row));
    services_.run(extractSilently(row, deck_.begin()));
}

QCoro::Task<> BatchPreview::extractSilently(int row, TaskHandle handle) {
    if (co_await extractRow(row, QStringLiteral("Silent extract: "), handle)) {
        deck_.log(LogLevel::info, QStringLiteral("Silent extract: %1")
                                      .arg(source_.batchPolyMetadata[static_cast<std::size_t>(row)].baseName));
    }
}

void BatchPreview::loadCachedPreviewAndPlay(int row) {
    if (!deck_.isEnabled()) return;
    if (!validRow(row)) return deck_.log(LogLevel::warning, QStringLiteral("Invalid batch poly index: %1").arg(row));
    const BatchPolyMetadata& poly = source_.batchPolyMetadata[static_cast<std::size_t>(row)];
    if (!poly.isPreviewReady) return extractBatchPolyForPreview(row);
    loadRow(row);
    deck_.log(LogLevel::info, QStringLiteral("Loaded cached preview: ") + poly.baseName);
    deck_.mixer()->play();
}

void BatchPreview::loadAllPreviews() {
    if (!deck_.isEnabled()) return;
    if (state_.ffmpegPath.value().isEmpty())
        return deck_.log(LogLevel::error, QStringLiteral("Cannot extract: ffmpeg not available"));
    services_.run(extractAllRows(deck_.begin()));
}

QCoro::Task<> BatchPreview::extractAllRows(TaskHandle handle) {
    preview_.isLoadingAllPreviews = true;
    deck_.log(LogLevel::info, QStringLiteral("Loading all previews (%1)...").arg(source_.batchPolyMetadata.size()));
    int loaded = 0;
    for (int row = 0; validRow(row); ++row) {
        const bool isReady = co_await extractRow(row, QStringLiteral("Silent extract: "), handle);
        if (handle.isCancelled()) co_return;
        if (isReady) ++loaded;
    }
    preview_.isLoadingAllPreviews = false;
    deck_.log(LogLevel::success, QStringLiteral("All previews loaded: %1").arg(loaded));
}

void BatchPreview::populateBatchChannelItems(const BatchPolyMetadata& poly) {
    std::vector<ChannelItem> items;
    for (int i = 0; i < poly.channelCount; ++i) {
        ChannelItem item;
        item.channelIndex = i;
        const auto at = static_cast<std::size_t>(i);
        const bool isNamed = at < poly.trackInfo.size() && isUsableTrackName(poly.trackInfo[at].name);
        item.trackName = isNamed ? poly.trackInfo[at].name : noTrackName();
        items.push_back(std::move(item));
    }
    preview_.batchChannelItems.assign(std::move(items));
}

void BatchPreview::selectBatchChannelForPlayback(int channelIndex) {
    const auto& row = preview_.selectedBatchPreviewIndex.value();
    if (!deck_.isEnabled() || !row || !validRow(*row)) return;
    const BatchPolyMetadata& poly = source_.batchPolyMetadata[static_cast<std::size_t>(*row)];
    if (!poly.isPreviewReady) {
        if (state_.ffmpegPath.value().isEmpty()) return extractBatchPolyForPreview(*row); // which tells
        return services_.run(extractBatchThenSelect(*row, channelIndex, deck_.begin()));
    }
    if (deck_.mixer()->sourceURLs() != poly.extractedChannelURLs) loadRow(*row);
    deck_.listenTo(preview_.selectedBatchChannelForPlayback, channelIndex,
                   deck_.channelURL(poly.extractedChannelURLs, channelIndex),
                   QStringLiteral("Selected batch channel %1").arg(channelIndex + 1));
}

QCoro::Task<> BatchPreview::extractBatchThenSelect(int row, int channelIndex, TaskHandle handle) {
    co_await extractBatchPoly(row, false, handle);
    if (handle.isCancelled() || !isInMixer(row)) co_return;
    selectBatchChannelForPlayback(channelIndex);
}

bool BatchPreview::isInMixer(int row) const {
    if (!validRow(row) || preview_.selectedBatchPreviewIndex.value() != row) return false;
    const BatchPolyMetadata& poly = source_.batchPolyMetadata[static_cast<std::size_t>(row)];
    return poly.isPreviewReady && deck_.mixer()->sourceURLs() == poly.extractedChannelURLs;
}

void BatchPreview::playBatchPoly(int row) {
    if (!deck_.isEnabled()) return;
    if (!isInMixer(row)) return loadCachedPreviewAndPlay(row);
    preview_.selectedBatchChannelForPlayback.value() ? playBatchMix() : deck_.togglePlay();
}

void BatchPreview::playBatchChannel(int row, int channelIndex) {
    if (!deck_.isEnabled() || !validRow(row)) return;
    if (preview_.selectedBatchPreviewIndex.value() != row) preview_.selectedBatchChannelForPlayback = std::nullopt;
    preview_.selectedBatchPreviewIndex = row;
    selectBatchChannelForPlayback(channelIndex);
}

void BatchPreview::selectNoPoly() { preview_.selectedBatchPreviewIndex = std::nullopt; }

void BatchPreview::playBatchMix() { deck_.playWhole(preview_.selectedBatchChannelForPlayback); }

void BatchPreview::cleanupBatchPreviewTempFiles() {
    bool anyReady = false;
    for (std::size_t row = 0; row < source_.batchPolyMetadata.size(); ++row) {
        const BatchPolyMetadata& poly = source_.batchPolyMetadata[row];
        if (!poly.isPreviewReady) continue;
        anyReady = true;
        if (deck_.isEnabled() && deck_.mixer()->sourceURLs() == poly.extractedChannelURLs) deck_.clear();
        source_.batchPolyMetadata.update(row, [](BatchPolyMetadata& metadata) {
            metadata.isPreviewReady = false;
            metadata.extractedChannelURLs.clear();
        });
    }
    if (anyReady) preview_.selectedBatchPreviewIndex = std::nullopt;
    folder_.remove();
}

QString BatchPreview::batchPlaybackDisplayLabel() const {
    if (const auto& index = preview_.selectedBatchChannelForPlayback.value()) {
        const auto row = static_cast<std::size_t>(*index);
        return PreviewDeck::numbered(*index, row < preview_.batchChannelItems.size()
                                                 ? preview_.batchChannelItems[row].trackName
                                                 : noTrackName());
    }
    const auto& poly = preview_.selectedBatchPreviewIndex.value();
    if (poly && validRow(*poly)) return source_.batchPolyMetadata[static_cast<std::size_t>(*poly)].baseName;
    return QStringLiteral("Select a channel to preview");
}

std::optional<int> BatchPreview::activeBatchChannelNumber() const {
    return PreviewDeck::oneBased(preview_.selectedBatchChannelForPlayback.value());
}

} // namespace ostrel
