// The lists of one run: what a sealed survey becomes, a list for each history in it. Pure.
#pragma once

#include "custody/file_verdict.h"
#include "custody/seal_folder.h"

namespace ostrel {

// A generation that is to be written.
struct NewGeneration {
    QString folder; // absolute
    QString name;   // of the list
    QByteArray list;
    QByteArray oldChain; // as it must still stand; empty: none
    QByteArray newChain;
};

struct GenerationPlan {
    std::vector<NewGeneration> generations; // those of inner folders first
    std::vector<SealedFile> files;          // by path, missing ones too
};

struct GenerationFacts {
    QDateTime start;             // one for all lists of a run
    std::vector<QDateTime> read; // when each file of the survey was
    SealOptions options;         // host, tool and version filled in
};

// Every file of the survey has been read. Throws HashListError for names that XML can't hold.
GenerationPlan planGenerations(const FolderSurvey& survey, const GenerationFacts& facts);

} // namespace ostrel
