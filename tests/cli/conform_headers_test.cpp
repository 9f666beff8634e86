// --conform-headers: what split, join and edit write for editing systems, and that it is nothing but the heads.
#include "cli/command.h"

#include "wave/wave_layout.h"

#include <gtest/gtest.h>
#include <set>

namespace ostrel {
namespace {

using namespace testing;

const QByteArray kLines = "sSCENE=7A\nsTAKE=2\nsTAPE=D1\nsSPEED=025.000-ND\nsTRK1=Boom\nsTRK2=Lav\nfree text";

const QByteArray kDocument =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?><BWFXML><IXML_VERSION>1.5</IXML_VERSION><FILE_UID>U</FILE_UID>"
    "<SCENE>7A</SCENE><TAKE>2</TAKE><TAPE>D1</TAPE><SPEED><TIMECODE_RATE>25/1</TIMECODE_RATE></SPEED><TRACK_LIST>"
    "<TRACK_COUNT>2</TRACK_COUNT><TRACK><CHANNEL_INDEX>1</CHANNEL_INDEX><INTERLEAVE_INDEX>1</"
    "INTERLEAVE_INDEX><NAME>Boom"
    "</NAME></TRACK><TRACK><CHANNEL_INDEX>2</CHANNEL_INDEX><INTERLEAVE_INDEX>2</INTERLEAVE_INDEX><NAME>Lav</NAME>"
    "</TRACK></TRACK_LIST></BWFXML>";

class ConformHeaders : public ::testing::Test {
protected:
    // Ends its lines as Avid doesn't read them.
    QString writePoly(const QByteArray& document = kDocument) const {
        WaveSpec spec{.channels = 2, .frames = 4801};
        spec.before = {{"bext", bextPayload({.description = kLines, .timeReference = 48000ULL * 3600})}};
        if (!document.isEmpty()) spec.before.push_back({"iXML", document});
        return folder_.write(u"7A-02.wav"_s, waveBytes(spec));
    }

    CliRun run(const QStringList& arguments) const {
        const CliRun result = runCli(arguments);
        EXPECT_EQ(result.exitStatus, 0) << result.out.toStdString() << result.err.toStdString();
        return result;
    }
    QStringList splitInto(const QString& folder, const QStringList& more) const {
        run(QStringList{u"split"_s, u"--engine=direct"_s, u"--folders"_s, u"flat"_s, u"--naming"_s, u"take-number"_s,
                        u"--output"_s, path(folder), path(u"7A-02.wav"_s)} +
            more);
        return namesIn(path(folder));
    }
    QByteArray bytesOf(const QString& relative) const { return testing::readAll(path(relative)); }
    QString path(const QString& relative) const { return folder_.path(relative); }

    static QByteArray description(const QByteArray& file) {
        const QByteArray field = chunkOf(file, "bext").left(256);
        return field.left(field.indexOf('\0'));
    }

