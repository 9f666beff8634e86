// Reads the files of a survey, several side by side, each once.
#pragma once

#include "custody/digests/file_digests.h"
#include "custody/folder_survey.h"

namespace ostrel {

struct CustodyProgress {
    quint64 bytesDone = 0;
    quint64 bytesTotal = 0;
    QString file; // the one just read, from the surveyed folder
};

// How a caller follows and stops a job. Both may be empty, and are called from the job's own threads; `progress` by one
// at a time, a few times a second.
struct CustodyWatch {
    std::function<void(const CustodyProgress&)> progress;
    std::function<bool()> isStopped;
    std::size_t width = 0; // files side by side; 0: two, or as many as processors where the digests are slow
};

// Fills `digests` or `problem` of each file with the formats of the same place; none: the file is not read. Throws
// StoppedError.
void digestFiles(FolderSurvey& survey, const std::vector<HashFormats>& formats, const CustodyWatch& watch);

} // namespace ostrel
