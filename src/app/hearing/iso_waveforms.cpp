#include "app/hearing/iso_waveforms.h"

#include "app/controls/layouts.h"
#include "platform/paths.h"
#include "preview/preview_mixer.h"

namespace ostrel {
namespace {

constexpr int kWholePoints = 2048;
constexpr int kLanesInSight = 4; // at first; a splitter may give more

} // namespace

IsoWaveforms::IsoWaveforms(PreviewMixer& mixer, QWidget* parent)
    : QScrollArea(parent), mixer_(mixer), waveform_(new WaveformView) {
    setAccessibleName(QStringLiteral("Waveforms of the group"));
    named(waveform_, QStringLiteral("ISO waveforms"));
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWidgetResizable(true);
    setWidget(waveform_);
    connect(waveform_, &WaveformView::seekRequested, this, [this](double seconds) { mixer_.seek(seconds); });
    connect(waveform_, &WaveformView::selected, this,
            [this](const std::optional<TimeSpan>& span) { mixer_.select(span); });
    connect(waveform_, &WaveformView::detailWanted, this, [this](const TimeSpan& part, int points) {
        peaks_.want({part.from, part.to, points});
    });
    connect(&peaks_, &PeakReader::changed, this, &IsoWaveforms::showPeaks);
    const auto position = [this] { waveform_->setPosition(mixer_.currentTime.value(), mixer_.duration.value()); };
    bindings_.watch(mixer.currentTime, position);
    bindings_.bind(mixer.duration, position);
    const auto selection = [this] {
        waveform_->setSelection(mixer_.travel.selection.value(), mixer_.travel.loops.value());
    };
    bindings_.watch(mixer.travel.selection, selection);
    bindings_.bind(mixer.travel.loops, selection);
}

void IsoWaveforms::refresh(bool wanted) {
    const QStringList files = wanted ? mixer_.sourceURLs() : QStringList();
    if (files == files_) return;
    files_ = files;
    names_.clear();
    for (const QString& file : files) names_ << paths::lastComponent(file);
    waveform_->setData({}, {}, {});
    waveform_->forgetDetail();
    waveform_->setMinimumHeight(laneHeight() * static_cast<int>(files.size()));
    peaks_.setFiles(files, PeakReader::Lanes::files);
    peaks_.want({0, mixer_.duration.value(), kWholePoints});
    updateGeometry();
}

void IsoWaveforms::showPeaks() {
    const auto& wish = peaks_.answered();
    waveform_->setMessage(peaks_.isReading() ? QStringLiteral("Reading waveform...") : QString());
    if (!wish) return;
    const bool isWhole = wish->from <= 0 && wish->to >= mixer_.duration.value();
    if (isWhole) {
        waveform_->setData(peaks_.whole(), peaks_.lanes(), names_);
    } else {
        waveform_->setDetail({wish->from, wish->to}, peaks_.whole(), peaks_.lanes());
    }
}

int IsoWaveforms::laneHeight() const {
    return std::max(WaveformView::minReadableLaneHeight, fontMetrics().height() + 8);
}

QSize IsoWaveforms::sizeHint() const {
    const int lanes = std::clamp(static_cast<int>(files_.size()), 2, kLanesInSight);
    return {400, laneHeight() * lanes + 2};
}

QSize IsoWaveforms::minimumSizeHint() const { return {120, 2 * laneHeight() + 2}; }

} // namespace ostrel
