// The waveform of the file that a player holds, and one lane a channel: made behind the main thread, the last one wins.
#pragma once

#include "platform/background.h"
#include "preview/waveform_generator.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace ostrel {

struct Waveforms {
    std::vector<float> whole;
    std::vector<std::vector<float>> lanes; // only where they were asked for
    bool failed = false;
};

class WaveformLoader {
public:
    // `owner` is the player: `onLoaded` is not called once it is gone.
    WaveformLoader(QObject* owner, const QString& ffmpegPath, std::function<void(Waveforms)> onLoaded)
        : owner_(owner), generator_(std::make_shared<WaveformGenerator>(ffmpegPath)), onLoaded_(std::move(onLoaded)) {}
    ~WaveformLoader() { cancel(); }
    WaveformLoader(const WaveformLoader&) = delete;
    WaveformLoader& operator=(const WaveformLoader&) = delete;

    void load(const QString& url, bool wantsLanes);
    void cancel();

private:
    QCoro::Task<> generate(QString url, bool wantsLanes, TaskHandle task);

    QObject* owner_;
    std::shared_ptr<WaveformGenerator> generator_;
    std::function<void(Waveforms)> onLoaded_;
    std::optional<TaskHandle> task_;
};

} // namespace ostrel
