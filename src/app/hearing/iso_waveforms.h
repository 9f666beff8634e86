// The waveforms of the ISOs that a mixer holds, one above the other, each with its name: one time axis, playhead and
// selection for all of them. Scrolls where there are more than it has room for.
#pragma once

#include "app/controls/bindings.h"
#include "app/hearing/waveform_view.h"
#include "preview/peak_reader.h"

#include <QScrollArea>

namespace ostrel {

class PreviewMixer;

class IsoWaveforms : public QScrollArea {
    Q_OBJECT

public:
    explicit IsoWaveforms(PreviewMixer& mixer, QWidget* parent = nullptr);

    void setFFmpegPath(const QString& path) { peaks_.setFFmpegPath(path); }
    // Reads what the mixer holds now; nothing of it where it isn't `wanted`.
    void refresh(bool wanted);
    WaveformView& waveform() { return *waveform_; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

private:
    void showPeaks();
    int laneHeight() const;

    PreviewMixer& mixer_;
    PeakReader peaks_;
    WaveformView* waveform_;
    Bindings bindings_;
    QStringList files_;
    QStringList names_;
};

} // namespace ostrel
