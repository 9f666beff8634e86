#include "app/panels/playback_transport.h"

#include "app/controls/layouts.h"
#include "platform/text/text.h"
#include "preview/audio_playback_engine.h"
#include "preview/preview_mixer.h"

#include <QSlider>

namespace ostrel {
namespace {

constexpr double kTicks = 1000; // of the scrubber in a second

} // namespace

PlaybackTransport::PlaybackTransport(const QString& scrubberHelp, QWidget* parent)
    : QWidget(parent),
      play_(new SymbolButton(QStringLiteral("play.fill"), QStringLiteral("Play"), QStringLiteral("Play (Space)"))),
      stop_(new SymbolButton(QStringLiteral("stop.fill"), QStringLiteral("Stop"), QStringLiteral("Stop"))),
      scrubber_(named(new QSlider(Qt::Horizontal), QStringLiteral("Playback position"), scrubberHelp)),
      time_(new SecondaryLabel), label_(new TruncatingText) {
    setAccessibleName(QStringLiteral("Playback"));
    setFixedHeight(std::max(transportHeight, fontMetrics().height() + 10));
    scrubber_->setSingleStep(static_cast<int>(kTicks));
    scrubber_->setPageStep(static_cast<int>(5 * kTicks));
    time_->setAccessibleName(QStringLiteral("Playback time"));
    time_->setFixedWidth(fontMetrics().horizontalAdvance(QStringLiteral("00:00:00 / 00:00:00")));
    time_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    auto* row = rowLayout();
    row->addWidget(play_);
    row->addWidget(stop_);
    row->addWidget(scrubber_, 3);
    row->addWidget(time_);
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
    // Drags, clicks and keys alike; what the player then says of itself does not come back here.
    connect(scrubber_, &QSlider::actionTriggered, this, [this] { seekTo(scrubber_->sliderPosition() / kTicks); });
    showTime(0, 0);
}

void PlaybackTransport::setLabel(const QString& text, bool isHint) { label_->setText(text, isHint); }

void PlaybackTransport::showPlaying(bool isPlaying) {
    play_->setSymbol(isPlaying ? QStringLiteral("pause.fill") : QStringLiteral("play.fill"));
    named(play_, isPlaying ? QStringLiteral("Pause") : QStringLiteral("Play"),
          isPlaying ? QStringLiteral("Pause (Space)") : QStringLiteral("Play (Space)"));
}

void PlaybackTransport::showLoaded(bool isLoaded, bool isLoading) {
    for (QWidget* widget : std::initializer_list<QWidget*>{play_, stop_, scrubber_}) widget->setEnabled(isLoaded);
    isLoading_ = isLoading;
    writeTime();
}

void PlaybackTransport::showTime(double seconds, double duration) {
    const int maximum = static_cast<int>(duration * kTicks);
    if (scrubber_->maximum() != maximum) scrubber_->setMaximum(maximum);
    if (!scrubber_->isSliderDown()) scrubber_->setValue(static_cast<int>(seconds * kTicks));
    clock_ = clockText(seconds) + QStringLiteral(" / ") + clockText(duration);
    writeTime();
}

void PlaybackTransport::writeTime() {
    const QString text = isLoading_ ? QStringLiteral("Loading...") : clock_;
    if (time_->text() != text) time_->setText(text);
}

void PlaybackTransport::insertBadge(QWidget* badge) {
    auto* row = static_cast<QHBoxLayout*>(layout());
    row->insertWidget(row->indexOf(label_), badge);
}

SimplePlaybackTransport::SimplePlaybackTransport(AudioPlaybackEngine& engine, QWidget* parent)
    : PlaybackTransport(QStringLiteral("Scrub playback position (Ctrl+← Ctrl+→ to jump)"), parent), engine_(engine) {
    const auto time = [this] { showTime(engine_.currentTime.value(), engine_.duration.value()); };
    bindings_.bind(engine.isPlaying, [this] { showPlaying(engine_.isPlaying.value()); });
    const auto loaded = [this] { showLoaded(engine_.isLoaded.value(), engine_.isLoading.value()); };
    bindings_.bind(engine.isLoaded, loaded);
    bindings_.watch(engine.isLoading, loaded);
    bindings_.bind(engine.currentTime, time);
    bindings_.watch(engine.duration, time);
}

void SimplePlaybackTransport::toggle() { engine_.isPlaying.value() ? engine_.pause() : engine_.play(); }
void SimplePlaybackTransport::stopPlaying() { engine_.stop(); }
void SimplePlaybackTransport::seekTo(double seconds) { engine_.seek(seconds); }

PolyToolsPlaybackTransport::PolyToolsPlaybackTransport(PreviewMixer& mixer, QWidget* parent)
    : PlaybackTransport(QStringLiteral("Scrub playback position"), parent), mixer_(mixer), badge_(new SecondaryLabel) {
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

} // namespace ostrel
