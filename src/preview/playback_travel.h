// What a person asks of a player beyond start and stop: a stretch of time, whether it goes around, how fast it goes.
// Both players hold one and carry it out.
#pragma once

#include "platform/audio/audio_player.h"

#include <QProperty>
#include <optional>

namespace ostrel {

struct TimeSpan {
    double from = 0; // seconds
    double to = 0;

    double length() const { return to - from; }
    bool holds(double time) const { return time >= from && time < to; }
    bool operator==(const TimeSpan&) const = default;
};

class PlaybackTravel {
public:
    static constexpr int kFastest = 8;            // times
    static constexpr double kShortestLoop = 0.05; // seconds: less is a tone and no sound

    QProperty<std::optional<TimeSpan>> selection;
    QProperty<bool> loops{false};
    QProperty<int> speed{1}; // times; below 0 backwards

    // What goes around: the selection, the whole file without one; nothing where nothing does, and at other speeds.
    std::optional<TimeSpan> loop(double duration) const;
    PlayerTravel forPlayer(double duration) const;

    // The speed after a press of J (-1) or L (1). Every further press doubles it; the other key turns around.
    int shuttled(int direction, bool isPlaying) const;

    // Another file: its stretches are others. That it loops stays.
    void forget();
};

} // namespace ostrel
