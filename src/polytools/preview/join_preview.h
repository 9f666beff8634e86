// ISOs with the poly that they would make: those of a join, and those of a group under review. They are heard at once;
// the poly joins them when it is made. Main thread.
#pragma once

#include "polytools/preview/preview_deck.h"
#include "polytools/preview/preview_files.h"
#include "polytools/state/join_state.h"

namespace ostrel {

class JoinPreview {
public:
    JoinPreview(const PolyToolsState& state, const JoinState& join, PreviewState& preview, PolyToolsServices& services,
                PreviewDeck& deck)
        : state_(state), join_(join), preview_(preview), services_(services), deck_(deck) {}

    void loadAllISOsForPreview();
    void updatePreviewMix(); // after a change of selection or order
    void selectISOForPlayback(int row);
    void toggleISOSolo(int row);
    void playJoinPolySource();

    void loadGroupForPreview(const ISOGroupCandidate& group);
    void selectPreviewISO(int row);
    // These two load the group first where it isn't loaded.
    void previewGroupISO(const ISOGroupCandidate& group, int row);
    void playGroup(const ISOGroupCandidate& group);
    void playPreviewPolySource();
    void groupsChanged(); // a loaded group that is no more what it was is unloaded
    void cleanupJoinPreview();

    // For the transports. Numbers are 1-based; nothing where no single ISO is heard.
    QString joinPlaybackDisplayLabel() const;
    QString previewGroupDisplayLabel() const;
    std::optional<int> activeJoinChannelNumber() const;
    std::optional<int> activePreviewChannelNumber() const;

private:
    QCoro::Task<> addPolySource(QStringList urls, int bitDepth, TaskHandle handle);
    void loadISOs(const QStringList& urls, int bitDepth, const QString& what);
    QStringList selectedISOs() const;
    bool holdsGroup(const QUuid& group) const;

    const PolyToolsState& state_;
    const JoinState& join_;
    PreviewState& preview_;
    PolyToolsServices& services_;
    PreviewDeck& deck_;
    PreviewFolder folder_{kJoinPreviewFolder};
};

} // namespace ostrel
