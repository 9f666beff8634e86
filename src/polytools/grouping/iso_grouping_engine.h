// Sorts a pile of loose mono WAV files (ISOs) into takes, so that each take can become one poly file. A file is placed
// by the best evidence it has: scene and take from its metadata, then its name, then timecode with duration, then file
// time with duration.
//
// Reads only. Blocks; files are read side by side, as many as the machine has processors, and an outside tool runs for
// each at a time. The outcome depends on the files alone, not on the order in which they come.
#pragma once

#include "foundation/tools/source_answers.h"
#include "polytools/records/iso_group.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <vector>

namespace ostrel {

// Both may be empty, and are called from several threads.
struct GroupingHooks {
    // Asked ahead of every file. Files that were not read when it said yes are missing from the outcome, which a caller
    // that stopped throws away.
    std::function<bool()> isStopped;
    // After every file, once in the scan and once in the reading of metadata.
    std::function<void(int done, int total)> onFile;
};

class ISOGroupingEngine {
public:
    // Either path may be empty; the engine then does what it can without that tool.
    ISOGroupingEngine(const QString& ffprobePath, const QString& bwfmetaeditPath, GroupingHooks hooks = {},
                      std::shared_ptr<SourceAnswers> answers = std::make_shared<SourceAnswers>());

    // In every form of use a file counts once, whatever names lead to it.

    // The mono WAV files of a folder. Throws DomainError "ScanError" 1 if the folder can't be opened.
    GroupingResult groupISOFilesInFolder(const QString& folderURL, bool recursive) const;

    // The mono WAV files of several folders, which may lie in each other. Throws as above.
    GroupingResult groupISOFilesInFolders(const QStringList& folderURLs, bool recursive) const;

    // The mono WAV files among those that the person selected.
    GroupingResult groupISOFiles(const QStringList& urls) const;

    // Records that exist already; nothing is probed.
    GroupingResult groupISOFilesFromList(const std::vector<ISOFile>& files) const;

private:
    struct Found {
        std::vector<ISOFile> files; // by name
        QStringList remarks;
    };
    Found scanForISOFiles(const QStringList& folderURLs, bool recursive) const;
    std::vector<ISOFile> readMonoFiles(const QStringList& urls, const QString& logTag) const;
    GroupingResult processISOFiles(std::vector<ISOFile> files) const;

    template <class Record, class Item, class Read>
    std::vector<Record> readAll(const std::vector<Item>& items, Read read) const;

    QString ffprobePath_;
    QString bwfmetaeditPath_;
    GroupingHooks hooks_;
    std::shared_ptr<SourceAnswers> answers_;
};

} // namespace ostrel
