// The road without a child process: files are made of their sources' bytes, audio and head, in one pass.
//
//     DirectRoad road(sources, 1);
//     if (!road.objection().isEmpty()) ...    // the ffmpeg road, then
//     road.make(outputs);                     // whole files under their private names
//
// Takes WAV files (RIFF, RF64, BW64) of integers or floats of one width and rate. Samples are bytes in another order:
// width, valid bits and kind stay. Blocks; for any thread but the main one.
#pragma once

#include "foundation/proof/source_hashes.h"
#include "roads/planned_output.h"
#include "wave/channel_copy.h"
#include "wave/wave_layout.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <map>
#include <stdexcept>
#include <vector>

namespace ostrel {

class RoadError : public std::runtime_error {
public:
    explicit RoadError(const QString& why) : std::runtime_error(why.toStdString()), description(why) {}
    QString description;
};

class DirectRoad {
public:
    // The files that outputs are going to be made of; their headers are walked here. `channels`: how many each of them
    // has to have. A channel more than the job knows of would be left out of every output, and nobody would miss it.
    DirectRoad(const QStringList& sources, int channels);

    // Why the sources can't go this way, in words for a log; empty where they can.
    const QString& objection() const { return objection_; }

    // All files, or none that counts: what stands in them after a RoadError is a part. Gives warnings, whole sentences.
    // `progress` (0 to 1) is called from threads of the road's own, one at a time. Outputs end with the shortest
    // source. `hashes`: takes note of what was read of the sources; null: nobody asks.
    QStringList make(const std::vector<PlannedOutput>& outputs, const std::function<void(double)>& progress = {},
                     SourceHashes* hashes = nullptr) const;

private:
    QString refusalOf(const QString& file, int channels) const;
    const WaveLayout& layoutOf(const QString& file) const;
    WaveFormat formatOf(const PlannedOutput& output) const;
    CopyTarget targetOf(const PlannedOutput& output, std::uint64_t frames, QStringList& warnings) const;
    CopyPlan planOf(const std::vector<PlannedOutput>& outputs, QStringList& warnings) const;

    QStringList sources_; // each once
    std::map<QString, std::optional<WaveLayout>> layouts_;
    QString objection_;
};

} // namespace ostrel
