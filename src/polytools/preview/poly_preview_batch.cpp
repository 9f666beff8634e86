// Previews of the polys of a batch.
#include "platform/files/files.h"
#include "platform/paths.h"
#include "polytools/preview/poly_preview.h"

namespace ostrel {
bool PolyPreview::validRow(int row) const {
    return row >= 0 && static_cast<std::size_t>(row) < state_.batchPolyMetadata.size();
}

void PolyPreview::extractBatchPolyForPreview(int row, bool autoPlay) {
    if (!isEnabled()) return;
    if (!validRow(row)) return log(LogLevel::warning, QStringLiteral("Invalid batch poly index: %1").arg(row));
    if (state_.ffmpegPath.value().isEmpty())
        return log(LogLevel::error, QStringLiteral("Cannot extract: ffmpeg not available"));
    services_.run(extractBatchPoly(row, autoPlay, beginPreview()));
}

QCoro::Task<> PolyPreview::extractBatchPoly(int row, bool autoPlay, TaskHandle handle) {
    state_.isExtractingBatchPreview = true;
    state_.selectedBatchPreviewIndex = row;
    const bool extracted = co_await extractRow(row, QString(), handle);
    if (handle.isCancelled()) co_return;
    state_.isExtractingBatchPreview = false;
    if (!extracted) co_return;
    loadRow(row);
    if (!autoPlay) co_return;
    if (mixer_->isLoaded.value()) {
        mixer_->play();
    } else {
        log(LogLevel::warning, QStringLiteral("Mixer not ready, skipping auto-play"));
    }
}

// Extracts the channels of a row that has none yet. False if none could be made, or it was stopped.
QCoro::Task<bool> PolyPreview::extractRow(int row, QString logStart, TaskHandle handle) {
    const BatchPolyMetadata poly = state_.batchPolyMetadata[static_cast<std::size_t>(row)];
    if (poly.isPreviewReady) co_return true;
    QString folder;
    try {
        folder = paths::append(batchFolder_.get(), QString::number(row));
        files::createFolder(folder);
    } catch (const FileError& error) {
        log(LogLevel::error, logStart + QStringLiteral("Failed to create temp directory: ") + error.description);
        co_return false;
    }
    const std::optional<QStringList> urls =
        co_await extractChannels(poly.url, poly.channelCount, folder, logStart, handle, false);
    if (!urls || urls->isEmpty()) co_return false;
    const auto at = static_cast<std::size_t>(row);
    if (!validRow(row) || state_.batchPolyMetadata[at].id != poly.id) co_return false; // another selection meanwhile
    state_.batchPolyMetadata.update(at, [&](BatchPolyMetadata& metadata) {
        metadata.isPreviewReady = true;
        metadata.extractedChannelURLs = *urls;
    });
    co_return true;
}

void PolyPreview::loadRow(int row) {
    const BatchPolyMetadata& poly = state_.batchPolyMetadata[static_cast<std::size_t>(row)];
    state_.selectedBatchPreviewIndex = row;
    state_.selectedBatchChannelForPlayback = std::nullopt;
    populateBatchChannelItems(poly);
    mixer_->loadMix(poly.extractedChannelURLs, poly.url);
}

void PolyPreview::extractBatchPolyForPreviewSilent(int row) {
    if (!isEnabled()) return;
    if (!validRow(row)) return log(LogLevel::warning, QStringLiteral("Silent extract: invalid index %1").arg(row));
    services_.run(extractSilently(row, beginPreview()));
}

QCoro::Task<> PolyPreview::extractSilently(int row, TaskHandle handle) {
    if (co_await extractRow(row, QStringLiteral("Silent extract: "), handle)) {
        log(LogLevel::info,
            QStringLiteral("Silent extract: %1").arg(state_.batchPolyMetadata[static_cast<std::size_t>(row)].baseName));
    }
}

void PolyPreview::loadCachedPreviewAndPlay(int row) {
    if (!isEnabled()) return;
    if (!validRow(row)) return log(LogLevel::warning, QStringLiteral("Invalid batch poly index: %1").arg(row));
    const BatchPolyMetadata& poly = state_.batchPolyMetadata[static_cast<std::size_t>(row)];
    if (!poly.isPreviewReady) return extractBatchPolyForPreview(row);
    loadRow(row);
    log(LogLevel::info, QStringLiteral("Loaded cached preview: ") + poly.baseName);
    mixer_->play();
}

void PolyPreview::loadAllPreviews() {
    if (!isEnabled()) return;
    if (state_.ffmpegPath.value().isEmpty())
        return log(LogLevel::error, QStringLiteral("Cannot extract: ffmpeg not available"));
    services_.run(extractAllRows(beginPreview()));
}

QCoro::Task<> PolyPreview::extractAllRows(TaskHandle handle) {
    state_.isLoadingAllPreviews = true;
    log(LogLevel::info, QStringLiteral("Loading all previews (%1)...").arg(state_.batchPolyMetadata.size()));
    int loaded = 0;
    for (int row = 0; validRow(row); ++row) {
        const bool isReady = co_await extractRow(row, QStringLiteral("Silent extract: "), handle);
        if (handle.isCancelled()) co_return;
        if (isReady) ++loaded;
    }
    state_.isLoadingAllPreviews = false;
    log(LogLevel::success, QStringLiteral("All previews loaded: %1").arg(loaded));
}

void PolyPreview::populateBatchChannelItems(const BatchPolyMetadata& poly) {
    std::vector<ChannelItem> items;
    for (int i = 0; i < poly.channelCount; ++i) {
        ChannelItem item;
        item.channelIndex = i;
        const auto at = static_cast<std::size_t>(i);
        const bool isNamed = at < poly.trackInfo.size() && isUsableTrackName(poly.trackInfo[at].name);
        item.trackName = isNamed ? poly.trackInfo[at].name : noTrackName();
        items.push_back(std::move(item));
    }
    state_.batchChannelItems.assign(std::move(items));
}

void PolyPreview::selectBatchChannelForPlayback(int channelIndex) {
    const auto& row = state_.selectedBatchPreviewIndex.value();
    if (!isEnabled() || !row || !validRow(*row)) return;
    const BatchPolyMetadata& poly = state_.batchPolyMetadata[static_cast<std::size_t>(*row)];
    if (!poly.isPreviewReady) {
        if (state_.ffmpegPath.value().isEmpty()) return extractBatchPolyForPreview(*row); // which tells
        return services_.run(extractBatchThenSelect(*row, channelIndex, beginPreview()));
    }
    if (mixer_->sourceURLs() != poly.extractedChannelURLs) loadRow(*row);
    listenTo(state_.selectedBatchChannelForPlayback, channelIndex, channelURL(poly.extractedChannelURLs, channelIndex),
             QStringLiteral("Selected batch channel %1").arg(channelIndex + 1));
}

QCoro::Task<> PolyPreview::extractBatchThenSelect(int row, int channelIndex, TaskHandle handle) {
    co_await extractBatchPoly(row, false, handle);
    if (handle.isCancelled() || !isInMixer(row)) co_return;
    selectBatchChannelForPlayback(channelIndex);
}

bool PolyPreview::isInMixer(int row) const {
    if (!validRow(row) || state_.selectedBatchPreviewIndex.value() != row) return false;
    const BatchPolyMetadata& poly = state_.batchPolyMetadata[static_cast<std::size_t>(row)];
    return poly.isPreviewReady && mixer_->sourceURLs() == poly.extractedChannelURLs;
}

void PolyPreview::playBatchPoly(int row) {
    if (!isEnabled()) return;
    if (!isInMixer(row)) return loadCachedPreviewAndPlay(row);
    state_.selectedBatchChannelForPlayback.value() ? playBatchMix() : togglePlay();
}

void PolyPreview::playBatchChannel(int row, int channelIndex) {
    if (!isEnabled() || !validRow(row)) return;
    if (state_.selectedBatchPreviewIndex.value() != row) state_.selectedBatchChannelForPlayback = std::nullopt;
    state_.selectedBatchPreviewIndex = row;
    selectBatchChannelForPlayback(channelIndex);
}

void PolyPreview::playBatchMix() { playWhole(state_.selectedBatchChannelForPlayback); }

void PolyPreview::cleanupBatchPreviewTempFiles() {
    bool anyReady = false;
    for (std::size_t row = 0; row < state_.batchPolyMetadata.size(); ++row) {
        const BatchPolyMetadata& poly = state_.batchPolyMetadata[row];
        if (!poly.isPreviewReady) continue;
        anyReady = true;
        if (mixer_ && mixer_->sourceURLs() == poly.extractedChannelURLs) clearPlaybackState();
        state_.batchPolyMetadata.update(row, [](BatchPolyMetadata& metadata) {
            metadata.isPreviewReady = false;
            metadata.extractedChannelURLs.clear();
        });
    }
    if (anyReady) state_.selectedBatchPreviewIndex = std::nullopt;
    batchFolder_.remove();
}

} // namespace ostrel
