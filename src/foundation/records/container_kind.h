// Small enumerations that classify audio files, with their words.
#pragma once

#include <QString>

namespace ostrel {

enum class ContainerKind { riffWave, rf64Wave, wave64, aiff, caf, mp4, flac, ogg, mp3, unknown };

// How much metadata care an output of that container can get.
enum class MetadataTier { bwfGuaranteed, bestEffort, none };

enum class CodecType { pcm, lossless, lossy, unknown };

QString rawText(ContainerKind kind);     // the case name
QString displayName(ContainerKind kind); // "WAV", "RF64", ..., "M4A", ...
QString reportName(ContainerKind kind);  // as displayName, but "MP4" for MP4 files

QString rawText(MetadataTier tier);
QString reportName(MetadataTier tier);

} // namespace ostrel
