// Seals a folder: reads every file, compares it with what earlier generations told, and appends a generation to the
// folder's history (`ascmhl/`), and to that of each folder below that has one of its own.
//
// What was written once is never changed. Nothing at all is written where a file can't be read, or where the history is
// damaged: a seal must not speak for what it did not see. Blocks; for any thread.
#pragma once

#include "custody/survey_digests.h"

namespace ostrel {

struct SealOptions {
    HashFormat format = HashFormat::xxh128; // not xxh32
    QStringList ignore;                     // patterns, besides those of earlier generations
    // What a list says of its making. Empty: those of this machine and this program.
    QString host;
    QString tool;
    QString toolVersion;
    std::function<QDateTime()> now; // empty: the clock
    // What a list is to carry for a file, by path from the folder: where it comes from.
    std::map<QString, ForeignElement> metadata;
    // A generation of these files alone, by path from the folder: others are neither read nor listed, and no hash of a
    // folder is told. Where none of them is there, no generation is written.
    std::optional<std::set<QString>> only;
};

enum class SealedState {
    original, // the first hash of it
    verified, // what earlier generations told
    failed,   // it was something else; written down as that
    renamed,  // the only new file that holds what the only missing one of its size held
    missing,  // listed and gone
};
QString rawText(SealedState state); // "original"

struct SealedFile {
    QString path;
    SealedState state = SealedState::original;
    QByteArray digest;    // of the format asked for; of a missing one empty
    QString previousPath; // of a renamed one
};

struct SealResult {
    QString folder;
    HashFormat format = HashFormat::xxh128;
    int generation = 0;            // of the folder itself; 0: none was written
    QStringList lists;             // paths written, the folder's own last
    std::vector<SealedFile> files; // by path
    QStringList remarks;

    int count(SealedState state) const;
    bool isWhole() const; // nothing failed, nothing is missing
};

// Nothing was written; `reasons` are sentences.
class SealRefusedError : public FileError {
public:
    explicit SealRefusedError(const QStringList& sentences) : FileError(sentences.join(u'\n')), reasons(sentences) {}
    QStringList reasons;
};

// Throws SealRefusedError, StoppedError, FileError.
SealResult sealFolder(const QString& folder, const SealOptions& options = {}, const CustodyWatch& watch = {});

} // namespace ostrel
