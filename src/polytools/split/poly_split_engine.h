// One poly to mono files: one ffmpeg run a channel, each ISO with the poly's metadata and an iXML that speaks of one
// track.
//
// Blocks its caller; for the thread pool. The poly is only read. One failed channel never stops the others, and failed
// metadata never fails an ISO: the log tells.
#pragma once

#include "polytools/records/ixml_track_list.h"
#include "polytools/records/split_records.h"
#include "polytools/services/engine_services.h"

#include <QStringList>
#include <functional>

namespace ostrel {

class PolySplitEngine {
public:
    using Progress = std::function<void(double fraction, const QString& name)>;

    explicit PolySplitEngine(PolyEngineTools tools, PolyEngineHooks hooks = {});

    // The folder must exist. Throws nothing of its own.
    SplitResult split(const PolyFile& polyFile, const QString& outputFolder, const SplitOptions& options,
                      const Progress& progress = {}) const;

    static QStringList buildSplitCommand(const PolyFile& polyFile, int channel, const QString& output);

private:
    const PolyEngineTools tools_;
    const PolyEngineHooks hooks_;
};

} // namespace ostrel
