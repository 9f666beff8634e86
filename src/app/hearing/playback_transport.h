// The rows of playback controls: play, stop, loop, scrubber, speed, times, level, and what is playing.
#pragma once

#include "app/controls/bindings.h"
#include "app/controls/controls.h"
#include "preview/playback_travel.h"

class QSlider;

namespace ostrel {

class AudioOutput;
class AudioPlaybackEngine;
class DayClock;
class LevelMeter;
class PreviewMixer;

// What both rows share. They differ in whom they drive.
class PlaybackTransport : public QWidget {
    Q_OBJECT

public:
    static constexpr int transportHeight = 30;

    void setLabel(const QString& text, bool isHint = false);
    QString label() const { return label_->text(); }
    // The recordings of what is heard, which may say at what time of day it begins.
    void setRecordings(const QStringList& files);
    // J (-1), K (0) and L (1), as from a press by a person.
    void shuttle(int direction);
    LevelMeter& meter() { return *meter_; }

Q_SIGNALS:
    void playToggled(); // by a person
    void stopped();     // by a person

protected:
    PlaybackTransport(const QString& scrubberHelp, AudioOutput& output, QWidget* parent);

    virtual void toggle() = 0;
    virtual void stopPlaying() = 0;
    virtual void seekTo(double seconds) = 0;
    virtual void setLoops(bool loops) = 0;
    virtual void goShuttling(int direction) = 0;

    void followTravel(Bindings& bindings, PlaybackTravel& travel);
    void showPlaying(bool isPlaying);
    void showLoaded(bool isLoaded, bool isLoading); // the second while a file is still being decoded
    void showTime(double seconds, double duration);
    void insertBadge(QWidget* badge);

private:
    void writeTime();

    SymbolButton* play_;
    SymbolButton* stop_;
    SymbolButton* loop_;
    QSlider* scrubber_;
    QLabel* speed_;
    QLabel* dayTime_;
    QLabel* time_;
    LevelMeter* meter_;
    DayClock* dayClock_;
    TruncatingText* label_;
    QString clock_;
    double seconds_ = 0;
    bool isLoading_ = false;
};

class SimplePlaybackTransport : public PlaybackTransport {
    Q_OBJECT

public:
    explicit SimplePlaybackTransport(AudioPlaybackEngine& engine, QWidget* parent = nullptr);

protected:
    void toggle() override;
    void stopPlaying() override;
    void seekTo(double seconds) override;
    void setLoops(bool loops) override;
    void goShuttling(int direction) override;

private:
    AudioPlaybackEngine& engine_;
    Bindings bindings_;
};

class PolyToolsPlaybackTransport : public PlaybackTransport {
    Q_OBJECT

public:
    explicit PolyToolsPlaybackTransport(PreviewMixer& mixer, QWidget* parent = nullptr);

    // What is heard: the poly itself, one channel, or the mix.
    void setSource(const QString& displayLabel, std::optional<int> activeChannelNumber, bool isPolyPlayback);

protected:
    void toggle() override;
    void stopPlaying() override;
    void seekTo(double seconds) override;
    void setLoops(bool loops) override;
    void goShuttling(int direction) override;

private:
    PreviewMixer& mixer_;
    QLabel* badge_;
    Bindings bindings_;
};

} // namespace ostrel
