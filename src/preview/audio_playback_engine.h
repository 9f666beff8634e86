// Plays one audio file and publishes its position every 0.05 seconds.
//
// Lives on the main thread. Failures are state (`loadError`), never exceptions. States: empty, loaded, playing, paused;
// the end of the file leads to loaded at time 0. A file that ffmpeg has to decode is loaded behind the main thread,
// with `isLoading` true meanwhile; every other one is loaded when `load` returns.
#pragma once

#include "platform/audio/audio_player.h"
#include "platform/background.h"
#include "preview/playback_travel.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QProperty>
#include <QString>
#include <QTimer>
#include <functional>
#include <memory>

namespace ostrel {

class AudioPlaybackEngine : public QObject {
    Q_OBJECT

public:
    explicit AudioPlaybackEngine(AudioOutput& output);
    ~AudioPlaybackEngine() override;

    QProperty<bool> isPlaying{false};
    QProperty<double> currentTime{0}; // seconds
    QProperty<double> duration{0};    // seconds
    QProperty<bool> isLoaded{false};
    QProperty<bool> isLoading{false}; // still being decoded
    QProperty<QString> loadError;     // empty: none
    PlaybackTravel travel;            // to be read; the methods below set it

    // Called at the end of the file, whether or not all of it could be decoded.
    std::function<void()> onPlaybackFinished;

    // For files that only ffmpeg decodes; see AudioFile.
    void setFFmpegPath(const QString& path) { ffmpegPath_ = path; }

    void load(const QString& url); // another load under way is abandoned, as by `unload`
    void unload();
    void play(); // while it loads: as soon as it has loaded, unless paused or stopped before
    void pause();
    void stop();
    void seek(double seconds); // held to 0 up to the duration

    // A stretch that loops once `setLoops` says so; without one the whole file does. Where it plays outside of the
    // stretch it goes on at its beginning.
    void select(const std::optional<TimeSpan>& span);
    void setLoops(bool loops);
    // Plays backwards (-1) or forwards (1), faster with every further call; 0 pauses. A pause takes the speed back.
    void shuttle(int direction);

    AudioOutput& output() { return output_; }

Q_SIGNALS:
    void changed(); // any of the fields

private:
    QCoro::Task<> open(QString url, TaskHandle task);
    void opened(std::shared_ptr<AudioFile> file);
    void loadFailed(const QString& reason);
    void finished();
    void setSpeed(int speed);
    void travelChanged();
    void enterLoop();
    void decodeErrorOccurred(const QString& error);

    AudioOutput& output_;
    QString ffmpegPath_;
    std::unique_ptr<AudioPlayer> player_;
    TaskHandle loading_; // the latest load
    bool playsWhenLoaded_ = false;
    QTimer updateTimer_;
    std::vector<QPropertyNotifier> notifiers_;
};

} // namespace ostrel
