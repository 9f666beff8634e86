#include "stereovalidator/recording_search.h"

#include "platform/audio/audio_file.h"
#include "platform/files/files.h"
#include "platform/paths.h"
#include "stereovalidator/validator_words.h"

namespace ostrel {
namespace {

// A file that can't be opened is kept: the analysis will say what is wrong with it.
bool isMono(const QString& file, const QString& ffmpegPath) {
    try {
        return AudioFile(file, ffmpegPath).channelCount() < 2;
    } catch (const AudioFileError&) {
        return false;
    }
}

} // namespace

CollectedRecordings collectAudioFiles(const QStringList& selection, bool recursive) {
    CollectedRecordings found =
        collectRecordings(selection, recursive, validatorExtensions(), files::HiddenEntries::included);
    // What a Mac writes beside a file on a foreign disk: its attributes, under a name with the file's extension.
    found.files.removeIf(
        [](const QString& file) { return paths::lastComponent(file).startsWith(QStringLiteral("._")); });
    for (const QString& folder : found.unopened) {
        found.remarks << QStringLiteral("Folder can't be read: ") + folder;
    }
    return found;
}

FoundRecordings findRecordings(const RecordingSearch& search, const TaskHandle& handle) {
    FoundRecordings found;
    CollectedRecordings collected = collectAudioFiles(search.selection(), search.recursive);
    found.files = std::move(collected.files);
    found.remarks = std::move(collected.remarks);
    found.beforeFilter = static_cast<int>(found.files.size());
    if (search.skipMono) { // which opens each of them
        found.files.removeIf(
            [&](const QString& file) { return !handle.isCancelled() && isMono(file, search.ffmpegPath); });
    }
    return found;
}

QStringList recordingsNow(const RecordingSearch& search) {
    QStringList recordings;
    for (const QString& selected : search.selection()) {
        if (!paths::isFolder(selected)) {
            recordings << selected;
        } else if (const auto listing =
                       files::list(selected, search.recursive, validatorExtensions(), files::HiddenEntries::included)) {
            recordings << listing->files;
        }
    }
    return recordings;
}

} // namespace ostrel
