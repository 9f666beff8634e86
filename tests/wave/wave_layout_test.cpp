#include "wave/wave_bytes.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace ostrel {
namespace {

using namespace testing;
using Kind = WaveLayout::Kind;

TEST(WaveLayout, RiffTellsFormatAndData) {
    const Written file("RIFF\x2A\0\0\0WAVE"_b + monoFormat() + "data\x06\0\0\0"_b + // three frames
                       "\x01\x02\x03\x04\x05\x06"_b);
    ASSERT_TRUE(file.layout);
    const WaveLayout& layout = *file.layout;
    EXPECT_EQ(layout.kind, Kind::riff);
    EXPECT_EQ(layout.fileSize, 50u);
    EXPECT_EQ(layout.riffSize, 42u);
    EXPECT_EQ(idsOf(layout), (QStringList{QStringLiteral("fmt "), QStringLiteral("data")}));
    EXPECT_EQ(layout.data->payload, 44u);
    EXPECT_EQ(layout.data->size, 6u);
    EXPECT_EQ(layout.audioBytes(), 6u);
    EXPECT_EQ(layout.frames(), 3u);
    EXPECT_FALSE(layout.isStreamed || layout.hasLongSizes || layout.sizesDisagree);
    EXPECT_EQ(layout.format->tag, WaveFormat::pcm);
    EXPECT_EQ(layout.format->channels, 1);
    EXPECT_EQ(layout.format->sampleRate, 48000u);
    EXPECT_EQ(layout.format->bits, 16);
    EXPECT_EQ(layout.format->bytesPerSample(), 2);
    EXPECT_EQ(layout.format->bytesPerSecond(), 96000);
    EXPECT_FALSE(layout.format->isExtensible);
    EXPECT_EQ(file.unexplained, 0u);
    EXPECT_EQ(missingBytes(layout), 0u);
}

TEST(WaveLayout, AnExtensibleHeaderIsLookedThrough) {
    const Written file("RIFF\x44\0\0\0WAVE"_b
                       "fmt \x28\0\0\0"       // 40 bytes
                       "\xFE\xFF"             // extensible
                       "\x02\0"               // channels
                       "\x44\xAC\0\0"         // 44,100 Hz
                       "\x98\x09\x04\0"       // bytes a second
                       "\x06\0"               // bytes a frame
                       "\x18\0"               // bits of the container
                       "\x16\0"               // 22 bytes more
                       "\x14\0"               // 20 bits that hold sound
                       "\x03\0\0\0"           // front left, front right
                       "\x03\0\0\0\0\0\x10\0" // the GUID of float samples
                       "\x80\0\0\xAA\0\x38\x9B\x71"
                       "data\0\0\0\0"_b);
    ASSERT_TRUE(file.layout && file.layout->format);
    const WaveFormat& format = *file.layout->format;
    EXPECT_TRUE(format.isExtensible);
    EXPECT_EQ(format.tag, WaveFormat::ieeeFloat);
    EXPECT_EQ(format.channels, 2);
    EXPECT_EQ(format.sampleRate, 44100u);
    EXPECT_EQ(format.bits, 24);
    EXPECT_EQ(format.validBits, 20);
    EXPECT_EQ(format.speakers, 3u);
    EXPECT_EQ(format.bytesPerSample(), 3);
}

TEST(WaveLayout, TwentyFourBitsInFourBytes) {
    const Written file("RIFF\x2C\0\0\0WAVE"_b
                       "fmt \x10\0\0\0\x01\0\x01\0\x80\xBB\0\0"
                       "\x00\xEE\x02\0" // 192,000 bytes a second
                       "\x04\0"         // four bytes a frame
                       "\x18\0"         // 24 bits
                       "data\x08\0\0\0\0\x01\x02\x03\0\x04\x05\x06"_b);
    ASSERT_TRUE(file.layout);
    EXPECT_EQ(file.layout->format->bits, 24);
    EXPECT_EQ(file.layout->format->bytesPerSample(), 4);
    EXPECT_EQ(file.layout->frames(), 2u);
}

TEST(WaveLayout, AFormatThatIsNoneHasNoFrames) {
    const Written none("RIFF\x10\0\0\0WAVE"_b
                       "data\x04\0\0\0\x01\x02\x03\x04"_b);
    ASSERT_TRUE(none.layout);
    EXPECT_FALSE(none.layout->format);
    EXPECT_EQ(none.layout->frames(), 0u);
    QByteArray nought = monoFormat();
    nought[20] = 0; // bytes a frame
    const Written zero("RIFF\x28\0\0\0WAVE"_b + nought + "data\x04\0\0\0\x01\x02\x03\x04"_b);
    EXPECT_EQ(zero.layout->frames(), 0u);
    QByteArray uneven = monoFormat();
    uneven[10] = 3; // channels share two bytes
    EXPECT_EQ(Written("RIFF\x24\0\0\0WAVE"_b + uneven + "data\0\0\0\0"_b).layout->format->bytesPerSample(), 0);
    const Written cut("RIFF\x24\0\0\0WAVE"_b + monoFormat().first(14));
    ASSERT_TRUE(cut.layout);
    EXPECT_FALSE(cut.layout->format);
}

QByteArray longSizes(const char* form, const QByteArray& riff, const QByteArray& data) {
    return QByteArray(form) + "\xFF\xFF\xFF\xFFWAVE"_b + "ds64\x28\0\0\0"_b + riff + data +
           "\x03\0\0\0\0\0\0\0"_b + // frames
           "\x01\0\0\0"_b +         // one row
           "iXML\x05\0\0\0\0\0\0\0"_b;
}

TEST(WaveLayout, Rf64AndBw64TellTheirSizesInTheirFirstChunk) {
    for (const char* form : {"RF64", "BW64"}) {
        const Written file(longSizes(form, "\x68\0\0\0\0\0\0\0"_b, "\x06\0\0\0\0\0\0\0"_b) + monoFormat() +
                           "iXML\xFF\xFF\xFF\xFF<odd>\0"_b + // its size stands in the row
                           "data\xFF\xFF\xFF\xFF"_b + "\x01\x02\x03\x04\x05\x06"_b);
        ASSERT_TRUE(file.layout) << form;
        const WaveLayout& layout = *file.layout;
        EXPECT_EQ(layout.kind, form[0] == 'R' ? Kind::rf64 : Kind::bw64);
        EXPECT_TRUE(layout.hasLongSizes);
        EXPECT_EQ(layout.riffSize, 104u);
        EXPECT_EQ(idsOf(layout).join(u'|'), QStringLiteral("ds64|fmt |iXML|data"));
        EXPECT_EQ(layout.chunks[2].size, 5u);
        EXPECT_EQ(layout.data->size, 6u);
        EXPECT_EQ(layout.frames(), 3u);
        EXPECT_FALSE(layout.isStreamed || layout.sizesDisagree);
        EXPECT_EQ(file.unexplained, 0u);
    }
}

TEST(WaveLayout, TheLongSizesOfMoreThanFourGigabytes) {
    const Written file(longSizes("RF64", "\x60\0\0\0\x02\0\0\0"_b, "\x06\0\0\0\x02\0\0\0"_b) + monoFormat() +
                       "data\xFF\xFF\xFF\xFF\x01\x02"_b);
    EXPECT_EQ(file.layout->data->size, 0x2'0000'0006u);
    EXPECT_EQ(file.layout->frames(), 1u); // the file ends far ahead of that
    EXPECT_EQ(missingBytes(*file.layout), 0x2'0000'0004u);
}

TEST(WaveLayout, Rf64SizesThatDisagree) {
    const auto disagree = [](const QByteArray& riff, const QByteArray& longData, const QByteArray& shortData) {
        const Written file(longSizes("RF64", riff, longData) + monoFormat() + "data"_b + shortData +
                           "\x01\x02\x03\x04\x05\x06"_b);
        return file.layout->sizesDisagree;
    };
    const QByteArray six = "\x06\0\0\0\0\0\0\0"_b;
    const QByteArray told = "\xFF\xFF\xFF\xFF"_b;
    EXPECT_FALSE(disagree("\x5A\0\0\0\0\0\0\0"_b, six, told));
    EXPECT_TRUE(disagree("\x40\0\0\0\0\0\0\0"_b, six, told)); // the whole is less than the audio
    EXPECT_FALSE(disagree("\0\0\0\0\0\0\0\0"_b, six, told));  // the writer left it out
    EXPECT_FALSE(disagree("\x5A\0\0\0\0\0\0\0"_b, six, "\x06\0\0\0"_b));
    EXPECT_TRUE(disagree("\x5A\0\0\0\0\0\0\0"_b, six, "\x04\0\0\0"_b));
    EXPECT_FALSE(disagree("\x5A\0\0\0\0\0\0\0"_b, "\0\0\0\0\0\0\0\0"_b, "\x06\0\0\0"_b));
}

TEST(WaveLayout, Rf64WithoutItsFirstChunkIsReadByTheShortSizes) {
    const Written file("RF64\x2A\0\0\0WAVE"_b + monoFormat() + "data\x06\0\0\0\x01\x02\x03\x04\x05\x06"_b);
    EXPECT_FALSE(file.layout->hasLongSizes || file.layout->sizesDisagree);
    EXPECT_EQ(file.layout->frames(), 3u);
}

TEST(WaveLayout, SizesBeyondAllNumbersEndTheWalk) {
    const Written file(longSizes("RF64", "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"_b, "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"_b) +
                       monoFormat() + "data\xFF\xFF\xFF\xFF\x01\x02"_b);
    EXPECT_EQ(file.layout->frames(), 1u);
    EXPECT_GT(missingBytes(*file.layout), std::uint64_t{1} << 62);
    EXPECT_EQ(file.unexplained, 0u);
    EXPECT_EQ(file.layout->chunks.size(), 3u);
}

TEST(WaveLayout, TheWalkEndsAtWhatIsNoHeader) {
    const Written file("RIFF\x40\0\0\0WAVE"_b + monoFormat() + "\x01\x02\x03\x04\x04\0\0\0"_b + // no name of a chunk
                       "data\x04\0\0\0\x01\x02\x03\x04"_b);
    EXPECT_EQ(idsOf(*file.layout), QStringList{QStringLiteral("fmt ")});
    EXPECT_FALSE(file.layout->data);
    EXPECT_EQ(file.unexplained, 0u);
}

TEST(WaveLayout, WhatIsNoWaveFileHasNoLayout) {
    EXPECT_FALSE(Written("").layout);
    EXPECT_FALSE(Written("RIFF\0\0\0\0WAV"_b).layout);
    EXPECT_FALSE(Written("RIFF\0\0\0\0AVI "_b).layout);
    EXPECT_FALSE(Written("FORM\0\0\0\0WAVE"_b).layout);
    EXPECT_TRUE(Written("RIFF\0\0\0\0WAVE"_b).layout);
    const TestFolder folder;
    EXPECT_FALSE(readWaveLayout(folder.path().toStdString()));
    EXPECT_FALSE(readWaveLayout(folder.path(QStringLiteral("none.wav")).toStdString()));
    const std::string pipe = folder.path(QStringLiteral("pipe.wav")).toStdString();
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_FALSE(readWaveLayout(pipe)); // and nobody waits for a writer
}

} // namespace
} // namespace ostrel
