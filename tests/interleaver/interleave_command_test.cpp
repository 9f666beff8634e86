#include "interleaver/interleave_command.h"

#include "support/test_folder.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

InterleaveGroup pair() {
    InterleaveGroup group;
    group.baseName = QStringLiteral("Take");
    group.bitDepth = 24;
    group.containerKind = ContainerKind::riffWave;
    group.channelFiles = {{QStringLiteral("L"), QStringLiteral("/a/Take.L.wav")},
                          {QStringLiteral("R"), QStringLiteral("/a/Take.R.wav")}};
    return group;
}

QString interleaveLine(const InterleaveGroup& group, const char* format) {
    return buildInterleaveCommand(group, ChannelLayout::stereo, QString::fromLatin1(format), QStringLiteral("/o/out"))
        .join(u' ');
}

TEST(InterleaveCommand, StereoPairOf24BitToWav) {
    EXPECT_EQ(interleaveLine(pair(), "wav"),
              QStringLiteral("-y -i /a/Take.L.wav -i /a/Take.R.wav -filter_complex [0:a][1:a]amerge=inputs=2 -ac 2 "
                             "-f wav -c:a pcm_s24le -write_bext 1 -rf64 auto /o/out"));
}

TEST(InterleaveCommand, ArgumentsByFormat) {
    const QString head =
        QStringLiteral("-y -i /a/Take.L.wav -i /a/Take.R.wav -filter_complex [0:a][1:a]amerge=inputs=2 -ac 2 ");
    const std::pair<const char*, const char*> rows[] = {
        {"flac", "-f flac -c:a flac /o/out"},
        {"mp3", "-f mp3 -c:a libmp3lame -q:a 2 /o/out"},
        {"m4a", "-f ipod -c:a aac /o/out"},
        {"aiff", "-f aiff -c:a pcm_s24be /o/out"},
        {"ogg", "-f ogg -c:a libvorbis /o/out"},
        {"rf64", "-f wav -c:a pcm_s24le -write_bext 1 -rf64 auto /o/out"},
        {"wave64", "-f wav -c:a pcm_s24le -write_bext 1 -rf64 auto /o/out"},
        {"caf", "-f wav -c:a pcm_s24le -write_bext 1 -rf64 auto /o/out"},
        {"unknown", "-f wav -c:a pcm_s24le -write_bext 1 -rf64 auto /o/out"},
    };
    for (const auto& [format, tail] : rows) {
        EXPECT_EQ(interleaveLine(pair(), format), head + QString::fromLatin1(tail)) << format;
    }
}

TEST(InterleaveCommand, CodecByDepth) {
    InterleaveGroup group = pair();
    for (const auto& [depth, codec] :
         {std::pair(16, "pcm_s16le"), std::pair(24, "pcm_s24le"), std::pair(32, "pcm_s32le"), std::pair(8, "pcm_s16le"),
          std::pair(64, "pcm_s16le")}) {
        group.bitDepth = depth;
        EXPECT_TRUE(interleaveLine(group, "wav").contains(QString::fromLatin1(codec))) << depth;
    }
    group.bitDepth.reset();
    EXPECT_TRUE(interleaveLine(group, "wav").contains(QStringLiteral("pcm_s16le")));
}

TEST(InterleaveCommand, InputsComeInLayoutOrder) {
    InterleaveGroup group;
    for (const QString& tag : ChannelLayout::film51.channelTags)
        group.channelFiles.insert(tag, QStringLiteral("/a/") + tag);
    const QString line =
        buildInterleaveCommand(group, ChannelLayout::film51, QStringLiteral("wav"), QStringLiteral("/o")).join(u' ');
    EXPECT_TRUE(line.startsWith(QStringLiteral("-y -i /a/L -i /a/C -i /a/R -i /a/Ls -i /a/Rs -i /a/LFE -filter_complex "
                                               "[0:a][1:a][2:a][3:a][4:a][5:a]amerge=inputs=6 -ac 6 ")))
        << line.toStdString();
}

MultiChannelSource source51() {
    MultiChannelSource source = MultiChannelSource::make(QStringLiteral("/a/Take.wav"), ChannelLayout::smpte51,
                                                         QSet<QString>{QStringLiteral("L"), QStringLiteral("R")});
    source.bitDepth = 24;
    return source;
}

