// Plays one audio file. Players of one output that are started in one pass of the event loop sound sample-exactly
// together, and stay so; volumes change over 5 ms without a gap.
//
// Lives on the main thread, and its callbacks come there. They may destroy the player that calls.
#pragma once

#include "platform/audio/audio_output.h"

#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace ostrel {

class AudioPlayerError : public std::runtime_error {
public:
    explicit AudioPlayerError(const QString& text) : std::runtime_error(text.toStdString()), text_(text) {}
    QString errorDescription() const { return text_; }

private:
    QString text_;
};

// How a player goes through its file: see StreamTravel.
struct PlayerTravel {
    int speed = 1;
    std::optional<std::pair<double, double>> loop; // seconds; what ends where it begins is none

    bool operator==(const PlayerTravel&) const = default;
};

class AudioPlayer {
public:
    // Opens the file and, if need be, the sound device. Throws AudioPlayerError. For `ffmpegPath` see AudioFile.
    AudioPlayer(AudioOutput& output, const QString& path, const QString& ffmpegPath = QString());
    // The same for a file that is open; from here on it is the player's.
    AudioPlayer(AudioOutput& output, std::shared_ptr<AudioFile> file);
    ~AudioPlayer();
    AudioPlayer(const AudioPlayer&) = delete;
    AudioPlayer& operator=(const AudioPlayer&) = delete;

    // At the end of the file, which also sets the position to 0. False if decoding broke off before the end; then
    // `onDecodeError` is called as well, first.
    std::function<void(bool successfully)> onFinish;
    // With a sentence. Also when the sound device is lost; the player stands at its position then.
    std::function<void(const QString& error)> onDecodeError;

    void prepareToPlay(); // begins to decode ahead
    void play();          // from the position on, as soon as audio is decoded
    // Joins one that plays, at exactly its position, a quarter of a second from now.
    void playInStepWith(const AudioPlayer& running);
    void pause();
    void stop(); // as pause, and forgets what was decoded ahead

    bool isPlaying() const { return isPlaying_; }
    // False while a start still waits for decoded audio.
    bool isSounding() const { return isPlaying_ && stream_ && stream_->begun.load(std::memory_order_acquire); }
    double duration() const;             // seconds
    double currentTime() const;          // seconds
    void setCurrentTime(double seconds); // held to 0 up to the duration, rounded to a frame
    // Takes effect where the player stands. Players that change it in one pass of the event loop stay in step.
    void setTravel(const PlayerTravel& travel);
    float volume() const { return volume_; }
    void setVolume(float volume); // a factor; 1.0 leaves the samples as they are

private:
    friend class AudioOutput;

    MixEntry mixEntry() const { return {stream_, volume_, isPlaying_, startClock_}; }
    void lookForEnd();
    void outputLost();
    void outputFormatChanged();

    qint64 frameAt(double seconds) const;
    qint64 roundedFrame(double seconds) const;
    StreamTravel streamTravel() const;
    double timeOf(qint64 frame) const;
    void startStreamAt(qint64 frame);
    bool reopenOutput();
    void reportLater(const QString& error);

    AudioOutput& output_;
    std::shared_ptr<AudioFile> file_;
    std::shared_ptr<AudioStream> stream_; // empty when nothing is decoded ahead
    qint64 startFrame_ = 0;               // the stream's, or where it will start
    qint64 startClock_ = 0;
    bool isPlaying_ = false;
    PlayerTravel travel_;
    float volume_ = 1.0F;
    std::shared_ptr<int> life_ = std::make_shared<int>(0); // tells a queued call that the player is gone
};

} // namespace ostrel
