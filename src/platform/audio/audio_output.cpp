#include "platform/audio/audio_output.h"

#include "platform/audio/audio_player.h"

#include <SDL.h>

namespace ostrel {
namespace {

constexpr int kLookMilliseconds = 20;
constexpr int kMostDeviceChannels = 8; // SDL's

[[noreturn]] void failToOpen() {
    throw AudioOutputError(QStringLiteral("No sound device is available: %1").arg(QString::fromUtf8(SDL_GetError())));
}

// The subsystem for the life of an object.
class AudioSubsystem {
public:
    AudioSubsystem() {
        // The audio subsystem brings the event subsystem with it, which would take over SIGINT and SIGTERM.
        SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
        if (SDL_InitSubSystem(SDL_INIT_AUDIO) != 0) failToOpen();
    }
    ~AudioSubsystem() { SDL_QuitSubSystem(SDL_INIT_AUDIO); }
    AudioSubsystem(const AudioSubsystem&) = delete;
    AudioSubsystem& operator=(const AudioSubsystem&) = delete;
};

// The rate and width that the default device runs at by itself, where the driver knows.
OutputFormat nativeFormat() {
    OutputFormat format;
#if SDL_VERSION_ATLEAST(2, 24, 0)
    char* name = nullptr;
    SDL_AudioSpec spec{};
    if (SDL_GetDefaultAudioInfo(&name, &spec, 0) == 0) {
        if (spec.freq > 0) format.sampleRate = spec.freq;
        if (spec.channels > 0) format.channels = std::min<int>(spec.channels, kMostDeviceChannels);
    }
    SDL_free(name);
#endif
    return format;
}

} // namespace

class AudioOutput::Device {
public:
    explicit Device(const Wish& wish) {
        const OutputFormat native = nativeFormat();
        SDL_AudioSpec wanted{};
        wanted.freq = wish.sampleRate ? wish.sampleRate : native.sampleRate;
        wanted.channels = static_cast<Uint8>(wish.channels ? wish.channels : native.channels);
        wanted.format = AUDIO_F32SYS;
        wanted.samples = static_cast<Uint16>(wish.blockFrames);
        wanted.callback = &Device::callback;
        wanted.userdata = this;
        SDL_AudioSpec obtained{};
        id_ = SDL_OpenAudioDevice(nullptr, 0, &wanted, &obtained,
                                  SDL_AUDIO_ALLOW_FREQUENCY_CHANGE | SDL_AUDIO_ALLOW_CHANNELS_CHANGE);
        if (id_ == 0) failToOpen();
        format_ = {obtained.freq, obtained.channels};
    }
    ~Device() { SDL_CloseAudioDevice(id_); }
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    const OutputFormat& format() const { return format_; }
    bool isLost() const { return SDL_GetAudioDeviceStatus(id_) == SDL_AUDIO_STOPPED; }
    void setMix(AudioMix* mix) { mix_ = mix; } // before it runs
    void run() { SDL_PauseAudioDevice(id_, 0); }
    void rest() { SDL_PauseAudioDevice(id_, 1); } // the callback is not running when this returns

private:
    static void SDLCALL callback(void* self, Uint8* bytes, int length) {
        auto* device = static_cast<Device*>(self);
        const int frames = length / static_cast<int>(sizeof(float)) / device->format_.channels;
        device->mix_->render(reinterpret_cast<float*>(bytes), frames);
    }

    AudioSubsystem subsystem_;
    SDL_AudioDeviceID id_ = 0;
    OutputFormat format_;
    AudioMix* mix_ = nullptr;
};

AudioOutput::AudioOutput() : AudioOutput(Wish{}) {}

AudioOutput::AudioOutput(const Wish& wish) : wish_(wish) {
    timer_.setInterval(kLookMilliseconds);
    connect(&timer_, &QTimer::timeout, this, [this] { look(); });
}

AudioOutput::~AudioOutput() = default;

void AudioOutput::open() {
    if (device_ && device_->isLost()) loseDevice();
    if (device_) return;
    auto device = std::make_unique<Device>(wish_);
    const bool isOtherFormat = device->format() != format_;
    format_ = device->format();
    mix_ = std::make_unique<AudioMix>(format_.channels);
    if (!decoder_) decoder_ = std::make_unique<StreamDecoder>();
    device->setMix(mix_.get());
    device_ = std::move(device);
    if (isOtherFormat) {
        for (AudioPlayer* player : players_) player->outputFormatChanged();
    }
}

std::vector<float> AudioOutput::takePeaks() {
    std::vector<float> peaks;
    for (int channel = 0; mix_ && channel < format_.channels; ++channel) peaks.push_back(mix_->takePeak(channel));
    return peaks;
}

void AudioOutput::add(AudioPlayer* player) { players_.push_back(player); }

void AudioOutput::remove(AudioPlayer* player) {
    std::erase(players_, player);
    changed();
}

void AudioOutput::changed() {
    if (std::exchange(isCommitDue_, true)) return;
    QMetaObject::invokeMethod(
        this, [this] { commit(); }, Qt::QueuedConnection);
}

void AudioOutput::commit() {
    isCommitDue_ = false;
    if (!device_) return;
    std::vector<MixEntry> entries;
    std::vector<std::shared_ptr<AudioStream>> streams;
    bool anyRunning = false;
    for (const AudioPlayer* player : players_) {
        const MixEntry entry = player->mixEntry();
        if (!entry.stream) continue;
        anyRunning = anyRunning || entry.isRunning;
        streams.push_back(entry.stream);
        entries.push_back(entry);
    }
    decoder_->setStreams(std::move(streams), anyRunning);
    if (anyRunning) {
        mix_->publish(std::move(entries));
        device_->run();
        timer_.start();
    } else {
        device_->rest();
        mix_->clear();
        timer_.stop();
    }
}

void AudioOutput::look() {
    mix_->freeRetired();
    if (device_->isLost()) {
        loseDevice();
        return;
    }
    // What a player's owner does in answer may make and destroy players.
    const std::vector<AudioPlayer*> players = players_;
    for (AudioPlayer* player : players) {
        if (std::find(players_.begin(), players_.end(), player) != players_.end()) player->lookForEnd();
    }
}

void AudioOutput::loseDevice() {
    timer_.stop();
    device_.reset();
    mix_->clear();
    decoder_->setStreams({}, false);
    const std::vector<AudioPlayer*> players = players_;
    for (AudioPlayer* player : players) {
        if (std::find(players_.begin(), players_.end(), player) != players_.end()) player->outputLost();
    }
}

} // namespace ostrel
