#include "preview/preview_mixer.h"

#include "platform/diagnostics.h"
#include "platform/paths.h"
#include "platform/text/regular_expression.h"
#include "platform/text/text.h"
#include "preview/open_sound.h"

namespace ostrel {
namespace {

constexpr int kMixUpdateMilliseconds = 50;
constexpr double kEndMargin = 0.1;            // seconds ahead of the end at which playback counts as over
constexpr float kAutoTrimFactor = 0.5011872F; // kAutoTrimDb as a factor

void say(const QString& text) { printDiagnostic(QStringLiteral("[PreviewMixer] %1").arg(text)); }

std::optional<int> channelNumberOf(const QString& url) {
    static const RegularExpression pattern(QStringLiteral("_T(\\d+)"));
    const auto match = pattern.firstMatch(paths::lastComponent(url));
    if (!match) return std::nullopt;
    bool isNumber = false;
    const int number = match->text(1).toInt(&isNumber, 10);
    return isNumber ? std::optional(number) : std::nullopt;
}

} // namespace

PreviewMixer::PreviewMixer(AudioOutput& output) : output_(output) {
    updateTimer_.setInterval(kMixUpdateMilliseconds);
    connect(&updateTimer_, &QTimer::timeout, this, [this] { timerTick(); });
    trimNotifier_ = autoTrimEnabled.addNotifier([this] { updateVolumes(); });
}

PreviewMixer::~PreviewMixer() = default;

template <class Action>
void PreviewMixer::forEachPlayer(Action action) {
    for (const SourceState& source : sources_) {
        if (source.player) action(*source.player);
    }
    if (polySourcePlayer_) action(*polySourcePlayer_);
}

TaskHandle PreviewMixer::beginLoading() {
    loading_.cancel();
    return loading_ = TaskHandle();
}

QCoro::Task<PreviewMixer::OpenedPlayer> PreviewMixer::openPlayer(QString url, float volume, TaskHandle task) {
    const OpenedSound sound = co_await openSound(this, url, ffmpegPath_, task, isLoading);
    OpenedPlayer result{nullptr, sound.error};
    if (!sound.file || task.isCancelled()) co_return result;
    try {
        result.player = std::make_unique<AudioPlayer>(output_, sound.file);
        result.player->onDecodeError = [this](const QString& error) { playerFailed(error); };
        result.player->setVolume(volume);
        result.player->prepareToPlay();
    } catch (const AudioPlayerError& error) {
        result.error = error.errorDescription();
    }
    co_return result;
}

void PreviewMixer::listSource(const QString& url) {
    SourceState source;
    source.url = url;
    source.id = url;
    source.channelNumber = channelNumberOf(url);
    sources_.push_back(std::move(source));
}

// Gives every listed source its player and takes those off the list that can't be played. The last one's error.
QCoro::Task<QString> PreviewMixer::openSources(TaskHandle task) {
    QString lastError;
    for (std::size_t at = 0; at < sources_.size();) {
        const QString url = sources_[at].url;
        OpenedPlayer opened = co_await openPlayer(url, 1.0F, task);
        if (task.isCancelled()) co_return lastError;
        if (opened.player) {
            sources_[at++].player = std::move(opened.player);
            continue;
        }
        lastError = opened.error;
        sources_.erase(sources_.begin() + static_cast<std::ptrdiff_t>(at));
        if (isMixMode.value()) {
            say(QStringLiteral("Failed to load %1: %2").arg(paths::lastComponent(url), lastError));
        }
    }
    double longest = 0;
    for (std::size_t at = 0; at < sources_.size(); ++at) {
        sources_[at].index = static_cast<int>(at);
        longest = std::max(longest, sources_[at].player->duration());
    }
    for (std::size_t at = 0; at < sources_.size(); ++at) {
        sources_[at].player->onFinish = [this, at](bool) { sources_[at].hasEnded = true; };
    }
    if (sources_.empty()) {
        loadError = QStringLiteral("Cannot load: %1").arg(lastError);
    }
    loadedFileCount = static_cast<int>(sources_.size());
    duration = longest;
    co_return lastError;
}

void PreviewMixer::loadingEnded() {
    isLoading = false;
    isLoaded = !sources_.empty();
    updateVolumes();
    publishSourceStates();
}

void PreviewMixer::loadSingle(const QString& url) {
    cleanup();
    listSource(url);
    openSingle(beginLoading());
}

QCoro::Task<> PreviewMixer::openSingle(TaskHandle task) {
    const QString error = co_await openSources(task);
    if (task.isCancelled()) co_return;
    loadingEnded();
    if (sources_.empty()) {
        say(QStringLiteral("Load error: %1").arg(error));
        co_return;
    }
    say(QStringLiteral("Loaded single file: %1").arg(paths::lastComponent(sources_.front().url)));
    startWhatWaited();
}

void PreviewMixer::loadMix(const QStringList& urls, const QString& polySourceURL) {
    if (urls.isEmpty()) {
        loadError = QStringLiteral("No files to load");
        return;
    }
    cleanup();
    say(QStringLiteral("Loading mix with %1 files%2")
            .arg(urls.size())
            .arg(polySourceURL.isEmpty() ? QString() : QStringLiteral(" + poly source")));
    isMixMode = true;
    for (const QString& url : urls) listSource(url);
    openMix(polySourceURL, beginLoading());
}

QCoro::Task<> PreviewMixer::openMix(QString polyURL, TaskHandle task) {
    co_await openSources(task);
    if (task.isCancelled()) co_return;
    if (!polyURL.isEmpty()) {
        const bool isOpen = co_await openPoly(polyURL, task);
        if (task.isCancelled()) co_return;
        if (isOpen) say(QStringLiteral("Poly source loaded: %1").arg(paths::lastComponent(polyURL)));
    }
    isPolySourceActive = hasPolySource() && !anySolo(); // one may have been chosen while it loaded
    if (sources_.size() >= 2) autoTrimEnabled = true;
    loadingEnded();
    say(QStringLiteral("Loaded %1 sources, duration: %2").arg(sources_.size()).arg(fixed(duration.value(), 2)));
    startWhatWaited();
}

void PreviewMixer::startWhatWaited() {
    const QString poly = std::exchange(waitingPolyURL_, QString());
    if (!poly.isEmpty()) setPolySource(poly);
    if (std::exchange(playsWhenLoaded_, false)) play();
}

QCoro::Task<bool> PreviewMixer::openPoly(QString url, TaskHandle task) {
    OpenedPlayer opened = co_await openPlayer(url, 0.0F, task);
    if (task.isCancelled()) co_return false;
    if (!opened.player) {
        say(QStringLiteral("Failed to load poly source: %1").arg(opened.error));
        co_return false;
    }
    polySourcePlayer_ = std::move(opened.player);
    polySourceURL_ = url;
    co_return true;
}

void PreviewMixer::setPolySource(const QString& url) {
    if (isLoaded.value()) {
        openPolyAndJoin(url, beginLoading());
    } else if (isLoading.value()) {
        waitingPolyURL_ = url;
    } else {
        say(QStringLiteral("Cannot set poly source — mixer not loaded"));
    }
}

QCoro::Task<> PreviewMixer::openPolyAndJoin(QString url, TaskHandle task) {
    const bool isOpen = co_await openPoly(url, task);
    if (task.isCancelled()) co_return;
    isLoading = false;
    if (!isOpen) co_return;
    updateVolumes();
    if (isPlaying.value()) joinPoly();
    say(QStringLiteral("Poly source injected: %1").arg(paths::lastComponent(url)));
}

void PreviewMixer::joinPoly() {
    polySourcePlayer_->setTravel(travel.forPlayer(duration.value()));
    if (const AudioPlayer* running = clock()) {
        polySourcePlayer_->playInStepWith(*running);
    } else {
        polySourcePlayer_->setCurrentTime(currentTime.value());
        polySourcePlayer_->play();
    }
}

void PreviewMixer::play() {
    playsWhenLoaded_ = isLoading.value() && !isLoaded.value();
    if (!isLoaded.value() || sources_.empty() || isPlaying.value()) return;
    const double time = timeToStart();
    say(QStringLiteral("Starting playback from %1s").arg(fixed(time, 2)));
    loadError = QString(); // of a try before
    moveTo(time);
    forEachPlayer([](AudioPlayer& player) { player.play(); });
    isPlaying = true;
    updateTimer_.start();
}

void PreviewMixer::pause() {
    say(QStringLiteral("Pausing playback"));
    playsWhenLoaded_ = false;
    updateTimer_.stop();
    forEachPlayer([](AudioPlayer& player) { player.pause(); });
    isPlaying = false;
    setSpeed(1);
}

void PreviewMixer::stop() {
    say(QStringLiteral("Stopping playback"));
    playsWhenLoaded_ = false;
    updateTimer_.stop();
    forEachPlayer([](AudioPlayer& player) {
        player.stop();
        player.setCurrentTime(0);
    });
    isPlaying = false;
    currentTime = 0;
    setSpeed(1);
}

void PreviewMixer::seek(double seconds) {
    const double time = std::clamp(seconds, 0.0, duration.value());
    if (isPlaying.value()) forEachPlayer([](AudioPlayer& player) { player.pause(); });
    moveTo(time);
    if (isPlaying.value()) forEachPlayer([](AudioPlayer& player) { player.play(); });
}

void PreviewMixer::moveTo(double seconds) {
    forgetEnds();
    const PlayerTravel way = travel.forPlayer(duration.value());
    forEachPlayer([&](AudioPlayer& player) {
        player.setTravel(way);
        player.setCurrentTime(seconds);
    });
    currentTime = seconds;
}

double PreviewMixer::timeToStart() const {
    const auto loop = travel.loop(duration.value());
    return loop && !loop->holds(currentTime.value()) ? loop->from : currentTime.value();
}

void PreviewMixer::select(const std::optional<TimeSpan>& span) {
    if (span == travel.selection.value()) return;
    travel.selection = span;
    travelChanged();
}

void PreviewMixer::setLoops(bool loops) {
    if (loops == travel.loops.value()) return;
    travel.loops = loops;
    travelChanged();
}

void PreviewMixer::shuttle(int direction) {
    if (direction == 0 || !isLoaded.value()) return pause();
    setSpeed(travel.shuttled(direction, isPlaying.value()));
    play();
}

void PreviewMixer::setSpeed(int speed) {
    if (speed == travel.speed.value()) return;
    travel.speed = speed;
    travelChanged();
}

// All at once and from one position: a poly that is about to join has another one of its own.
void PreviewMixer::travelChanged() {
    if (!isPlaying.value()) return; // play() gives it to the players
    if (const AudioPlayer* running = clock()) currentTime = running->currentTime();
    seek(timeToStart());
}

bool PreviewMixer::anySolo() const {
    return std::any_of(sources_.begin(), sources_.end(), [](const SourceState& source) { return source.isSoloed; });
}

float PreviewMixer::gainOf(const SourceState& source) const {
    if (isPolySourceActive.value()) return 0.0F;
    if (!(anySolo() ? source.isSoloed : source.isIncluded)) return 0.0F;
    return isMixMode.value() && autoTrimEnabled.value() ? kAutoTrimFactor : 1.0F;
}

void PreviewMixer::updateVolumes() {
    for (const SourceState& source : sources_) {
        if (source.player) source.player->setVolume(gainOf(source));
    }
    // The trim is not the poly's: one file can't sum past full scale.
    if (polySourcePlayer_) polySourcePlayer_->setVolume(isPolySourceActive.value() ? 1.0F : 0.0F);
}

void PreviewMixer::publishSourceStates() {
    std::vector<SourceInfo> states;
    for (const SourceState& source : sources_) {
        states.push_back({source.id, source.index, source.isIncluded, source.isSoloed, source.channelNumber});
    }
    sourceStates = std::move(states);
}

void PreviewMixer::clearSolos() {
    for (SourceState& source : sources_) source.isSoloed = false;
}

void PreviewMixer::volumesChanged(const QString& operation) {
    updateVolumes();
    publishSourceStates();
    say(operation);
}

void PreviewMixer::soloExclusive(int index) {
    if (!isValid(index)) return;
    SourceState& source = sources_[static_cast<std::size_t>(index)];
    const auto soloed =
        std::count_if(sources_.begin(), sources_.end(), [](const SourceState& other) { return other.isSoloed; });
    const bool wasOnlySolo = source.isSoloed && soloed == 1;
    clearSolos();
    source.isSoloed = !wasOnlySolo;
    isPolySourceActive = wasOnlySolo && hasPolySource();
    volumesChanged(QStringLiteral("soloExclusive(%1)").arg(index));
}

void PreviewMixer::toggleSolo(int index) {
    if (!isValid(index)) return;
    SourceState& source = sources_[static_cast<std::size_t>(index)];
    const bool isSoloed = !source.isSoloed;
    clearSolos();
    source.isSoloed = isSoloed;
    isPolySourceActive = !isSoloed && hasPolySource();
    volumesChanged(QStringLiteral("toggleSolo(%1)").arg(index));
}

void PreviewMixer::soloPolySource() {
    if (!polySourcePlayer_) {
        say(QStringLiteral("No poly source loaded"));
        return;
    }
    if (!isPolySourceActive.value()) clearSolos();
    isPolySourceActive = !isPolySourceActive.value();
    volumesChanged(QStringLiteral("soloPolySource"));
}

void PreviewMixer::clearAllSolos() {
    clearSolos();
    isPolySourceActive = hasPolySource();
    volumesChanged(QStringLiteral("clearAllSolos"));
}

void PreviewMixer::setIncluded(int index, bool isIncluded) {
    if (!isValid(index)) return;
    sources_[static_cast<std::size_t>(index)].isIncluded = isIncluded;
    volumesChanged(QStringLiteral("setIncluded(%1)").arg(index));
}

// Of the sources that still play, which are in step, the longest: a short one stands at its end while a loop goes on.
const AudioPlayer* PreviewMixer::clock() const {
    const AudioPlayer* longest = nullptr;
    for (const SourceState& source : sources_) {
        if (!source.player->isPlaying()) continue;
        if (!longest || source.player->duration() > longest->duration()) longest = source.player.get();
    }
    return longest;
}

void PreviewMixer::forgetEnds() {
    for (SourceState& source : sources_) source.hasEnded = false;
}

bool PreviewMixer::haveAllEnded() const { return std::ranges::all_of(sources_, &SourceState::hasEnded); }

void PreviewMixer::timerTick() {
    if (!isPlaying.value() || sources_.empty()) return;
    const AudioPlayer* running = clock();
    if (running) currentTime = running->currentTime();
    const bool isForwards = travel.speed.value() > 0;
    const bool isOver =
        isForwards && !travel.loop(duration.value()) && currentTime.value() >= duration.value() - kEndMargin;
    if (!isOver && (running || !haveAllEnded())) return;
    stop();
    const auto report = onPlaybackFinished;
    if (report) report();
}

bool PreviewMixer::anyPlayerRuns() const {
    return (polySourcePlayer_ && polySourcePlayer_->isPlaying()) ||
           std::any_of(sources_.begin(), sources_.end(),
                       [](const SourceState& source) { return source.player->isPlaying(); });
}

// One broken file leaves the others playing; with the sound device all stop, one report after the other.
void PreviewMixer::playerFailed(const QString& error) {
    loadError = error;
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (isPlaying.value() && !haveAllEnded() && !anyPlayerRuns()) pause();
        },
        Qt::QueuedConnection);
}

QStringList PreviewMixer::sourceURLs() const {
    QStringList result;
    for (const SourceState& source : sources_) result << source.url;
    return result;
}

void PreviewMixer::cleanup() {
    say(QStringLiteral("Cleanup called"));
    loading_.cancel();
    waitingPolyURL_.clear();
    playsWhenLoaded_ = false;
    updateTimer_.stop();
    forEachPlayer([](AudioPlayer& player) { player.stop(); });
    sources_.clear();
    polySourcePlayer_.reset();
    polySourceURL_.clear();
    isPlaying = false;
    travel.forget();
    currentTime = 0;
    duration = 0;
    isLoaded = false;
    isLoading = false;
    loadError = QString();
    loadedFileCount = 0;
    isMixMode = false;
    isStartingAudio = false;
    isPolySourceActive = false;
    sourceStates = std::vector<SourceInfo>();
    masterPeakDb = -60.0F;
    isClipping = false;
}

} // namespace ostrel
