// Opens a file for a player without holding up the main thread.
#pragma once

#include "platform/audio/audio_file.h"
#include "platform/background.h"

#include <QCoro/QCoroTask>
#include <QProperty>
#include <QString>
#include <memory>

namespace ostrel {

struct OpenedSound {
    std::shared_ptr<AudioFile> file;
    QString error; // where there is no file: the reason
};

// What libsndfile reads is opened before this returns. What only ffmpeg reads is decoded on the thread pool; then
// `isLoading`, a field of `owner`, is set, and the caller's to reset. Main thread. Neither file nor error if `task` was
// cancelled before its turn came.
QCoro::Task<OpenedSound> openSound(QObject* owner, QString url, QString ffmpegPath, TaskHandle task,
                                   QProperty<bool>& isLoading);

} // namespace ostrel
