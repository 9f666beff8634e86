// What can be heard in Poly Tools: the channels of a poly, ISOs with the poly that they would make, a group under
// review.
//
// A poly's channels are extracted into temporary mono files, ISOs are merged into a temporary poly, and the one mixer
// plays them. Failures never stop a run: they are log lines, and what could be made is played. Main thread. Without an
// audio output everything here is idle.
#pragma once

#include "polytools/preview/preview_files.h"
#include "polytools/services/poly_tools_services.h"
#include "polytools/services/poly_tools_state.h"
#include "preview/preview_mixer.h"

#include <memory>
#include <optional>

namespace ostrel {

class PolyPreview {
public:
    PolyPreview(PolyToolsState& state, PolyToolsServices& services, AudioOutput* output);

    bool isEnabled() const { return mixer_ != nullptr; }
    PreviewMixer* mixer() const { return mixer_.get(); }
    void toolsChanged();

    // One poly. Ends when its channels are loaded.
    QCoro::Task<> extractAllChannelsForPreview();
    void selectChannelForPlayback(int channelIndex); // zero-based; the one that plays: pause and go on
    void playPolySource();

    // Polys of a batch, by row
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

    // ISOs of a join, and of a group under review
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

    // For the transports. Numbers are 1-based; nothing where no single channel is heard.
    QString playbackDisplayLabel() const;
    QString batchPlaybackDisplayLabel() const;
    QString joinPlaybackDisplayLabel() const;
    QString previewGroupDisplayLabel() const;
    std::optional<int> activeChannelNumber() const;
    std::optional<int> activeBatchChannelNumber() const;
    std::optional<int> activeJoinChannelNumber() const;
    std::optional<int> activePreviewChannelNumber() const;

    void clearPlaybackState();
    void cleanupPreviewTempFiles();
    void cleanupBatchPreviewTempFiles();
    void cleanupJoinPreview();

private:
    struct ExtractedChannels {
        QStringList urls;     // those that could be made
        QStringList failures; // sentences on the others
    };
    // Blocks. `urls` are named "{stem}_T{n}.wav", which is where the mixer reads a channel's number.
    static ExtractedChannels extractOne(const QString& polyURL, int channel, const QString& folder,
                                        const QString& ffmpegPath);

    QCoro::Task<std::optional<QStringList>> extractChannels(QString url, int channelCount, QString folder,
                                                            QString logStart, TaskHandle handle, bool showsProgress);
    QCoro::Task<> extractThenSelect(int channelIndex);
    QCoro::Task<> extractBatchPoly(int row, bool autoPlay, TaskHandle handle);
    QCoro::Task<> extractBatchThenSelect(int row, int channelIndex, TaskHandle handle);
    QCoro::Task<bool> extractRow(int row, QString logStart, TaskHandle handle);
    QCoro::Task<> extractSilently(int row, TaskHandle handle);
    QCoro::Task<> extractAllRows(TaskHandle handle);
    void loadRow(int row);
    bool isInMixer(int row) const;
    void loadPolyUnlessLoaded();
    TaskHandle beginPreview();
    QCoro::Task<> addPolySource(QStringList urls, int bitDepth, TaskHandle handle);
    void loadISOs(const QStringList& urls, int bitDepth, const QString& what);
    void listenTo(QProperty<std::optional<int>>& selection, int index, const QString& url, const QString& logLine);
    void playWhole(QProperty<std::optional<int>>& selection);
    void toggleSolo(QProperty<std::optional<int>>& selection, int index, const QString& url);
    void togglePlay();
    QString channelURL(const QStringList& urls, int channelIndex) const;
    QStringList selectedISOs() const;
    bool holdsGroup(const QUuid& group) const;
    bool validRow(int row) const;
    void log(LogLevel level, const QString& message) { services_.log(level, LogCategory::process, message); }

    PolyToolsState& state_;
    PolyToolsServices& services_;
    std::unique_ptr<PreviewMixer> mixer_;
    PreviewFolder channelFolder_{QStringLiteral("Tessarine_Preview")};
    PreviewFolder batchFolder_{QStringLiteral("Tessarine_BatchPreview")};
    PreviewFolder joinFolder_{QStringLiteral("Tessarine_JoinPreview")};
};

} // namespace ostrel