    TestFolder folder_;
};

TEST_F(ConformHeaders, AnIsoTellsOfItsOwnTrackInLinesThatAvidReads) {
    writePoly();
    ASSERT_EQ(splitInto(u"isos"_s, {u"--conform-headers"_s}), (QStringList{u"7A-02_1.wav"_s, u"7A-02_2.wav"_s}));
    const QByteArray second = bytesOf(u"isos/7A-02_2.wav"_s);
    EXPECT_EQ(description(second), "sSCENE=7A\r\nsTAKE=2\r\nsTAPE=D1\r\nsSPEED=025.000-ND\r\nsTRK2=Lav\r\nfree text");
    EXPECT_EQ(chunkOf(second, "fmt ").size(), 16); // plain PCM
    EXPECT_EQ(chunkOf(second, "fmt ").first(2), QByteArray("\1\0", 2));
    EXPECT_TRUE(chunkOf(second, "iXML").contains("<FILE_SET_INDEX>2</FILE_SET_INDEX>"));
    EXPECT_TRUE(chunkOf(second, "iXML").contains("<TOTAL_FILES>2</TOTAL_FILES>"));
}

TEST_F(ConformHeaders, WhatItMakesPassesTheCheckForAvidAndWithoutItDoesNot) {
    writePoly();
    const auto ids = [this](const QString& folder) {
        std::set<std::string> found;
        const nlohmann::json document = runCli({u"check"_s, u"--for"_s, u"avid"_s, u"--json"_s, path(folder)}).json();
        EXPECT_EQ(document["files"].size(), 2U);
        for (const auto& file : document["files"])
            for (const auto& finding : file["findings"]) found.insert(finding["id"].get<std::string>());
        return found;
    };
    splitInto(u"as-was"_s, {});
    splitInto(u"conformed"_s, {u"--conform-headers"_s});
    EXPECT_TRUE(ids(u"as-was"_s).contains("bext.line-ends"));
    const std::set<std::string> left = ids(u"conformed"_s);
    for (const char* id : {"bext.line-ends", "agree.track-name", "fmt.mono-mask", "fmt.mask-count", "ixml.track-count",
                           "ixml.tracks-of-file", "ixml.interleave-doubled", "ixml.interleave-range"}) {
        EXPECT_FALSE(left.contains(id)) << id;
    }
}

TEST_F(ConformHeaders, AudioAndTheOtherChunksAreWhatTheyAreWithoutIt) {
    writePoly();
    splitInto(u"as-was"_s, {});
    const QByteArray lines = description(bytesOf(u"as-was/7A-02_1.wav"_s));
    EXPECT_TRUE(lines.contains("sTAKE=2\nsTAPE=D1\n")); // off: as the source has them
    splitInto(u"conformed"_s, {u"--conform-headers"_s, u"--proof"_s});
    for (const char* name : {"7A-02_1.wav", "7A-02_2.wav"}) {
        const QByteArray was = bytesOf(u"as-was/"_s + QLatin1String(name));
        const QByteArray is = bytesOf(u"conformed/"_s + QLatin1String(name));
        EXPECT_EQ(chunkOf(is, "data"), chunkOf(was, "data"));
        EXPECT_EQ(chunkOf(is, "bext").mid(256), chunkOf(was, "bext").mid(256));
    }
}

TEST_F(ConformHeaders, WithoutAnIxmlTheLinesOfOtherTracksGoToo) {
    writePoly({});
    splitInto(u"isos"_s, {u"--conform-headers"_s});
    const QByteArray first = description(bytesOf(u"isos/7A-02_1.wav"_s));
    EXPECT_TRUE(first.contains("sTRK1=Boom\r\n")) << first.toStdString();
    EXPECT_FALSE(first.contains("TRK2"));
}

TEST_F(ConformHeaders, AJoinAndAnEditDoTheSame) {
    writePoly();
    splitInto(u"isos"_s, {});
    run({u"join"_s, u"--engine=direct"_s, u"--conform-headers"_s, u"--single"_s, u"--name"_s, u"K"_s, u"--output"_s,
         path(u"joined"_s), path(u"isos/7A-02_1.wav"_s), path(u"isos/7A-02_2.wav"_s)});
    const QByteArray joined = bytesOf(u"joined/"_s + namesIn(path(u"joined"_s)).value(0));
    EXPECT_TRUE(description(joined).contains("sTRK1=Boom\r\nsTRK2=Lav\r\n")) << description(joined).toStdString();
    EXPECT_TRUE(chunkOf(joined, "iXML").contains("<FILE_SET_INDEX>1</FILE_SET_INDEX>"));
    EXPECT_EQ(chunkOf(joined, "data"), chunkOf(bytesOf(u"7A-02.wav"_s), "data"));
    run({u"edit"_s, u"--engine=direct"_s, u"--conform-headers"_s, u"--remove"_s, u"1"_s, u"--output"_s,
         path(u"edited"_s), path(u"7A-02.wav"_s)});
    const QByteArray edited = bytesOf(u"edited/"_s + namesIn(path(u"edited"_s)).value(0));
    EXPECT_TRUE(description(edited).contains("SPEED=025.000-ND\r\nsTRK2=Lav\r\n")) << description(edited).toStdString();
}

TEST_F(ConformHeaders, WhatHasNoRoomReadsAsItDid) {
    WaveSpec spec{.channels = 2, .frames = 480};
    const QByteArray full = QByteArray("sNOTE=").leftJustified(249, 'x') + "\na\nb\nc";
    spec.before = {{"bext", bextPayload({.description = full})}};
    folder_.write(u"7A-02.wav"_s, waveBytes(spec));
    splitInto(u"isos"_s, {u"--conform-headers"_s});
    EXPECT_EQ(description(bytesOf(u"isos/7A-02_1.wav"_s)), full);
}

TEST_F(ConformHeaders, ItIsTheDirectEnginesAlone) {
    writePoly();
    const CliRun refused = runCli({u"split"_s, u"--engine=ffmpeg"_s, u"--conform-headers"_s, path(u"7A-02.wav"_s)});
    EXPECT_EQ(refused.exitStatus, 2);
    EXPECT_TRUE(refused.err.contains(u"--conform-headers goes with --engine direct"_s)) << refused.err.toStdString();
    EXPECT_EQ(runCli({u"edit"_s, u"--engine=direct"_s, u"--conform-headers"_s, u"--in-place"_s, u"--rename"_s, u"1=A"_s,
                      path(u"7A-02.wav"_s)})
                  .exitStatus,
              2);
}

TEST_F(ConformHeaders, AFileThatGoesByWayOfFfmpegSaysThatItIsNotConformed) {
    if (installedTool(u"ffmpeg"_s).isEmpty()) GTEST_SKIP() << "no ffmpeg here";
    folder_.write(u"a.wav"_s, waveBytes({.frames = 4800}));
    folder_.write(u"b.wav"_s, waveBytes({.channels = 2, .frames = 4800}));
    const CliRun joined =
        run({u"join"_s, u"--engine=direct"_s, u"--conform-headers"_s, u"--single"_s, u"--downmix"_s, u"--name"_s,
             u"K"_s, u"--json"_s, u"--output"_s, path(u"out"_s), path(u"a.wav"_s), path(u"b.wav"_s)});
    EXPECT_TRUE(joined.out.contains(u"Headers are not conformed"_s)) << joined.out.toStdString();
}

} // namespace
} // namespace ostrel
