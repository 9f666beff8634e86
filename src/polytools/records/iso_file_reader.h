// The audio facts of one loose WAV file: one ffprobe run a value, so that a file that lacks one value keeps the others.
#pragma once

#include "foundation/records/engine_choice.h"
#include "polytools/records/iso_file.h"

#include <QString>

namespace ostrel {

class ISOFileReader {
public:
    explicit ISOFileReader(const QString& ffprobePath, EngineChoice engine = EngineChoice::ffmpeg)
        : ffprobePath_(ffprobePath), engine_(engine) {}

    // All three throw DomainError "FFProbe": 1 without ffprobe, 2 for output that is no number. ProcessLaunchError if
    // ffprobe can't be started.
    int channelCount(const QString& url) const;
    int sampleRate(const QString& url) const;  // Hz
    double duration(const QString& url) const; // seconds

    // Never throws; 0 where it can't be had.
    int bitDepth(const QString& url) const;

    // The record of a file known to be mono; what can't be read is 0.
    ISOFile readMono(const QString& url) const;

private:
    QString value(const QString& url, const QString& entry) const;

    QString ffprobePath_;
    EngineChoice engine_;
};

} // namespace ostrel
