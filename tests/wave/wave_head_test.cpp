#include "wave/wave_head.h"

#include "wave/wave_bytes.h"

#include <QFile>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

WaveFormat formatOf(std::uint16_t tag, std::uint16_t channels, std::uint16_t bytes) {
    WaveFormat format;
    format.tag = tag;
    format.channels = channels;
    format.sampleRate = 96'000;
    format.blockAlign = static_cast<std::uint16_t>(channels * bytes);
    format.bits = static_cast<std::uint16_t>(8 * bytes);
    return format;
}

// The head on disk, with as much audio as it tells: a hole.
struct Made {
    explicit Made(const WaveHead& head) : bytes(headBytes(head)) {
        path = folder.write(QStringLiteral("a.wav"), QByteArray::fromStdString(bytes));
        QFile file(path);
        EXPECT_TRUE(file.resize(static_cast<qint64>(bytes.size() + head.audioBytes + head.audioBytes % 2)));
        layout = readWaveLayout(path.toStdString());
    }
    TestFolder folder;
    std::string bytes;
    QString path;
    std::optional<WaveLayout> layout;
};

TEST(WaveHead, SaysWhatItWasPlannedWith) {
    const Made made({formatOf(WaveFormat::pcm, 2, 3), 601, {{"bext", "abc"}, {"iXML", "<x/>"}}});
    ASSERT_TRUE(made.layout);
    EXPECT_EQ(made.layout->kind, WaveLayout::Kind::riff);
    EXPECT_EQ(idsOf(*made.layout), "JUNK|fmt |bext|iXML|JUNK|data"_s.split(u'|'));
    EXPECT_EQ(made.layout->find("bext")->size, 3U);
    EXPECT_EQ(made.layout->data->size, 601U);
    EXPECT_EQ(made.layout->data->payload % 4096, 0U);
    EXPECT_TRUE(made.layout->endsAsDeclared());
    EXPECT_EQ(made.layout->riffSize + 8, made.layout->fileSize);
    EXPECT_EQ(made.layout->format->channels, 2);
    EXPECT_EQ(made.layout->format->sampleRate, 96'000U);
    EXPECT_EQ(made.layout->format->bytesPerSample(), 3);
    EXPECT_FALSE(made.layout->format->isExtensible);
}

TEST(WaveHead, AudioStandsAtAWholePageWhateverItsChunksTake) {
    for (std::size_t size = 0; size < 4200; size += 13) {
        const std::string head = headBytes({formatOf(WaveFormat::pcm, 1, 2), 4, {{"iXML", std::string(size, 'x')}}});
        ASSERT_EQ(head.size() % 4096, 0U) << size;
    }
}

TEST(WaveHead, MoreThanTwoChannelsAreExtensibleAndNameTheirSpeakers) {
    WaveFormat format = formatOf(WaveFormat::pcm, 6, 4);
    format.speakers = 0x3F;
    format.validBits = 24;
    const Made made({format, 48, {}});
    ASSERT_TRUE(made.layout && made.layout->format);
    EXPECT_TRUE(made.layout->format->isExtensible);
    EXPECT_EQ(made.layout->format->speakers, 0x3FU);
    EXPECT_EQ(made.layout->format->bits, 32);
    EXPECT_EQ(made.layout->format->validBits, 24);
    EXPECT_EQ(made.layout->format->tag, WaveFormat::pcm);
}

TEST(WaveHead, FloatsSayHowManyFramesThereAre) {
    const Made made({formatOf(WaveFormat::ieeeFloat, 1, 8), 80, {}});
    ASSERT_TRUE(made.layout);
    const WaveChunk* fact = made.layout->find("fact");
    ASSERT_TRUE(fact);
    EXPECT_EQ(made.bytes.substr(fact->payload, 4), std::string("\x0A\0\0\0", 4));
    EXPECT_EQ(made.layout->format->tag, WaveFormat::ieeeFloat);
}

TEST(WaveHead, IsRf64WhereClassicSizesEnd) {
    const WaveFormat format = formatOf(WaveFormat::pcm, 1, 1);
    const std::uint64_t head = headBytes({format, 0, {}}).size();
    const std::uint64_t most =
        std::uint64_t{0xFFFFFFFF} - 1 + 8 - head; // the RIFF size is then one less than "see ds64"
    EXPECT_EQ(Made({format, most, {}}).layout->kind, WaveLayout::Kind::riff);
    const Made longer({format, most + 1, {}});
    ASSERT_TRUE(longer.layout);
    EXPECT_EQ(longer.layout->kind, WaveLayout::Kind::rf64);
    EXPECT_TRUE(longer.layout->hasLongSizes);
    EXPECT_FALSE(longer.layout->sizesDisagree);
    EXPECT_EQ(longer.layout->data->size, most + 1);
    EXPECT_EQ(longer.layout->audioBytes(), most + 1);
    EXPECT_EQ(longer.layout->riffSize + 8, longer.layout->fileSize);
}

TEST(WaveHead, TwentyGibibytes) {
    const Made made({formatOf(WaveFormat::pcm, 8, 3), std::uint64_t{20} << 30, {}});
    ASSERT_TRUE(made.layout);
    EXPECT_EQ(made.layout->frames(), (std::uint64_t{20} << 30) / 24);
    EXPECT_TRUE(made.layout->endsAsDeclared());
}

TEST(WaveHead, NoAudioIsAWholeFileToo) {
    const Made made({formatOf(WaveFormat::pcm, 1, 2), 0, {}});
    ASSERT_TRUE(made.layout && made.layout->data);
    EXPECT_EQ(made.layout->audioBytes(), 0U);
    EXPECT_TRUE(made.layout->endsAsDeclared());
}

} // namespace
} // namespace ostrel::testing
