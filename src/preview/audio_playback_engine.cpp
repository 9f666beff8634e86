#include "preview/audio_playback_engine.h"

#include "platform/diagnostics.h"
#include "preview/open_sound.h"

namespace ostrel {
namespace {

constexpr int kUpdateMilliseconds = 50;

} // namespace

AudioPlaybackEngine::AudioPlaybackEngine(AudioOutput& output) : output_(output) {
    updateTimer_.setInterval(kUpdateMilliseconds);
    connect(&updateTimer_, &QTimer::timeout, this, [this] {
        if (player_) currentTime = player_->currentTime();
    });
    const auto announce = [this] { Q_EMIT changed(); };
    notifiers_.push_back(isPlaying.addNotifier(announce));
    notifiers_.push_back(currentTime.addNotifier(announce));
    notifiers_.push_back(duration.addNotifier(announce));
    notifiers_.push_back(isLoaded.addNotifier(announce));
    notifiers_.push_back(isLoading.addNotifier(announce));
    notifiers_.push_back(loadError.addNotifier(announce));
}

AudioPlaybackEngine::~AudioPlaybackEngine() = default;

void AudioPlaybackEngine::load(const QString& url) {
    unload();
    loading_ = TaskHandle();
    open(url, loading_);
}

QCoro::Task<> AudioPlaybackEngine::open(QString url, TaskHandle task) {
    const OpenedSound sound = co_await openSound(this, url, ffmpegPath_, task, isLoading);
    if (task.isCancelled()) co_return;
    isLoading = false;
    if (!sound.file) {
        loadFailed(sound.error);
        co_return;
    }
    try {
        opened(sound.file);
    } catch (const AudioPlayerError& error) {
        loadFailed(error.errorDescription());
    }
}

void AudioPlaybackEngine::loadFailed(const QString& reason) {
    playsWhenLoaded_ = false;
    loadError = QStringLiteral("Cannot preview: %1").arg(reason);
    printDiagnostic(QStringLiteral("[AudioPlaybackEngine] Load error: %1").arg(reason));
}

void AudioPlaybackEngine::opened(std::shared_ptr<AudioFile> file) {
    player_ = std::make_unique<AudioPlayer>(output_, std::move(file));
    player_->onFinish = [this](bool) { finished(); };
    player_->onDecodeError = [this](const QString& error) { decodeErrorOccurred(error); };
    duration = player_->duration();
    player_->setTravel(travel.forPlayer(duration.value()));
    player_->prepareToPlay();
    isLoaded = true;
    if (std::exchange(playsWhenLoaded_, false)) play();
}

void AudioPlaybackEngine::unload() {
    loading_.cancel();
    stop();
    player_.reset();
    isLoading = false;
    travel.forget();
    duration = 0;
    isLoaded = false;
    loadError = QString();
}

void AudioPlaybackEngine::play() {
    playsWhenLoaded_ = isLoading.value();
    if (!player_) return;
    loadError = QString(); // of a try before
    enterLoop();
    player_->play();
    isPlaying = true;
    updateTimer_.start();
}

void AudioPlaybackEngine::pause() {
    playsWhenLoaded_ = false;
    if (!player_) return;
    player_->pause();
    isPlaying = false;
    updateTimer_.stop();
    setSpeed(1);
}

void AudioPlaybackEngine::stop() {
    if (player_) {
        player_->stop();
        player_->setCurrentTime(0);
    }
    playsWhenLoaded_ = false;
    isPlaying = false;
    setSpeed(1);
    currentTime = 0;
    updateTimer_.stop();
}

void AudioPlaybackEngine::seek(double seconds) {
    if (!player_) return;
    player_->setCurrentTime(std::clamp(seconds, 0.0, duration.value()));
    currentTime = player_->currentTime();
}

void AudioPlaybackEngine::select(const std::optional<TimeSpan>& span) {
    if (span == travel.selection.value()) return;
    travel.selection = span;
    travelChanged();
}

void AudioPlaybackEngine::setLoops(bool loops) {
    if (loops == travel.loops.value()) return;
    travel.loops = loops;
    travelChanged();
}

void AudioPlaybackEngine::shuttle(int direction) {
    if (direction == 0 || !player_) return pause();
    setSpeed(travel.shuttled(direction, isPlaying.value()));
    if (!isPlaying.value()) play();
}

void AudioPlaybackEngine::setSpeed(int speed) {
    if (speed == travel.speed.value()) return;
    travel.speed = speed;
    travelChanged();
}

void AudioPlaybackEngine::travelChanged() {
    if (!player_) return;
    player_->setTravel(travel.forPlayer(duration.value()));
    if (isPlaying.value()) enterLoop();
}

void AudioPlaybackEngine::enterLoop() {
    const auto loop = travel.loop(duration.value());
    if (loop && !loop->holds(player_->currentTime())) seek(loop->from);
}

void AudioPlaybackEngine::finished() {
    isPlaying = false;
    setSpeed(1);
    currentTime = 0;
    updateTimer_.stop();
    const auto report = onPlaybackFinished;
    if (report) report();
}

void AudioPlaybackEngine::decodeErrorOccurred(const QString& error) {
    isPlaying = false;
    updateTimer_.stop();
    setSpeed(1);
    loadError = error.isEmpty() ? QStringLiteral("Decode error") : error;
}

} // namespace ostrel
