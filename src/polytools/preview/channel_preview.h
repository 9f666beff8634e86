// The channels of one poly, each to be heard alone, and the poly itself. Main thread.
#pragma once

#include "polytools/preview/preview_deck.h"
#include "polytools/preview/preview_files.h"
#include "polytools/state/source_state.h"

namespace ostrel {

class ChannelPreview {
public:
    ChannelPreview(const PolyToolsState& state, const SourceState& source, PreviewState& preview,
                   PolyToolsServices& services, PreviewDeck& deck)
        : state_(state), source_(source), preview_(preview), services_(services), deck_(deck) {}

    // Ends when the channels are loaded.
    QCoro::Task<> extractAllChannelsForPreview();
    void selectChannelForPlayback(int channelIndex); // zero-based; the one that plays: pause and go on
    void playPolySource();
    void cleanupPreviewTempFiles();

    // For the transport. The number is 1-based; nothing where no single channel is heard.
    QString playbackDisplayLabel() const;
    std::optional<int> activeChannelNumber() const;

private:
    QCoro::Task<> extractThenSelect(int channelIndex);
    void loadPolyUnlessLoaded();

    const PolyToolsState& state_;
    const SourceState& source_;
    PreviewState& preview_;
    PolyToolsServices& services_;
    PreviewDeck& deck_;
    PreviewFolder folder_{kPreviewFolder};
};

} // namespace ostrel
