#include "preview/playback_travel.h"

#include <algorithm>
#include <cstdlib>

namespace ostrel {

std::optional<TimeSpan> PlaybackTravel::loop(double duration) const {
    if (!loops.value() || speed.value() != 1) return std::nullopt;
    TimeSpan span = selection.value().value_or(TimeSpan{0, duration});
    span = {std::clamp(span.from, 0.0, duration), std::clamp(span.to, 0.0, duration)};
    return span.length() >= kShortestLoop ? std::optional(span) : std::nullopt;
}

PlayerTravel PlaybackTravel::forPlayer(double duration) const {
    PlayerTravel travel{speed.value(), std::nullopt};
    if (const auto span = loop(duration)) travel.loop = {span->from, span->to};
    return travel;
}

int PlaybackTravel::shuttled(int direction, bool isPlaying) const {
    const int now = speed.value();
    if (!isPlaying || (now > 0) != (direction > 0)) return direction;
    return direction * std::min(kFastest, std::abs(now) * 2);
}

void PlaybackTravel::forget() {
    selection = std::nullopt;
    speed = 1;
}

} // namespace ostrel
