// Mono ISOs of one take to one poly, through ffmpeg's amerge, with the take's metadata and a rebuilt track list.
//
// Blocks its caller; for the thread pool. The ISOs are only read. Failed metadata never fails a join: the log tells.
#pragma once

#include "polytools/records/join_records.h"
#include "polytools/services/engine_services.h"

#include <QStringList>
#include <functional>
#include <vector>

namespace ostrel {

class PolyJoinEngine {
public:
    using Progress = std::function<void(double fraction, const QString& step)>;

    explicit PolyJoinEngine(PolyEngineTools tools, PolyEngineHooks hooks = {});

    // At least two files. The INTERLEAVE_INDEX of their own iXML orders them, equal ones stay as given. Rates and
    // depths must agree, durations need not. Throws nothing of its own.
    JoinResult join(const std::vector<ISOFile>& isoFiles, const QString& outputURL, const JoinOptions& options,
                    const Progress& progress = {}) const;

    // `namesSpeakers`: some of the files say which speaker they feed. amerge would put such channels into the order of
    // the speakers, or mix them; so each is made plain mono ahead of it, without a change to its samples.
    static QStringList buildJoinCommand(const std::vector<ISOFile>& sorted, const QString& output,
                                        bool namesSpeakers = false);

private:
    const PolyEngineTools tools_;
    const PolyEngineHooks hooks_;
};

} // namespace ostrel
