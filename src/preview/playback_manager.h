// Lets a person hear what an Interleaver job will produce before it runs: a group as one of its files or as the stereo
// or surround file that the job would make, a multichannel file whole or one channel at a time. Whatever is more than a
// plain source is a preview file that ffmpeg makes.
//
// Lives on the main thread; ffmpeg and the waveform run behind it. Preview failures never reach a job: they are logged
// and what was loaded stays. A load that ends after another selection was made leaves that selection alone.
#pragma once

#include "foundation/records/app_mode.h"
#include "foundation/records/interleave_group.h"
#include "foundation/records/multi_channel_source.h"
#include "preview/audio_playback_engine.h"
#include "preview/playback_selection.h"
#include "preview/preview_cache.h"
#include "preview/preview_mode.h"
#include "preview/waveform_loader.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QProperty>
#include <optional>
#include <vector>

namespace ostrel {

class PlaybackManager : public QObject {
    Q_OBJECT

public:
    explicit PlaybackManager(AudioOutput& output);
    ~PlaybackManager() override; // removes the previews

    AudioPlaybackEngine& engine() { return engine_; }
    QString ffmpegPath() const { return ffmpegPath_; }
    // The recording that is heard or that a preview was made of; empty: none.
    QString recordingURL() const;

    QProperty<QString> currentFileURL;  // what the player holds; empty: nothing
    QProperty<QString> currentFileName; // with a suffix such as " (C)"
    QProperty<QString> currentFileInfo; // "48 kHz, 24-bit"
    QProperty<PreviewMode> previewMode{PreviewMode::source};
    QProperty<bool> canTogglePreviewMode{false};
    QProperty<std::vector<PreviewMode>> availablePreviewModes;
    QProperty<bool> isGeneratingStereoPreview{false}; // a preview of any kind
    QProperty<QString> selectedChannelTag;            // under audition; empty: none
    QProperty<QStringList> availableChannelTags;
    QProperty<bool> canAuditionChannels{false};
    QProperty<std::vector<float>> waveformData;
    QProperty<std::vector<std::vector<float>>> multiChannelWaveformData; // one lane a channel
    QProperty<bool> isGeneratingWaveform{false};
    QProperty<bool> waveformError{false};
    QProperty<PreviewRouting> previewRouting{PreviewRouting::mono}; // kept in the user's settings

    // A plain preview of one file.
    void loadFile(const QString& url, std::optional<int> sampleRate, std::optional<int> bitDepth);
    // The file to begin with is loaded at once; where the job's result can be heard, that follows by itself.
    void loadGroup(const InterleaveGroup& group, const ChannelLayout& layout, AppMode appMode,
                   std::optional<int> sampleRate, std::optional<int> bitDepth);
    // Any multichannel file.
    void loadStereoFile(const MultiChannelSource& file, AppMode appMode, std::optional<int> sampleRate,
                        std::optional<int> bitDepth);

    QCoro::Task<> setPreviewMode(PreviewMode target);
    QCoro::Task<> auditionChannel(QString tag); // empty: back to the default
    QCoro::Task<> reAuditionCurrentChannel();   // after a change of routing
    QCoro::Task<> reloadSourceFile();

    void togglePlayPause();
    void stopAndClear();
    void cleanupTempFiles();
    void loadWaveform(const QString& url);

Q_SIGNALS:
    void engineChanged(); // a field of the engine

private:
    void forgetSelection();
    void showInfo(std::optional<int> sampleRate, std::optional<int> bitDepth);
    void showChoices();
    void setTags(const QStringList& tags);
    // False if it can't be played. One that is still being decoded counts as loaded; should that fail, the engine says
    // so.
    bool loadIntoPlayer(const QString& url, const QString& name);

    // What plays first.
    bool loadDefaultOfGroup();
    bool loadSourceMode();
    void loadDefaultChannelOrSource();

    // Modes. True: the player holds it.
    QCoro::Task<bool> loadMode(PreviewMode target);
    QCoro::Task<bool> loadPostInterleavePreview();
    QCoro::Task<bool> loadPostInterleaveSurroundPreview();
    QCoro::Task<bool> loadChannelPreview(QString channel, QString suffix);
    QCoro::Task<bool> loadPreview(PreviewRecipe recipe, QString name);

    // One channel by itself.
    QCoro::Task<bool> auditionInGroup(QString tag);
    QCoro::Task<bool> auditionInFile(QString tag);
    void returnToDefault(const QString& logLine);

    void showWaveforms(Waveforms made);
    void debugLog(const QString& message) const;

    const QString ffmpegPath_; // first: those below are made with it
    AudioPlaybackEngine engine_;
    PreviewCache previews_;
    WaveformLoader waveforms_;
    PlaybackSelection selected_;
    bool isReAuditioning_ = false;
    int selection_ = 0; // counts selections, so that a late load knows that it is late
    QPropertyNotifier routingNotifier_;
};

} // namespace ostrel
