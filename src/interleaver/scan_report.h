// What the log says at the end of a scan.
#pragma once

#include "foundation/logs/processing_log.h"
#include "foundation/records/interleave_group.h"
#include "foundation/records/multi_channel_source.h"

#include <functional>
#include <vector>

namespace ostrel {

using SayLine = std::function<void(LogLevel level, const QString& text)>;

void sayWhatWasGrouped(const std::vector<InterleaveGroup>& groups, const ChannelLayout& layout, const SayLine& say);
void sayWhatWasFound(const std::vector<MultiChannelSource>& sources, const ChannelLayout& layout, const SayLine& say);

} // namespace ostrel
