// The player of the Poly Tools tab: one file, or many ISOs in step with a solo on each, and beside them the poly that
// they came from, which can take over the output. All of them run all the time and only their volumes change, so a flip
// from the ISOs to the poly keeps the position to the sample and has no gap.
//
// Lives on the main thread. Failures are state (`loadError`) and diagnostic lines. Files that ffmpeg has to decode are
// loaded behind the main thread, with `isLoading` true and `isLoaded` false meanwhile; all others are loaded when a
// load returns.
#pragma once

#include "platform/audio/audio_player.h"
#include "platform/background.h"
#include "preview/playback_travel.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QProperty>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace ostrel {

// What the views know of a source.
struct SourceInfo {
    QString id; // the file's path
    int index = 0;
    bool isIncluded = true;
    bool isSoloed = false;
    std::optional<int> channelNumber; // 12 for "Take_T12.wav"

    bool operator==(const SourceInfo&) const = default;
};

class PreviewMixer : public QObject {
    Q_OBJECT

public:
    explicit PreviewMixer(AudioOutput& output);
    ~PreviewMixer() override;

    static constexpr float kAutoTrimDb = -6.0F;

    QProperty<bool> isPlaying{false};
    QProperty<double> currentTime{0}; // seconds
    QProperty<double> duration{0};    // seconds, of the longest source
    QProperty<bool> isLoaded{false};
    QProperty<bool> isLoading{false}; // still being decoded
    QProperty<QString> loadError;     // empty: none
    QProperty<int> loadedFileCount{0};
    QProperty<bool> isMixMode{false};
    QProperty<bool> isStartingAudio{false}; // the view's; nothing here raises it
    QProperty<bool> isPolySourceActive{false};
    QProperty<std::vector<SourceInfo>> sourceStates;
    QProperty<float> masterPeakDb{-60.0F}; // this and the next are inert: no metering is connected
    QProperty<bool> isClipping{false};
    QProperty<bool> autoTrimEnabled{false}; // lowers every ISO of a mix, since their sum may pass full scale

    QString bwfmetaeditPath;
    std::function<void()> onPlaybackFinished;

    // For files that only ffmpeg decodes; see AudioFile.
    void setFFmpegPath(const QString& path) { ffmpegPath_ = path; }

    void loadSingle(const QString& url);
    // Files that can't be loaded are left out; indices count those that were. An empty `polySourceURL` is none.
    void loadMix(const QStringList& urls, const QString& polySourceURL = QString());
    // Adds a poly to a loaded mix, in step if it plays; while the mix still loads, as soon as it has.
    void setPolySource(const QString& url);
    void play(); // while it loads: as soon as it has loaded, unless paused or stopped before
    void pause();
    void stop();
    void seek(double seconds);

    // As those of AudioPlaybackEngine.
    void select(const std::optional<TimeSpan>& span);
    void setLoops(bool loops);
    void shuttle(int direction);
    PlaybackTravel travel; // to be read; these three set it
    AudioOutput& output() { return output_; }

    // Solo operations. An index out of range is ignored.
    void soloExclusive(int index); // a second time on the same source: back to how it began
    void toggleSolo(int index);
    void soloPolySource();
    void clearAllSolos();
    void setIncluded(int index, bool isIncluded);

    void updateVolumes();
    void publishSourceStates();
    void cleanup();

    // What is loaded, in order.
    QStringList sourceURLs() const;
    QString polySourceURL() const { return polySourceURL_; }
    bool hasPolySource() const { return polySourcePlayer_ != nullptr; }
    float volumeOf(int index) const { return sources_[static_cast<std::size_t>(index)].player->volume(); }
    float polyVolume() const { return polySourcePlayer_ ? polySourcePlayer_->volume() : 0.0F; }
    // The poly runs along, whether or not it is heard. One that was added to a running mix takes a moment.
    bool isPolyInStep() const { return polySourcePlayer_ && polySourcePlayer_->isSounding(); }

private:
    struct SourceState {
        QString url;
        std::unique_ptr<AudioPlayer> player; // none while it is being decoded
        bool isIncluded = true;
        bool isSoloed = false;
        bool hasEnded = false; // at its end since playback began there or was sought
        QString id;
        int index = 0;
        std::optional<int> channelNumber;
    };

    struct OpenedPlayer {
        std::unique_ptr<AudioPlayer> player;
        QString error; // where there is none
    };

    TaskHandle beginLoading();
    QCoro::Task<OpenedPlayer> openPlayer(QString url, float volume, TaskHandle task);
    QCoro::Task<> openSingle(TaskHandle task);
    QCoro::Task<> openMix(QString polyURL, TaskHandle task);
    QCoro::Task<QString> openSources(TaskHandle task);
    QCoro::Task<bool> openPoly(QString url, TaskHandle task);
    QCoro::Task<> openPolyAndJoin(QString url, TaskHandle task);
    void listSource(const QString& url);
    void loadingEnded();
    void startWhatWaited();
    void joinPoly();
    bool anySolo() const;
    bool isValid(int index) const { return index >= 0 && static_cast<std::size_t>(index) < sources_.size(); }
    void clearSolos();
    void volumesChanged(const QString& operation);
    float gainOf(const SourceState& source) const;
    void setSpeed(int speed);
    void travelChanged();
    void moveTo(double seconds);
    double timeToStart() const;
    void timerTick();
    const AudioPlayer* clock() const;
    void forgetEnds();
    bool haveAllEnded() const;
    void playerFailed(const QString& error);
    bool anyPlayerRuns() const;
    template <class Action>
    void forEachPlayer(Action action);

    AudioOutput& output_;
    QString ffmpegPath_;
    std::vector<SourceState> sources_;
    std::unique_ptr<AudioPlayer> polySourcePlayer_;
    QString polySourceURL_;
    TaskHandle loading_;     // the latest load
    QString waitingPolyURL_; // to be added when the mix has loaded
    bool playsWhenLoaded_ = false;
    QTimer updateTimer_;
    QPropertyNotifier trimNotifier_;
};

} // namespace ostrel
