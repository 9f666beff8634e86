#include "app/hearing/playback_transport.h"

#include "app/controls/layouts.h"
#include "app/hearing/day_clock.h"
#include "app/hearing/level_meter.h"
#include "platform/text/text.h"
#include "preview/audio_playback_engine.h"
#include "preview/preview_mixer.h"

#include <QShortcut>
#include <QSlider>

namespace ostrel {
namespace {

constexpr double kTicks = 1000; // of the scrubber in a second

} // namespace

PlaybackTransport::PlaybackTransport(const QString& scrubberHelp, AudioOutput& output, QWidget* parent)
    : QWidget(parent),
      play_(new SymbolButton(QStringLiteral("play.fill"), QStringLiteral("Play"), QStringLiteral("Play (Space)"))),
      stop_(new SymbolButton(QStringLiteral("stop.fill"), QStringLiteral("Stop"), QStringLiteral("Stop"))),
      loop_(new SymbolButton(
          QStringLiteral("arrow.triangle.2.circlepath"), QStringLiteral("Loop"),
          QStringLiteral("Loop the selection, or the whole file (Ctrl+L). Shift and drag in a waveform selects."))),
      scrubber_(named(new QSlider(Qt::Horizontal), QStringLiteral("Playback position"), scrubberHelp)),
      speed_(new SecondaryLabel), dayTime_(new SecondaryLabel), time_(new SecondaryLabel),
      meter_(new LevelMeter(output)), dayClock_(new DayClock(this)), label_(new TruncatingText) {
    setAccessibleName(QStringLiteral("Playback"));
    setFixedHeight(std::max(transportHeight, fontMetrics().height() + 10));
    scrubber_->setSingleStep(static_cast<int>(kTicks));
    scrubber_->setPageStep(static_cast<int>(5 * kTicks));
    time_->setAccessibleName(QStringLiteral("Playback time"));
    time_->setFixedWidth(fontMetrics().horizontalAdvance(QStringLiteral("00:00:00 / 00:00:00")));
    loop_->setCheckable(true);
    // Not the button's own shortcut: that would take the focus away from the waveform.
    auto* loopKey = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_L), this);
    loopKey->setAutoRepeat(false);
    connect(loopKey, &QShortcut::activated, this, [this] {
        if (loop_->isEnabled()) loop_->toggle();
    });
    speed_->setAccessibleName(QStringLiteral("Playback speed"));
    speed_->setFixedWidth(fontMetrics().horizontalAdvance(QStringLiteral("−8×")) + 2);
    named(dayTime_, QStringLiteral("Timecode of day"));
    dayTime_->setFixedWidth(fontMetrics().horizontalAdvance(QStringLiteral("00:00:00:00")) + 4);
    for (QLabel* text : {speed_, dayTime_, time_}) text->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    auto* row = rowLayout();
    row->addWidget(play_);
    row->addWidget(stop_);
    row->addWidget(loop_);
    row->addWidget(scrubber_, 3);
    row->addWidget(speed_);
    row->addWidget(dayTime_);
    row->addWidget(time_);
    row->addWidget(meter_);
    row->addSpacing(6);
    row->addWidget(label_, 2);
    setLayout(row);
    connect(play_, &QToolButton::clicked, this, [this] {
        toggle();
        Q_EMIT playToggled();
    });
    connect(stop_, &QToolButton::clicked, this, [this] {
        stopPlaying();
        Q_EMIT stopped();
    });
    connect(loop_, &QToolButton::toggled, this, [this](bool isOn) { setLoops(isOn); });
    connect(dayClock_, &DayClock::changed, this, &PlaybackTransport::writeTime);
    // Drags, clicks and keys alike; what the player then says of itself does not come back here.
    connect(scrubber_, &QSlider::actionTriggered, this, [this] { seekTo(scrubber_->sliderPosition() / kTicks); });
    showTime(0, 0);
}

void PlaybackTransport::setLabel(const QString& text, bool isHint) { label_->setText(text, isHint); }

void PlaybackTransport::setRecordings(const QStringList& files) { dayClock_->setFiles(files); }

void PlaybackTransport::shuttle(int direction) {
    if (!play_->isEnabled()) return;
    goShuttling(direction);
    Q_EMIT playToggled();
}

void PlaybackTransport::followTravel(Bindings& bindings, PlaybackTravel& travel) {
    bindings.bind(travel.loops, [this, &travel] { loop_->setChecked(travel.loops.value()); });
    bindings.bind(travel.speed, [this, &travel] {
        const int speed = travel.speed.value();
        const QString text = QString(speed < 0 ? QStringLiteral("−%1×") : QStringLiteral("%1×")).arg(std::abs(speed));
        speed_->setText(speed == 1 ? QString() : text);
    });
}

void PlaybackTransport::showPlaying(bool isPlaying) {
    meter_->setRunning(isPlaying);
    play_->setSymbol(isPlaying ? QStringLiteral("pause.fill") : QStringLiteral("play.fill"));
    named(play_, isPlaying ? QStringLiteral("Pause") : QStringLiteral("Play"),
          isPlaying ? QStringLiteral("Pause (Space)") : QStringLiteral("Play (Space)"));
}

