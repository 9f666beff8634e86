#include "preview/waveform_loader.h"

#include "platform/audio/audio_file.h"

namespace ostrel {
namespace {

constexpr int kPoints = 200;

} // namespace

void WaveformLoader::cancel() {
    if (task_) task_->cancel();
}

void WaveformLoader::load(const QString& url, bool wantsLanes) {
    cancel();
    task_.emplace();
    generate(url, wantsLanes, *task_);
}

QCoro::Task<> WaveformLoader::generate(QString url, bool wantsLanes, TaskHandle task) {
    const auto work = [generator = generator_, url, wantsLanes, task] {
        Waveforms result;
        try {
            result.whole = generator->generateWaveform(url, kPoints, task);
            if (wantsLanes) result.lanes = generator->generateMultiChannelWaveform(url, kPoints, task);
        } catch (const AudioFileError&) {
            result.failed = true; // the panel says that there is no waveform; the player tells why
        } catch (const WaveformError&) {
            result.failed = true;
        }
        return result;
    };
    Waveforms result = co_await inBackground(owner_, work);
    if (!task.isCancelled()) onLoaded_(std::move(result)); // else another file is shown by now
}

} // namespace ostrel
