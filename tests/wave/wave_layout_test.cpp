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

TEST(WaveLayout, AnIdThatNobodyCanReadIsBelievedWithinTheDeclaredSizeOnly) {
    const QByteArray chunks = "\x01\x02\x03\x04\x02\0\0\0ab"_b + "data\x04\0\0\0\x01\x02\x03\x04"_b;
    const Written inside("RIFF\x32\0\0\0WAVE"_b + monoFormat() + chunks);
    EXPECT_EQ(inside.layout->frames(), 2u);
    EXPECT_EQ(inside.layout->chunks[1].id, "\x01\x02\x03\x04");
    EXPECT_EQ(inside.layout->fault(), "");
    const Written behind("RIFF\x1C\0\0\0WAVE"_b + monoFormat() + chunks);
    EXPECT_EQ(idsOf(*behind.layout), QStringList{QStringLiteral("fmt ")});
    EXPECT_FALSE(behind.layout->data);
    EXPECT_EQ(behind.unexplained, 0u);
    EXPECT_EQ(behind.layout->fault(), "no chunk at offset 36");
}

TEST(WaveLayout, SpaceThatWasNeverUsedEndsTheWalk) {
    const Written file("RIFF\x40\0\0\0WAVE"_b + monoFormat() + QByteArray(32, '\0'));
    EXPECT_EQ(idsOf(*file.layout), QStringList{QStringLiteral("fmt ")});
    EXPECT_EQ(file.layout->walkEnd, ChunkWalk::End::noHeader);
    EXPECT_EQ(file.layout->walkEndOffset, 36u);
}

TEST(WaveLayout, TellsWhereAndWhyTheWalkEnded) {
    const Written whole("RIFF\x28\0\0\0WAVE"_b + monoFormat() + "data\x04\0\0\0\x01\x02\x03\x04"_b);
    EXPECT_EQ(whole.layout->walkEnd, ChunkWalk::End::file);
    EXPECT_EQ(whole.layout->walkEndOffset, 48u);
    EXPECT_EQ(whole.layout->fault(), "");
    const Written rest("RIFF\x28\0\0\0WAVE"_b + monoFormat() + "data\x04\0\0\0\x01\x02\x03\x04LIS"_b);
    EXPECT_EQ(rest.layout->fault(), "");
    EXPECT_EQ(rest.layout->walkEndOffset, 48u);
    const Written cut("RIFF\x28\0\0\0WAVE"_b + monoFormat() + "data\x64\0\0\0\x01\x02\x03\x04"_b);
    EXPECT_EQ(cut.layout->fault(), "the chunk \"data\" at offset 36 passes the end of the file by 96 bytes");
    EXPECT_EQ(cut.layout->frames(), 2u);
    const Written strange("RIFF\x28\0\0\0WAVE"_b + "b\xE9xt\xFF\0\0\0"_b);
    EXPECT_EQ(strange.layout->fault(), "the chunk \"0x62E97874\" at offset 12 passes the end of the file by 255 bytes");
    QByteArray headers;
    for (std::size_t i = 0; i <= kMostChunks; ++i) headers += "JUNK\0\0\0\0"_b;
    const Written many("RIFF\0\0\0\0WAVE"_b + headers);
    EXPECT_EQ(many.layout->chunks.size(), kMostChunks);
    EXPECT_EQ(many.layout->fault(), "too many chunks, the next at offset 160012");
}

TEST(WaveLayout, OddSizesWithAndWithoutTheirPadByte) {
    const auto told = [](const QByteArray& pad, const QByteArray& next) {
        const Written file("RIFF\x3A\0\0\0WAVE"_b + monoFormat() + "iXML\x05\0\0\0<odd>"_b + pad + next);
        return file.layout;
    };
    const QByteArray data = "data\x04\0\0\0\x01\x02\x03\x04"_b;
    for (const QByteArray& pad : {"\0"_b, "\x01"_b, " "_b, "x"_b}) {
        const auto padded = told(pad, data);
        EXPECT_EQ(padded->frames(), 2u);
        EXPECT_FALSE(padded->chunks[1].lacksPad || padded->chunks[1].isPadUnclear);
        EXPECT_EQ(padded->chunks[1].end(), padded->data->header());
    }
    const auto unpadded = told(QByteArray(), data);
    EXPECT_EQ(unpadded->frames(), 2u);
    EXPECT_TRUE(unpadded->chunks[1].lacksPad);
    EXPECT_EQ(unpadded->chunks[1].end(), unpadded->data->header());
    const auto last = told(QByteArray(), QByteArray());
    EXPECT_TRUE(last->chunks[1].lacksPad);
    EXPECT_EQ(last->walkEndOffset, last->fileSize);
    const auto unclear = told(QByteArray(), "neither of both"_b);
    EXPECT_TRUE(unclear->chunks[1].isPadUnclear);
}

TEST(WaveLayout, ChunksBehindTheAudioAreListedWithTheirSizes) {
    const Written file("RIFF\x46\0\0\0WAVE"_b + monoFormat() + "data\x03\0\0\0\x01\x02\x03\0"_b +
                       "iXML\x04\0\0\0<x/>iXML\x02\0\0\0<>"_b);
    EXPECT_EQ(idsOf(*file.layout).join(u'|'), QStringLiteral("fmt |data|iXML|iXML"));
    EXPECT_EQ(file.layout->find("iXML")->payload, 56u); // the first of them
    EXPECT_EQ(file.layout->chunks[3].size, 2u);
    EXPECT_EQ(file.layout->audioBytes(), 3u);
    EXPECT_EQ(file.layout->frames(), 1u); // and a byte that is none
}

TEST(WaveLayout, AudioAheadOfItsFormat) {
    const Written file("RIFF\x28\0\0\0WAVE"_b + "data\x04\0\0\0\x01\x02\x03\x04"_b + monoFormat());
    EXPECT_EQ(file.layout->frames(), 2u);
    EXPECT_EQ(file.layout->data->payload, 20u);
}

TEST(WaveLayout, NoFrames) {
    const Written file("RIFF\x24\0\0\0WAVE"_b + monoFormat() + "data\0\0\0\0"_b);
    EXPECT_EQ(file.layout->frames(), 0u);
    EXPECT_FALSE(file.layout->isStreamed);
    const Written behind("RIFF\x30\0\0\0WAVE"_b + monoFormat() + "data\0\0\0\0iXML\x04\0\0\0<x/>"_b);
    EXPECT_EQ(behind.layout->frames(), 0u);
    EXPECT_EQ(behind.layout->chunks.size(), 3u);
}

TEST(WaveLayout, LongSizesCountAheadOfTheAudioOfALongFileOnly) {
    const QByteArray table = "ds64\x18\0\0\0"_b + "\x54\0\0\0\0\0\0\0\x02\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"_b; // no rows
    const QByteArray data = "data\x04\0\0\0\x01\x02\x03\x04"_b;
    EXPECT_FALSE(Written("RIFF\x48\0\0\0WAVE"_b + table + monoFormat() + data).layout->hasLongSizes);
    EXPECT_FALSE(Written("RF64\x48\0\0\0WAVE"_b + monoFormat() + data + table).layout->hasLongSizes);
    const Written first("BW64\x48\0\0\0WAVE"_b + table + monoFormat() + data);
    EXPECT_TRUE(first.layout->hasLongSizes);
    EXPECT_TRUE(first.layout->sizesDisagree); // two bytes there, four here
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
