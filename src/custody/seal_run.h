// Seals what a run made: which folders that takes, a generation for each of them, and what the lists say of where every
// new file comes from.
//
// A generation is of a whole folder: whatever else lies in it, sources too, is compared and written down with it.
// Blocks; for any thread.
#pragma once

#include "custody/survey_digests.h"
#include "foundation/records/item_outcome.h"

namespace ostrel {

struct RunSealFacts {
    QString job;          // "split": what the lists name as the files' making
    QString outputFolder; // absolute; empty: each file went beside its source
    std::vector<ItemOutcome> outcomes;
};

struct RunSeal {
    QString folder;
    int generation = 0;    // 0: refused
    QString list;          // path of the folder's own
    QStringList changed;   // files that are not what earlier generations told, paths from the folder
    QStringList rewritten; // likewise, but by this run, which was to change them where they stand
    QStringList missing;
    QStringList unlisted; // new files that the folder's seal passes over, by its patterns or behind a link
    QStringList renewed;  // of a generation of what a run touched: all that it lists
    QStringList refused;  // why nothing was written; sentences

    bool isWhole() const { return refused.isEmpty() && changed.isEmpty() && missing.isEmpty() && unlisted.isEmpty(); }
};

// The folder of all outputs below `outputFolder`, else each output's own. Where one lies at or below a sealed folder,
// the nearest such takes its place, so that no second history begins below the first. None lies within another.
QStringList foldersToSeal(const QStringList& outputs, const QString& outputFolder);

// One for each folder, those that were refused too; none where no item has outputs. Only items that succeeded are
// looked at. A stop leaves the remaining folders out.
std::vector<RunSeal> sealRun(const RunSealFacts& facts, const CustodyWatch& watch = {});

} // namespace ostrel
