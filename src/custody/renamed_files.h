// Which new files are missing ones under another name.
#pragma once

#include "custody/folder_survey.h"

namespace ostrel {

// The formats in which new files have to be read for that, besides `format`: those of missing files of their size that
// no list holds in that one. One entry a file of the survey.
void addFormatsForRenames(const FolderSurvey& survey, HashFormat format, std::vector<HashFormats>& formats);

// New path -> old path, both from the surveyed folder: within one history, and only where exactly one missing and one
// new file of that size and digest are there. Empty files tell nothing.
std::map<QString, QString> renamedFiles(const FolderSurvey& survey, HashFormat format);

} // namespace ostrel
