// Finds the files that an analysis looks at.
//
// Blocks; for any thread.
#pragma once

#include "foundation/run/recording_list.h"
#include "platform/background.h"

#include <QString>
#include <QStringList>
#include <optional>

namespace ostrel {

// What one analysis looks at, taken when it starts: files (and folders among them), if there is such a list, otherwise
// the folder.
struct RecordingSearch {
    QString folder;
    std::optional<QStringList> files;
    bool recursive = true;
    bool skipMono = false; // leave out files with fewer than two channels
    QString ffmpegPath;

    QStringList selection() const { return files.value_or(QStringList{folder}); }
};

struct FoundRecordings {
    QStringList files;
    QStringList remarks; // one sentence each: what could not be read, and further names of one file
    int beforeFilter = 0;
};

FoundRecordings findRecordings(const RecordingSearch& search, const TaskHandle& handle);

// The audio files of files and folders, hidden ones too, each once.
CollectedRecordings collectAudioFiles(const QStringList& selection, bool recursive);

// What the search took its files from, as it is now.
QStringList recordingsNow(const RecordingSearch& search);

} // namespace ostrel
