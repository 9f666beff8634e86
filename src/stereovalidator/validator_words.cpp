#include "stereovalidator/validator_words.h"

#include "foundation/logs/debug_log.h"
#include "platform/files/standard_folders.h"
#include "platform/paths.h"

namespace ostrel {

const QStringList& validatorExtensions() {
    static const QStringList extensions =
        QStringLiteral("wav aif aiff aifc caf flac mp3 m4a aac mp4 ogg").split(QLatin1Char(' '));
    return extensions;
}

void writeValidatorDebugLine(const QString& text, const QString& tag) {
    appendToDebugLog(tag, text);
    // A second copy among this user's own caches: the shared folder is emptied at every start of the machine.
    appendToLog(paths::append(paths::parent(cacheFolder()), QStringLiteral("ostrel_debug.log")),
                debugLogLine(tag, text));
}

} // namespace ostrel
