#include "foundation/tools/wave_facts.h"

#include "support/test_folder.h"

#include <QDirIterator>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

QStringList recordings() {
    QStringList files;
    QDirIterator walk(samplesFolder(), {u"*.wav"_s, u"*.WAV"_s}, QDir::Files, QDirIterator::Subdirectories);
    while (walk.hasNext()) files << walk.next();
    files.sort();
    return files;
}

// What is read here is what ffprobe tells, of every recording; where it is not, ffprobe would have been asked.
TEST(WaveFacts, AreThoseOfFfprobe) {
    const QString ffprobe = installedTool(u"ffprobe"_s);
    if (samplesFolder().isEmpty() || ffprobe.isEmpty()) GTEST_SKIP() << "no recordings, or no ffprobe";
    int own = 0;
    for (const QString& file : recordings()) {
        const auto mine = factsOfWave(file);
        if (!mine) continue;
        ++own;
        const FileAnalysis theirs = FFProbeParser::analyzeFile(file, ffprobe);
        EXPECT_EQ(mine->channels, theirs.channels) << file.toStdString();
        EXPECT_EQ(mine->channelLayout, theirs.channelLayout) << file.toStdString();
        EXPECT_EQ(mine->sampleRate, theirs.sampleRate) << file.toStdString();
        EXPECT_EQ(mine->bitDepth, theirs.bitDepth) << file.toStdString();
        EXPECT_EQ(mine->bitsPerRawSample, theirs.bitsPerRawSample) << file.toStdString();
        EXPECT_EQ(mine->codecName, theirs.codecName) << file.toStdString();
        EXPECT_EQ(mine->sampleFmt, theirs.sampleFmt) << file.toStdString();
        EXPECT_EQ(mine->duration, theirs.duration) << file.toStdString();
        EXPECT_EQ(mine->fileSize, theirs.fileSize) << file.toStdString();
    }
    EXPECT_GE(own, 100);
}

TEST(WaveFacts, LeaveToFfprobeWhatHasTwoReadings) {
    const TestFolder folder;
    EXPECT_FALSE(factsOfWave(folder.write(u"text.wav"_s, "no recording")));
    EXPECT_FALSE(factsOfWave(folder.path(u"gone.wav"_s)));
}

TEST(WaveFacts, SpeakersHaveNames) {
    EXPECT_EQ(speakerLayoutName(0, 2), QString());
    EXPECT_EQ(speakerLayoutName(0x3F, 6), u"5.1"_s);
    EXPECT_EQ(speakerLayoutName(0x3F, 5), QString());
    EXPECT_EQ(speakerLayoutName(0x1, 1), u"1 channels (FL)"_s);
}

} // namespace
} // namespace ostrel::testing
