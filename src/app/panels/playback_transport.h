// The rows of playback controls: play, stop, scrubber, times, and what is playing.
#pragma once

#include "app/controls/bindings.h"
#include "app/controls/controls.h"

class QSlider;

namespace ostrel {

class AudioPlaybackEngine;
class PreviewMixer;

// What both rows share. They differ in whom they drive.
class PlaybackTransport : public QWidget {
    Q_OBJECT

public:
    static constexpr int transportHeight = 30;

    void setLabel(const QString& text, bool isHint = false);
    QString label() const { return label_->text(); }

Q_SIGNALS:
    void playToggled(); // by a person
    void stopped();     // by a person

protected:
    explicit PlaybackTransport(const QString& scrubberHelp, QWidget* parent);

    virtual void toggle() = 0;
    virtual void stopPlaying() = 0;
    virtual void seekTo(double seconds) = 0;

    void showPlaying(bool isPlaying);
    void showLoaded(bool isLoaded, bool isLoading); // the second while a file is still being decoded
    void showTime(double seconds, double duration);
    void insertBadge(QWidget* badge);

private:
    void writeTime();

    SymbolButton* play_;
    SymbolButton* stop_;
    QSlider* scrubber_;
    QLabel* time_;
    TruncatingText* label_;
    QString clock_;
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

private:
    PreviewMixer& mixer_;
    QLabel* badge_;
    Bindings bindings_;
};

} // namespace ostrel
