// The preview area: what is loaded, its modes, its channels, the waveform and the transport.
#pragma once

#include "app/controls/bindings.h"
#include "app/controls/controls.h"
#include "app/hearing/waveform_view.h"
#include "preview/peak_reader.h"

class QComboBox;

namespace ostrel {

class PlaybackManager;
class SimplePlaybackTransport;

class AudioPreviewPanel : public QWidget {
    Q_OBJECT

public:
    static constexpr int reservedHeight = 144;

    explicit AudioPreviewPanel(PlaybackManager& playback, QWidget* parent = nullptr);

    SegmentedControl& modeToggle() { return *modes_; }
    SegmentedControl& auditionButtons() { return *channels_; }
    QComboBox& routing() { return *routing_; }
    WaveformView& waveform() { return *waveform_; }
    SimplePlaybackTransport& transport() { return *transport_; }
    QString hint() const { return hint_->text(); }

private:
    QWidget* makeHeader();
    QWidget* makeAudition();
    QWidget* makeWaveform();
    void showModes();
    void showChannels();
    void showRouting();
    void showWaveform();
    void showHint();
    void connectWaveform();
    void chooseMode(int index);
    void chooseChannel(int index);

    PlaybackManager& playback_;
    PeakReader peaks_;
    Bindings bindings_;
    TruncatingText* name_ = nullptr;
    QLabel* info_ = nullptr;
    SegmentedControl* modes_ = nullptr;
    QLabel* loading_ = nullptr;
    QWidget* audition_ = nullptr;
    SegmentedControl* channels_ = nullptr;
    QComboBox* routing_ = nullptr;
    QLabel* audible_ = nullptr;
    WaveformView* waveform_ = nullptr;
    QLabel* hint_ = nullptr;
    SimplePlaybackTransport* transport_ = nullptr;
};

} // namespace ostrel
