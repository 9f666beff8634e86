// What can be heard in Poly Tools, through one mixer: the channels of a poly, the polys of a batch, ISOs with the poly
// that they would make.
#pragma once

#include "polytools/preview/batch_preview.h"
#include "polytools/preview/channel_preview.h"
#include "polytools/preview/join_preview.h"

namespace ostrel {

class PolyPreview {
public:
    PolyPreview(const PolyToolsState& state, SourceState& source, const JoinState& join, PreviewState& preview,
                PolyToolsServices& services, AudioOutput* output)
        : deck_(state, preview, services, output), channels_(state, source, preview, services, deck_),
          batch_(state, source, preview, services, deck_), join_(state, join, preview, services, deck_) {}

    PreviewDeck& deck() { return deck_; }
    const PreviewDeck& deck() const { return deck_; }
    PreviewMixer* mixer() const { return deck_.mixer(); } // null without an audio output
    ChannelPreview& channels() { return channels_; }
    BatchPreview& batch() { return batch_; }
    JoinPreview& join() { return join_; }

private:
    PreviewDeck deck_;
    ChannelPreview channels_;
    BatchPreview batch_;
    JoinPreview join_;
};

} // namespace ostrel
