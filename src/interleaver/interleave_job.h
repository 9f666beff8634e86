// One group from its sources to its outcome: the output made, its metadata completed, the sources settled.
//
// Blocks; for any thread but the main one. Every failure is in the outcome; nothing is thrown but by memory.
#pragma once

#include "foundation/records/interleave_group.h"
#include "interleaver/interleave_engine.h"
#include "interleaver/item_job.h"

namespace ostrel {

class InterleaveJob {
public:
    InterleaveJob(const RunContext& run, const InterleaveGroup& group, InterleaveEngine::StatusUpdate onStatusUpdate);

    ItemReport run();

    // The path of the group's output in this run; empty: there is none.
    static QString outputOf(const InterleaveGroup& group, const RunContext& run);

private:
    bool isUnderCleanup() const;
    bool mayTakeSourcesAway() const;
    InterleaveResult makeOutput(const QString& output);
    void copyMetadata(const QString& unfinished, const QString& name, bool isWhole);
    bool copyByTool(const QString& left, const QString& unfinished);
    void finishPlainly(const QString& output);
    void finishVerified(const QString& output);
    ProcessingStatus verified(const QString& output) const;
    ProcessingStatus certified(const QString& output) const;
    void cleanUp(const QString& output);
    AudioProof proofOf(const QString& output) const;
    void say(LogLevel level, LogCategory category, const QString& message);
    void end(const ProcessingStatus& status, LogLevel level, const QString& message);

    const RunContext& run_;
    const InterleaveGroup group_;
    const QStringList sources_; // those that take part, in channel order
    const InterleaveEngine engine_;
    std::optional<MetadataResult> metadata_; // of the copy from "L"; none: there was nothing to copy with, or it threw
    bool metadataFailed_ = false;
    QStringList bextWarnings_;
    MetadataRecord compared_; // with the source, read back
    ItemReport report_;
};

// The folder of the selection that a file lies in, for what is kept beside the library: the innermost of several.
QString libraryRootOf(const QString& file, const QStringList& selection);

} // namespace ostrel
