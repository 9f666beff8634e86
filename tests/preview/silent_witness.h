// A second player on a test's output that plays silence, so that a test that waits for nothing to happen can wait for
// something: the looks that this one takes at its position. All players look at an equal interval and hang on one
// output, so by its fourth look every other has had occasion for two, however slow the machine is.
#pragma once

#include "preview/audio_playback_engine.h"
#include "support/sound.h"
#include "support/test_folder.h"

namespace ostrel::testing {

class SilentWitness {
public:
    explicit SilentWitness(AudioOutput& output) : engine_(output) {
        const auto silence = [](int, qint64) { return 0.0F; };
        engine_.load(writeSound(folder_.path(QStringLiteral("silence.wav")), 1, 480'000, silence));
    }

    bool waitForLooks(int count) {
        int looks = 0;
        const auto counting = engine_.currentTime.addNotifier([&] { ++looks; });
        return waitUntil([&] {
            if (!engine_.isPlaying.value()) engine_.play();
            return looks >= count;
        });
    }

private:
    TestFolder folder_;
    AudioPlaybackEngine engine_;
};

} // namespace ostrel::testing