QString deinterleaveLine(const MultiChannelSource& source, const ProcessingOptions& options, const char* format) {
    const QString name = QString::fromLatin1(format);
    return buildDeinterleaveCommand(source, options, name, source.outputURLs(QStringLiteral("."), QString(), name))
        .join(u' ');
}

TEST(DeinterleaveCommand, NamesAllPadsAndMapsTheSelectedOnes) {
    EXPECT_EQ(
        deinterleaveLine(source51(), {}, "wav"),
        QStringLiteral("-i /a/Take.wav -filter_complex [0:a]channelsplit=channel_layout=5.1[L][R][C][LFE][Ls][Rs] "
                       "-map [L] -c:a pcm_s24le -ac 1 -f wav -write_bext 1 -map_metadata 0 "
                       "/a/De-interleaved/Take.L.wav "
                       "-map [R] -c:a pcm_s24le -ac 1 -f wav -write_bext 1 -map_metadata 0 "
                       "/a/De-interleaved/Take.R.wav"));
}

TEST(DeinterleaveCommand, ChannelsThatAreNotSelectedLeadNowhere) {
    const MultiChannelSource source = source51();
    const auto outputs = source.outputURLs(QStringLiteral("."), QString(), QStringLiteral("wav"));
    EXPECT_EQ(unselectedChannelSinks(source, outputs).join(u' '),
              QStringLiteral("-map [C] -f null - -map [LFE] -f null - -map [Ls] -f null - -map [Rs] -f null -"));
}

TEST(DeinterleaveCommand, OverwritesUnlessOutputsAreToBeSkipped) {
    ProcessingOptions options;
    EXPECT_FALSE(deinterleaveLine(source51(), options, "wav").startsWith(QStringLiteral("-y")));
    options.overwriteExisting = true;
    EXPECT_TRUE(deinterleaveLine(source51(), options, "wav").startsWith(QStringLiteral("-y -i")));
    options = {};
    options.skipIfExists = false;
    EXPECT_TRUE(deinterleaveLine(source51(), options, "wav").startsWith(QStringLiteral("-y -i")));
}

TEST(DeinterleaveCommand, ArgumentsByFormat) {
    const std::pair<const char*, const char*> rows[] = {
        {"flac", "-c:a flac -ac 1 -f flac -map_metadata 0"},
        {"mp3", "-c:a libmp3lame -ac 1 -f mp3 -q:a 2 -map_metadata 0"},
        {"m4a", "-c:a aac -ac 1 -f ipod -map_metadata 0"},
        {"aiff", "-c:a pcm_s24le -ac 1 -f wav -write_bext 1 -map_metadata 0 /a/De-interleaved/Take.L.aiff"},
        {"ogg", "-c:a libvorbis -ac 1 -f wav -write_bext 1 -map_metadata 0"},
    };
    for (const auto& [format, part] : rows) {
        EXPECT_TRUE(deinterleaveLine(source51(), {}, format).contains(QString::fromLatin1(part))) << format;
    }
}

TEST(DeinterleaveCommand, FfmpegsNamesAndOrderOfEveryLayout) {
    const auto words = [](const ChannelLayout& layout) {
        const FFmpegLayout found = ffmpegLayoutOf(layout);
        return found.name + QStringLiteral(": ") + found.tags.join(u' ');
    };
    EXPECT_EQ(words(ChannelLayout::stereo), QStringLiteral("stereo: L R"));
    EXPECT_EQ(words(ChannelLayout::smpte51), QStringLiteral("5.1: L R C LFE Ls Rs"));
    EXPECT_EQ(words(ChannelLayout::film51), QStringLiteral("5.1(side): L C R Ls Rs LFE"));
    EXPECT_EQ(words(ChannelLayout::smpte71), QStringLiteral("7.1: L R C LFE Lsr Rsr Lss Rss"));
    EXPECT_EQ(words(ChannelLayout::film71), QStringLiteral("7.1(wide): L C R Lss Rss Lsr Rsr LFE"));
    EXPECT_EQ(words({QStringLiteral("own"), QString(), {QStringLiteral("A"), QStringLiteral("B")}}),
              QStringLiteral("stereo: A B"));
}

} // namespace
} // namespace ostrel
