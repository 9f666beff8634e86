#include "platform/audio/audio_file.h"
#include "platform/files/files.h"
#include "platform/paths.h"
#include "support/sound.h"
#include "support/test_folder.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using testing::markedSample;
using testing::TestFolder;

TEST(AudioFileInterleaved, ReadsWholeFramesInTheFilesOrder) {
    const TestFolder folder;
    constexpr int channels = 3;
    constexpr qint64 frames = 10'000;
    AudioFile file(testing::writeSound(folder.path(QStringLiteral("a.wav")), channels, frames));
    std::vector<float> block(channels * 4096 + 2); // room for a part of a frame, which is not used
    qint64 frame = 0;
    while (const int got = file.readInterleaved(block)) {
        for (int i = 0; i < got; ++i, ++frame) {
            for (int channel = 0; channel < channels; ++channel) {
                ASSERT_EQ(block[std::size_t(i * channels + channel)], markedSample(channel, frame));
            }
        }
        EXPECT_EQ(file.position(), frame);
    }
    EXPECT_EQ(frame, frames);
    EXPECT_EQ(file.readInterleaved(block), 0);
    file.seek(frames - 5);
    EXPECT_EQ(file.readInterleaved(block), 5);
    file.seek(0);
    EXPECT_EQ(file.readInterleaved(std::span(block).first(2)), 0) << "no room for a frame";
}

TEST(HiddenFiles, AreListedOnlyWhenAskedFor) {
    const TestFolder folder;
    for (const char* name : {"a.wav", ".b.wav", ".trash/c.wav"}) folder.write(QString::fromLatin1(name), "x");
    const auto names = [&](files::HiddenEntries hidden) {
        QStringList result;
        const auto found = files::list(folder.path(), true, {QStringLiteral("wav")}, hidden);
        for (const QString& file : found->files) result << paths::lastComponent(file);
        return result;
    };
    EXPECT_EQ(names(files::HiddenEntries::leftOut), QStringList{QStringLiteral("a.wav")});
    EXPECT_EQ(names(files::HiddenEntries::included),
              (QStringList{QStringLiteral(".b.wav"), QStringLiteral("c.wav"), QStringLiteral("a.wav")}));
}

} // namespace
} // namespace ostrel
