#include "interleaver/speaker_order.h"

#include "support/test_folder.h"
#include "support/wave_file.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

// A file whose WAVE_FORMAT_EXTENSIBLE header names speakers.
QByteArray naming(quint32 speakers, int channels) {
    WaveSpec spec;
    spec.channels = channels;
    QByteArray file = waveBytes(spec);
    const qsizetype format = file.indexOf("fmt ") + 4;
    const QByteArray plain = file.mid(format + 4, 16);
    QByteArray extensible = littleEndian16(0xFFFE) + plain.mid(2) + littleEndian16(22) + littleEndian16(24) +
                            littleEndian32(speakers) + littleEndian16(1) +
                            QByteArray::fromHex("000000001000800000aa00389b71");
    file.replace(format, 20, littleEndian32(static_cast<quint32>(extensible.size())) + extensible);
    file.replace(4, 4, littleEndian32(static_cast<quint32>(file.size() - 8)));
    return file;
}

TEST(SpeakerOrder, AMergeOfPlainMonoFilesKeepsTheirOrder) {
    const TestFolder folder;
    const QString plain = folder.write(QStringLiteral("a.wav"), waveBytes({}));
    const QString centre = folder.write(QStringLiteral("c.wav"), naming(0x4, 1));
    const QString right = folder.write(QStringLiteral("r.wav"), naming(0x2, 1));
    EXPECT_FALSE(mayReorder({plain, centre}));
    EXPECT_TRUE(mayReorder({plain, right}));
    EXPECT_TRUE(mayReorder({plain, folder.write(QStringLiteral("a.flac"), "fLaC")})) << "it may have ways of its own";
}

TEST(SpeakerOrder, ASplitKeepsItWhereTheSourceNamesNoOtherSpeakers) {
    const TestFolder folder;
    const auto mayRemixA = [&](const QByteArray& file, const ChannelLayout& layout) {
        return mayRemix(MultiChannelSource::make(folder.write(QStringLiteral("a.wav"), file), layout));
    };
    WaveSpec spec;
    spec.channels = 6;
    EXPECT_FALSE(mayRemixA(waveBytes(spec), ChannelLayout::film51));
    EXPECT_FALSE(mayRemixA(naming(0x3F, 6), ChannelLayout::smpte51));
    EXPECT_TRUE(mayRemixA(naming(0x137, 6), ChannelLayout::smpte51));
    EXPECT_TRUE(mayRemixA(naming(0x63F, 8), ChannelLayout::film71));
}

TEST(SpeakerOrder, DirectlyItGoesByTheSpeakersThatTheFileNames) {
    const TestFolder folder;
    const auto order = [&](quint32 speakers, const ChannelLayout& layout, bool isDirect = true) {
        const int channels = static_cast<int>(layout.channelTags.size());
        const QString file = folder.write(QStringLiteral("a.wav"), naming(speakers, channels));
        return channelOrder(MultiChannelSource::make(file, layout), isDirect).join(u' ');
    };
    EXPECT_EQ(order(0x63F, ChannelLayout::smpte71), u"L R C LFE Lsr Rsr Lss Rss"_s);
    EXPECT_EQ(order(0x60F, ChannelLayout::film51), u"L R C LFE Ls Rs"_s);
    EXPECT_EQ(order(0x3F, ChannelLayout::smpte51), u"L R C LFE Ls Rs"_s);
    EXPECT_EQ(order(0, ChannelLayout::smpte71), u"L R C LFE Lss Rss Lsr Rsr"_s) << "none named: the layout's own";
    EXPECT_EQ(order(0xFF, ChannelLayout::film71), u"L C R Lss Rss Lsr Rsr LFE"_s) << "speakers of another layout";
    EXPECT_EQ(order(0, ChannelLayout::smpte71, false), u"L R C LFE Lsr Rsr Lss Rss"_s) << "ffmpeg's";
}

} // namespace
} // namespace ostrel
