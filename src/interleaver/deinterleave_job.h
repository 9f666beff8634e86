// One multichannel source to its outcome: its channels written, their metadata completed, the source settled.
//
// Blocks; for any thread but the main one. Every failure is in the outcome.
#pragma once

#include "interleaver/deinterleave_engine.h"
#include "interleaver/item_job.h"

namespace ostrel {

class DeinterleaveJob {
public:
    DeinterleaveJob(const RunContext& run, const MultiChannelSource& source,
                    DeinterleaveEngine::StatusUpdate onStatusUpdate);

    ItemReport run();

private:
    Originals originals() const;
    DeinterleaveResult makeOutputs();
    void copyMetadata(const QMap<QString, QString>& names, bool isWhole);
    void copyByTool(const QStringList& unfinished);
    void judgeByLayout(const DeinterleaveResult& result);
    void settle(const DeinterleaveResult& result);

    const RunContext& run_;
    const MultiChannelSource source_;
    const QString name_;
    const DeinterleaveEngine engine_;
    std::ptrdiff_t metadataFailures_ = 0; // files
    QStringList bextWarnings_;
    MetadataRecord compared_; // with the source, read back
    ItemReport report_;
};

} // namespace ostrel
