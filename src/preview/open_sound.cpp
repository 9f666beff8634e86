#include "preview/open_sound.h"

namespace ostrel {

QCoro::Task<OpenedSound> openSound(QObject* owner, QString url, QString ffmpegPath, TaskHandle task,
                                   QProperty<bool>& isLoading) {
    OpenedSound result;
    try {
        result.file = AudioFile::openAtOnce(url);
        if (!result.file) {
            isLoading = true;
            const auto decode = [url, ffmpegPath, task] {
                return task.isCancelled() ? nullptr : std::make_shared<AudioFile>(url, ffmpegPath);
            };
            result.file = co_await inBackground(owner, decode);
        }
    } catch (const AudioFileError& error) {
        result.error = error.errorDescription();
    }
    co_return result;
}

} // namespace ostrel
