#include "platform/audio/audio_player.h"

#include <cmath>

namespace ostrel {
namespace {

// Outside these a file is damaged, and converting its rate would take absurd amounts of memory.
constexpr int kLowestRate = 1000; // Hz
constexpr int kHighestRate = 1'600'000;

constexpr double kJoinDelay = 0.25; // seconds to decode ahead before joining a running player

std::shared_ptr<AudioFile> openedFile(const QString& path, const QString& ffmpegPath) {
    try {
        return std::make_shared<AudioFile>(path, ffmpegPath);
    } catch (const AudioFileError& error) {
        throw AudioPlayerError(error.errorDescription());
    }
}

} // namespace

AudioPlayer::AudioPlayer(AudioOutput& output, const QString& path, const QString& ffmpegPath)
    : AudioPlayer(output, openedFile(path, ffmpegPath)) {}

AudioPlayer::AudioPlayer(AudioOutput& output, std::shared_ptr<AudioFile> file)
    : output_(output), file_(std::move(file)) {
    if (file_->sampleRate() < kLowestRate || file_->sampleRate() > kHighestRate) {
        throw AudioPlayerError(QStringLiteral("A sample rate of %1 Hz can't be played").arg(file_->sampleRate()));
    }
    try {
        output_.open();
    } catch (const AudioOutputError& error) {
        throw AudioPlayerError(error.errorDescription());
    }
    output_.add(this);
}

AudioPlayer::~AudioPlayer() { output_.remove(this); }

double AudioPlayer::duration() const { return file_->duration(); }

double AudioPlayer::timeOf(qint64 frame) const { return static_cast<double>(frame) / file_->sampleRate(); }

qint64 AudioPlayer::roundedFrame(double seconds) const {
    constexpr double most = 1e15; // exact as a double
    const double frames = std::round(seconds * file_->sampleRate());
    return frames > 0 ? static_cast<qint64>(std::min(frames, most)) : 0; // a time that is no number as well
}

// Within a loop that is longer than the file there is a place behind the file's end.
qint64 AudioPlayer::frameAt(double seconds) const {
    const auto loop = streamTravel().loop;
    return std::min(roundedFrame(seconds), std::max(file_->lengthInFrames(), loop ? loop->end : 0));
}

StreamTravel AudioPlayer::streamTravel() const {
    StreamTravel travel{travel_.speed, std::nullopt};
    if (!travel_.loop || travel_.speed != 1) return travel;
    const StreamTravel::Loop loop{roundedFrame(travel_.loop->first), roundedFrame(travel_.loop->second)};
    if (loop.end > loop.first) travel.loop = loop;
    return travel;
}

void AudioPlayer::setTravel(const PlayerTravel& travel) {
    if (travel == travel_) return;
    const double time = stream_ ? stream_->currentTime() : timeOf(startFrame_);
    travel_ = travel;
    startFrame_ = frameAt(time);
    if (stream_) startStreamAt(startFrame_);
}

double AudioPlayer::currentTime() const {
    return std::min(duration(), stream_ ? stream_->currentTime() : timeOf(startFrame_));
}

void AudioPlayer::startStreamAt(qint64 frame) {
    startFrame_ = frame;
    startClock_ = 0;
    stream_ = std::make_shared<AudioStream>(file_, output_.format(), frame, streamTravel());
    output_.changed();
}

void AudioPlayer::prepareToPlay() {
    if (!stream_) startStreamAt(startFrame_);
}

void AudioPlayer::play() {
    if (isPlaying_ || !reopenOutput()) return;
    prepareToPlay();
    isPlaying_ = true;
    output_.changed();
}

void AudioPlayer::playInStepWith(const AudioPlayer& running) {
    if (!running.isSounding()) {
        setCurrentTime(running.currentTime());
        play();
        return;
    }
    const qint64 clock = output_.clock() + std::llround(kJoinDelay * output_.format().sampleRate);
    const qint64 elapsed = clock - running.stream_->anchor.load(std::memory_order_acquire);
    startStreamAt(frameAt(running.stream_->timeAfter(elapsed)));
    startClock_ = clock;
    isPlaying_ = true;
}

void AudioPlayer::pause() {
    if (!isPlaying_) return;
    isPlaying_ = false;
    startClock_ = 0;
    output_.changed();
}

void AudioPlayer::stop() {
    pause();
    if (!stream_) return;
    startFrame_ = frameAt(currentTime());
    stream_.reset();
    output_.changed();
}

void AudioPlayer::setCurrentTime(double seconds) {
    const qint64 frame = frameAt(seconds);
    if (!stream_) {
        startFrame_ = frame;
    } else if (frame != startFrame_ || stream_->consumed.load(std::memory_order_acquire) != 0) {
        startStreamAt(frame);
    }
}

void AudioPlayer::setVolume(float volume) {
    if (volume == volume_) return;
    volume_ = volume;
    output_.changed();
}

void AudioPlayer::lookForEnd() {
    if (!isPlaying_ || !stream_ || !stream_->isFinished()) return;
    const QString error = stream_->decodeError();
    isPlaying_ = false;
    startStreamAt(0);
    const std::weak_ptr<int> life = life_;
    const auto reportError = onDecodeError; // copies: the answer to a callback may be the end of this player
    if (!error.isEmpty() && reportError) reportError(error);
    if (life.expired()) return;
    const auto reportFinish = onFinish;
    if (reportFinish) reportFinish(error.isEmpty());
}

bool AudioPlayer::reopenOutput() {
    try {
        output_.open();
        return true;
    } catch (const AudioOutputError& error) {
        reportLater(error.errorDescription());
        return false;
    }
}

// Not from inside play(): its caller is in the middle of starting.
void AudioPlayer::reportLater(const QString& error) {
    QMetaObject::invokeMethod(
        &output_,
        [this, life = std::weak_ptr<int>(life_), error] {
            if (life.expired()) return;
            const auto report = onDecodeError;
            if (report) report(error);
        },
        Qt::QueuedConnection);
}

void AudioPlayer::outputLost() {
    const bool wasPlaying = std::exchange(isPlaying_, false);
    if (stream_) startFrame_ = frameAt(currentTime());
    stream_.reset();
    const auto report = onDecodeError;
    if (wasPlaying && report) report(QStringLiteral("The sound device is gone"));
}

void AudioPlayer::outputFormatChanged() {
    if (stream_) startStreamAt(frameAt(currentTime()));
}

} // namespace ostrel
