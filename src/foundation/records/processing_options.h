// The Interleaver's options, as a person sets them.
#pragma once

#include "foundation/records/container_kind.h"
#include "foundation/records/engine_choice.h"

#include <QString>
#include <array>
#include <optional>

namespace ostrel {

enum class OutputFormatPolicy { smart, alwaysWAV, preserveFormat };
inline constexpr std::array kAllOutputFormatPolicies{OutputFormatPolicy::smart, OutputFormatPolicy::alwaysWAV,
                                                     OutputFormatPolicy::preserveFormat};
QString rawText(OutputFormatPolicy policy);
QString displayName(OutputFormatPolicy policy);

enum class ChannelSeparator { dot, underscore };
inline constexpr std::array kAllChannelSeparators{ChannelSeparator::dot, ChannelSeparator::underscore};
QString rawText(ChannelSeparator separator); // "." or "_"

// What becomes of the two sources of a certified L/R merge.
enum class LRCleanupMode { none, verifiedConsolidation, hardDelete };
QString rawText(LRCleanupMode mode);

struct ProcessingOptions {
    EngineChoice engine = EngineChoice::ffmpeg;
    OutputFormatPolicy outputFormatPolicy = OutputFormatPolicy::smart;
    ChannelSeparator channelSeparator = ChannelSeparator::dot;
    bool skipIfExists = true;
    bool overwriteExisting = false; // read by de-interleaving only
    bool moveOriginalsInterleave = false;
    bool deleteOriginalsInterleave = false;
    LRCleanupMode lrCleanupMode = LRCleanupMode::none;
    bool moveOriginalsDeinterleave = false;
    bool deleteOriginalsDeinterleave = false;
    bool includeSubfolders = true;
    bool proves = false; // every output is read back and compared, channel by channel

    bool operator==(const ProcessingOptions&) const = default;
};

// The output's extension, and the format that the engines are told. An unknown container gives "unknown" (meant: it
// reaches the file's name, and the engines write a WAV stream).
QString outputFormat(std::optional<ContainerKind> container, OutputFormatPolicy policy);

} // namespace ostrel
