// A folder as it stands, with the histories in it: what a seal writes down and a verification compares.
//
// Links are never followed, neither those to files nor those to folders, and are told. Blocks on the disk; for any
// thread.
#pragma once

#include "custody/ignore_patterns.h"
#include "custody/seal_history.h"

#include <vector>

namespace ostrel {

struct FoundFile {
    QString path;          // from the surveyed folder
    std::size_t scope = 0; // of FolderSurvey::scopes: the nearest history
    quint64 size = 0;      // bytes
    QDateTime modified;
    Digests digests; // as far as they were asked for
    QString problem; // why it could not be read
};

struct FoundFolder {
    QString name;
    QString path; // empty for the surveyed folder
    std::size_t scope = 0;
    std::vector<std::size_t> files; // of FolderSurvey::files
    std::vector<FoundFolder> folders;
};

// A folder with a history of its own; the first is the surveyed one, whether or not it has one.
struct SealScope {
    QString path; // from the surveyed folder; empty for itself
    SealHistory history;
    QStringList patterns; // that hold in it: its history's, and those given
    IgnorePatterns ignore;

    QString within(const QString& path) const; // of a path from the surveyed folder, from this one
    QString above(const QString& path) const;  // the other way
};

struct FolderSurvey {
    QString root;
    std::vector<SealScope> scopes;
    std::vector<FoundFile> files;
    FoundFolder tree;
    QStringList problems; // sentences: what could not be listed
    QStringList remarks;  // links and the like, which were left out

    // What the histories tell, by path from the surveyed folder; ignored files are left out.
    KnownFiles known() const;
    QStringList faults() const; // of all histories
};

// `patterns` hold besides those of the histories.
FolderSurvey surveyFolder(const QString& folder, const QStringList& patterns = {});

} // namespace ostrel