void PlaybackTransport::showLoaded(bool isLoaded, bool isLoading) {
    for (QWidget* widget : std::initializer_list<QWidget*>{play_, stop_, loop_, scrubber_})
        widget->setEnabled(isLoaded);
    isLoading_ = isLoading;
    writeTime();
}

void PlaybackTransport::showTime(double seconds, double duration) {
    const int maximum = static_cast<int>(duration * kTicks);
    if (scrubber_->maximum() != maximum) scrubber_->setMaximum(maximum);
    if (!scrubber_->isSliderDown()) scrubber_->setValue(static_cast<int>(seconds * kTicks));
    seconds_ = seconds;
    clock_ = clockText(seconds) + QStringLiteral(" / ") + clockText(duration);
    writeTime();
}

void PlaybackTransport::writeTime() {
    const QString text = isLoading_ ? QStringLiteral("Loading...") : clock_;
    if (time_->text() != text) time_->setText(text);
    const QString day = isLoading_ ? QString() : dayClock_->label(seconds_);
    if (dayTime_->text() == day) return;
    dayTime_->setText(day);
    dayTime_->setToolTip(day.isEmpty() ? QString() : QStringLiteral("Timecode of day at %1").arg(dayClock_->rate()));
}

void PlaybackTransport::insertBadge(QWidget* badge) {
    auto* row = static_cast<QHBoxLayout*>(layout());
    row->insertWidget(row->indexOf(label_), badge);
}

SimplePlaybackTransport::SimplePlaybackTransport(AudioPlaybackEngine& engine, QWidget* parent)
    : PlaybackTransport(QStringLiteral("Scrub playback position (Ctrl+← Ctrl+→ to jump)"), engine.output(), parent),
      engine_(engine) {
    const auto time = [this] { showTime(engine_.currentTime.value(), engine_.duration.value()); };
    bindings_.bind(engine.isPlaying, [this] { showPlaying(engine_.isPlaying.value()); });
    const auto loaded = [this] { showLoaded(engine_.isLoaded.value(), engine_.isLoading.value()); };
    bindings_.bind(engine.isLoaded, loaded);
    bindings_.watch(engine.isLoading, loaded);
    bindings_.bind(engine.currentTime, time);
    followTravel(bindings_, engine.travel);
    bindings_.watch(engine.duration, time);
}

void SimplePlaybackTransport::toggle() { engine_.isPlaying.value() ? engine_.pause() : engine_.play(); }
void SimplePlaybackTransport::stopPlaying() { engine_.stop(); }
void SimplePlaybackTransport::seekTo(double seconds) { engine_.seek(seconds); }
void SimplePlaybackTransport::setLoops(bool loops) { engine_.setLoops(loops); }
void SimplePlaybackTransport::goShuttling(int direction) { engine_.shuttle(direction); }

PolyToolsPlaybackTransport::PolyToolsPlaybackTransport(PreviewMixer& mixer, QWidget* parent)
    : PlaybackTransport(QStringLiteral("Scrub playback position"), mixer.output(), parent), mixer_(mixer),
      badge_(new SecondaryLabel) {
    // The label beside it keeps its place, whatever is heard.
    badge_->setMinimumWidth(fontMetrics().horizontalAdvance(QStringLiteral("POLY")) + 4);
    QSizePolicy policy = badge_->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    badge_->setSizePolicy(policy);
    badge_->hide();
    insertBadge(badge_);
    const auto time = [this] { showTime(mixer_.currentTime.value(), mixer_.duration.value()); };
    bindings_.bind(mixer.isPlaying, [this] { showPlaying(mixer_.isPlaying.value()); });
    const auto loaded = [this] { showLoaded(mixer_.isLoaded.value(), mixer_.isLoading.value()); };
    bindings_.bind(mixer.isLoaded, loaded);
    bindings_.watch(mixer.isLoading, loaded);
    bindings_.bind(mixer.currentTime, time);
    followTravel(bindings_, mixer.travel);
    bindings_.watch(mixer.duration, time);
}

void PolyToolsPlaybackTransport::setSource(const QString& displayLabel, std::optional<int> activeChannelNumber,
                                           bool isPolyPlayback) {
    setLabel(displayLabel);
    badge_->setVisible(isPolyPlayback || activeChannelNumber);
    if (isPolyPlayback) {
        badge_->setText(QStringLiteral("POLY"));
        named(badge_, QStringLiteral("POLY"), QStringLiteral("Playing original poly file"));
    } else if (activeChannelNumber) {
        const QString channel = QStringLiteral("T%1").arg(*activeChannelNumber);
        badge_->setText(channel);
        named(badge_, channel, QStringLiteral("Listening to channel ") + channel);
    }
}

void PolyToolsPlaybackTransport::toggle() { mixer_.isPlaying.value() ? mixer_.pause() : mixer_.play(); }
void PolyToolsPlaybackTransport::stopPlaying() { mixer_.stop(); }
void PolyToolsPlaybackTransport::seekTo(double seconds) { mixer_.seek(seconds); }
void PolyToolsPlaybackTransport::setLoops(bool loops) { mixer_.setLoops(loops); }
void PolyToolsPlaybackTransport::goShuttling(int direction) { mixer_.shuttle(direction); }

} // namespace ostrel
