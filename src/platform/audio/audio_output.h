// The one sound output that all players share: an SDL2 device, the mix that its callback runs, the decoding thread.
//
// Lives on the main thread and outlives its players. The device is opened when the first player needs it and runs only
// while something plays. Changes that players make in one pass of the event loop (starts, stops, seeks, volumes) are
// gathered and take effect at the same frame of the output.
#pragma once

#include "platform/audio/audio_mix.h"
#include "platform/audio/stream_decoder.h"

#include <QObject>
#include <QTimer>
#include <memory>
#include <stdexcept>
#include <vector>

namespace ostrel {

class AudioPlayer;

class AudioOutputError : public std::runtime_error {
public:
    explicit AudioOutputError(const QString& text) : std::runtime_error(text.toStdString()), text_(text) {}
    QString errorDescription() const { return text_; }

private:
    QString text_;
};

class AudioOutput : public QObject {
public:
    // What to ask the device for; 0 leaves it to the device.
    struct Wish {
        int sampleRate = 0; // Hz
        int channels = 0;
        int blockFrames = 1024;
    };

    AudioOutput();
    explicit AudioOutput(const Wish& wish);
    ~AudioOutput() override;

    // Opens the device if it is not open. Throws AudioOutputError: "No sound device is available: ...".
    void open();
    const OutputFormat& format() const { return format_; }

    // For meters: the greatest magnitude of each channel that was sent to the device since this was asked last. Empty
    // while there is no device.
    std::vector<float> takePeaks();

private:
    friend class AudioPlayer;
    class Device;

    void add(AudioPlayer* player);
    void remove(AudioPlayer* player);
    void changed(); // by a player: take its state over at the end of this pass
    qint64 clock() const { return mix_ ? mix_->clock() : 0; }

    void commit();
    void look();
    void loseDevice();

    Wish wish_;
    OutputFormat format_;
    std::vector<AudioPlayer*> players_;
    bool isCommitDue_ = false;
    QTimer timer_; // looks after ends of files and the device while something plays
    std::unique_ptr<AudioMix> mix_;
    std::unique_ptr<StreamDecoder> decoder_;
    std::unique_ptr<Device> device_; // last: closed before what its callback uses
};

} // namespace ostrel
