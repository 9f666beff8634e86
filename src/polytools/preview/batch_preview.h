// The polys of a batch, by row: loaded when they are first heard. Main thread.
#pragma once

#include "polytools/preview/preview_deck.h"
#include "polytools/preview/preview_files.h"
#include "polytools/state/source_state.h"

namespace ostrel {

class BatchPreview {
public:
    BatchPreview(const PolyToolsState& state, SourceState& source, PreviewState& preview, PolyToolsServices& services,
                 PreviewDeck& deck)
        : state_(state), source_(source), preview_(preview), services_(services), deck_(deck) {}

    void extractBatchPolyForPreview(int row, bool autoPlay = true);
    void extractBatchPolyForPreviewSilent(int row);
    void loadCachedPreviewAndPlay(int row);
    void loadAllPreviews();
    void populateBatchChannelItems(const BatchPolyMetadata& poly);
    void selectBatchChannelForPlayback(int channelIndex);
    void playBatchMix();
    // A click on a row, or on a channel below it: loads what is not loaded yet, then plays. What is heard already
    // pauses and goes on; from a channel to its poly and back nothing is started anew.
    void playBatchPoly(int row);
    void playBatchChannel(int row, int channelIndex);
    void cleanupBatchPreviewTempFiles();
    void selectNoPoly();

    // For the transport. The number is 1-based; nothing where no single channel is heard.
    QString batchPlaybackDisplayLabel() const;
    std::optional<int> activeBatchChannelNumber() const;

private:
    QCoro::Task<> extractBatchPoly(int row, bool autoPlay, TaskHandle handle);
    QCoro::Task<> extractBatchThenSelect(int row, int channelIndex, TaskHandle handle);
    QCoro::Task<bool> extractRow(int row, QString logStart, TaskHandle handle);
    QCoro::Task<> extractSilently(int row, TaskHandle handle);
    QCoro::Task<> extractAllRows(TaskHandle handle);
    void loadRow(int row);
    bool isInMixer(int row) const;
    bool validRow(int row) const;

    const PolyToolsState& state_;
    SourceState& source_;
    PreviewState& preview_;
    PolyToolsServices& services_;
    PreviewDeck& deck_;
    PreviewFolder folder_{kBatchPreviewFolder};
};

} // namespace ostrel
