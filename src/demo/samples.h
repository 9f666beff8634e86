// The demo recordings, one function a tool.
#pragma once

#include "demo/demo_wave.h"

#include <QString>
#include <functional>

namespace ostrel {

struct SampleWriter {
    QString folder;
    std::function<void(const QString& path)> onWritten;
    std::function<bool(const QString& relativePath)> takes; // others are left out; none: all are written

    // Throws FileError.
    void write(const QString& relativePath, const DemoWave& wave) const;
};

// L/R pairs in several naming styles and conditions, surround sets complete and not, and an interleaved file a layout.
void writeInterleaverSamples(const SampleWriter& writer);

// A stereo file of every classification, and two that are no stereo files.
void writeValidatorSamples(const SampleWriter& writer);

// Polys with iXML, ISOs of three takes, and a pile that takes every way of grouping.
void writePolySamples(const SampleWriter& writer);

} // namespace ostrel
