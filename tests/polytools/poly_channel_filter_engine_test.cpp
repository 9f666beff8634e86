#include "polytools/edit/poly_channel_filter_engine.h"
#include "polytools/edit/track_rename.h"

#include "foundation/domain_error.h"
#include "metadata/ixml/ixml_text.h"
#include "platform/paths.h"
#include "platform/processes/child_process.h"
#include "poly_fixture.h"
#include "roads/own_documents.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using testing::entryWith;
using testing::messages;
using testing::TestFolder;
using testing::WaveSpec;
using testing::writePoly;

class ChannelFilter : public ::testing::Test {
protected:
    PolyFile poly(int channels = 4, int depth = 24, const std::optional<testing::IxmlSpec>& ixml = std::nullopt) {
        spec_.channels = channels;
        spec_.bitDepth = depth;
        return writePoly(folder_.path(QStringLiteral("P.WAV")), spec_, ixml);
    }
    ChannelFilterResult edit(const PolyFile& file, const char* numbers, const RenameMap& renames = {},
                             const ReorderList& reorder = std::nullopt, const QString& name = QString()) {
        ChannelFilterOptions filter;
        filter.selectedChannelIndices = parseChannelNumbers(QString::fromLatin1(numbers));
        return editBy(filter, file, renames, reorder, name);
    }
    ChannelFilterResult editBy(const ChannelFilterOptions& filter, const PolyFile& file, const RenameMap& renames = {},
                               const ReorderList& reorder = std::nullopt, const QString& name = QString()) {
        QDir().mkpath(output());
        return PolyChannelFilterEngine(tools_).removeChannelsFromPoly(file, filter, output(), name, renames, reorder);
    }
    QString output(const QString& file = QString()) const {
        const QString folder = paths::append(folder_.path(), QStringLiteral("edited"));
        return file.isEmpty() ? folder : paths::append(folder, file);
    }
    // The source channels that the output's channels carry, 0-based.
    std::vector<int> channelsOf(const QString& path) const {
        const auto signals = testing::scaledTo32(testing::samplesOf(spec_), spec_.bitDepth);
        std::vector<int> order;
        for (const auto& samples : testing::decodedByFfmpeg(path)) {
            order.push_back(static_cast<int>(std::find(signals.begin(), signals.end(), samples) - signals.begin()));
        }
        return order;
    }
    template <class Action>
    static std::pair<int, QString> errorOf(Action action) {
        try {
            action();
        } catch (const DomainError& error) {
            EXPECT_EQ(error.domain, QStringLiteral("ChannelFilter"));
            return {error.code, error.errorDescription()};
        }
        return {0, {}};
    }

    TestFolder folder_;
    WaveSpec spec_;
    PolyEngineTools tools_ = testing::toolsWithoutBwfmetaedit();
};

TEST_F(ChannelFilter, TheCommandLineIsExactlyThis) {
    EXPECT_EQ(PolyChannelFilterEngine::buildFilterCommand(QStringLiteral("/p.wav"), QStringLiteral("F"),
                                                          QStringLiteral("pcm_s24le"), QStringLiteral("/o.wav"))
                  .join(u' '),
              QStringLiteral("-i /p.wav -filter_complex F -map [out] -c:a pcm_s24le -y /o.wav"));
}

TEST_F(ChannelFilter, TheKeptChannelsAreTheSourceSamples) {
    for (const int depth : {16, 24, 32}) {
        const PolyFile file = poly(4, depth);
        const QString before = testing::fingerprintOf(file.url);
        const ChannelFilterResult result = edit(file, "2");
        EXPECT_FALSE(result.outcome.failed());
        EXPECT_EQ(result.outcome.outputs, QStringList{output(QStringLiteral("P.wav"))});
        EXPECT_EQ(channelsOf(output(QStringLiteral("P.wav"))), (std::vector<int>{0, 2, 3}));
        EXPECT_EQ(testing::fingerprintOf(file.url), before);
    }
}

TEST_F(ChannelFilter, EveryStepHasItsLine) {
    const QStringList log = messages(edit(poly(), "2,4", {{1, QStringLiteral("Boom")}}).logEntries);
    EXPECT_EQ(
        log.mid(0, log.size() - 1),
        (QStringList{
            QStringLiteral("━━━ REMOVE CHANNELS: P.WAV ━━━"), QStringLiteral("📋 Extracting track info from iXML..."),
            QStringLiteral("⚠️ No iXML - using fallback track names"),
            QStringLiteral("🎯 NUMBER-BASED filter: Remove channels 2, 4"),
            QStringLiteral("✏️ Batch rename applied: Ch1→Boom"),
            QStringLiteral("📦 Keeping 2/4 channels (reindexed 1-based): T1:Boom, T2:CH3"),
            QStringLiteral("💾 Output: P.wav"), QStringLiteral("🔨 Building new poly with ffmpeg pan filter..."),
            QStringLiteral("🔧 Pan filter: [0:a]pan=2c|c0=c0|c1=c2[out]"),
            QStringLiteral("✅ Created new 2-channel poly: P.wav"),
            QStringLiteral("❌ METADATA ENGINE UNAVAILABLE — bwfmetaedit not found. Output will have NO metadata.")}));
    EXPECT_TRUE(log.last().startsWith(QStringLiteral("━━━ COMPLETE in ")) &&
                log.last().endsWith(QStringLiteral("s ━━━")));
}

TEST_F(ChannelFilter, RenameAndReorderAloneKeepEveryChannel) {
    const PolyFile file = poly();
    EXPECT_TRUE(entryWith(edit(file, "", {{2, QStringLiteral("x")}}).logEntries,
                          QStringLiteral("✏️ RENAME-ONLY mode: Keeping all 4 channels, applying rename map")));
    EXPECT_EQ(channelsOf(output(QStringLiteral("P.wav"))), (std::vector<int>{0, 1, 2, 3}));
    const ChannelFilterResult result = edit(file, "", {}, std::vector<int>{3, 1});
    EXPECT_TRUE(
        entryWith(result.logEntries, QStringLiteral("🔀 REORDER-ONLY mode: Keeping all 4 channels, applying reorder")));
    EXPECT_TRUE(entryWith(result.logEntries, QStringLiteral("🔀 Reorder applied: T3:CH3 → T1:CH1 → T2:CH2 → T4:CH4")));
    EXPECT_EQ(channelsOf(output(QStringLiteral("P.wav"))), (std::vector<int>{2, 0, 1, 3}));
}

TEST_F(ChannelFilter, WithoutCriteriaItRefuses) {
    EXPECT_EQ(errorOf([&] { edit(poly(), ""); }),
              (std::pair<int, QString>{
                  1, QStringLiteral("No filter criteria provided. Specify channel numbers OR track name filter.")}));
}

TEST_F(ChannelFilter, ASetAsLargeAsThePolyIsRefusedEvenIfNumbersMatchNothing) {
    const std::pair<int, QString> all{2, QStringLiteral("Cannot remove ALL channels. At least 1 channel must remain.")};
    EXPECT_EQ(errorOf([&] { edit(poly(), "1-4"); }), all);
    EXPECT_EQ(errorOf([&] { edit(poly(), "1,7,8,9"); }), all);
}

TEST_F(ChannelFilter, ANumberThatNamesNoChannelRewritesTheFileUnchanged) {
    const ChannelFilterResult result = edit(poly(), "9");
    EXPECT_TRUE(result.outcome.succeeded());
    EXPECT_FALSE(entryWith(result.logEntries, QStringLiteral("No matching channels")));
    EXPECT_EQ(channelsOf(output(QStringLiteral("P.wav"))), (std::vector<int>{0, 1, 2, 3}));
}

TEST_F(ChannelFilter, ANameThatMatchesNothingSkipsTheFile) {
    ChannelFilterOptions filter;
    filter.nameContainsFilter = QStringLiteral(" , ");
    const ChannelFilterResult result = editBy(filter, poly());
    EXPECT_FALSE(result.outcome.failed());
    EXPECT_TRUE(result.outcome.skipped());
    EXPECT_TRUE(result.outcome.outputs.isEmpty());
    EXPECT_EQ(entryWith(result.logEntries, QStringLiteral("⚠️ No matching channels found - skipping file"))->level,
              LogLevel::warning);
    EXPECT_FALSE(paths::exists(output(QStringLiteral("P.wav"))));
}

TEST_F(ChannelFilter, TheOutputOfTheLongestNameFits) {
    spec_.channels = 4;
    const QString letter = QString::fromUtf8("🎙");
    const PolyFile file = writePoly(folder_.path(letter.repeated(62) + QStringLiteral("xyz.wav")), spec_); // 255 bytes
    ChannelFilterOptions filter;
    filter.selectedChannelIndices = {1};
    const auto nameFor = [&](const QString& given) {
        const ChannelFilterResult result = PolyChannelFilterEngine(tools_).removeChannelsFromPoly(
            file, filter, folder_.path(), given, {}, std::nullopt);
        EXPECT_TRUE(paths::exists(result.outcome.outputs.value(0)));
        return paths::lastComponent(result.outcome.outputs.value(0));
    };
    EXPECT_EQ(nameFor({}), letter.repeated(61) + QStringLiteral("_3ch.wav"));
    EXPECT_EQ(nameFor(letter.repeated(150)), letter.repeated(62) + QStringLiteral(".wav"));
}

TEST_F(ChannelFilter, IntoItsOwnFolderTheOutputGetsASuffix) {
    const PolyFile file = poly();
    const QString before = testing::fingerprintOf(file.url);
    ChannelFilterOptions filter;
    filter.selectedChannelIndices = {1};
    const ChannelFilterResult result =
        PolyChannelFilterEngine(tools_).removeChannelsFromPoly(file, filter, folder_.path(), {}, {}, std::nullopt);
    EXPECT_EQ(result.outcome.outputs, QStringList{folder_.path(QStringLiteral("P_3ch.wav"))});
    EXPECT_TRUE(
        entryWith(result.logEntries,
                  QStringLiteral("⚠️ Output folder same as input - added '_3ch' suffix to prevent overwrite")));
    EXPECT_EQ(testing::fingerprintOf(file.url), before);
    EXPECT_EQ(errorOf([&] {
                  PolyChannelFilterEngine(tools_).removeChannelsFromPoly(file, filter, folder_.path(),
                                                                         QStringLiteral("p"), {}, std::nullopt);
              }).first,
              4);
    EXPECT_EQ(testing::fingerprintOf(file.url), before);
}

TEST_F(ChannelFilter, AFailingFfmpegThrowsWithItsTextAndLeavesNothing) {
    PolyFile file = poly();
    folder_.write(QStringLiteral("P.WAV"), "no audio");
    const auto [code, text] = errorOf([&] { edit(file, "1"); });
    EXPECT_EQ(code, 3);
    EXPECT_TRUE(text.startsWith(QStringLiteral("❌ ffmpeg failed: ")));
    EXPECT_TRUE(text.endsWith(QStringLiteral("Invalid data found when processing input"))) << text.toStdString();
    EXPECT_FALSE(text.contains(u'\n'));
    EXPECT_EQ(testing::namesIn(output()), QStringList());
    tools_.ffmpegPath = QStringLiteral("/nowhere/ffmpeg");
    EXPECT_THROW(edit(file, "1"), ProcessLaunchError);
}

TEST_F(ChannelFilter, AFloatPolyStaysInFloat) {
    PolyFile file = poly(2);
    file.codecName = QStringLiteral("pcm_f32le");
    edit(file, "1");
    const QByteArray format = testing::chunkOf(testing::readAll(output(QStringLiteral("P.wav"))), "fmt ");
    EXPECT_EQ(format[0] == '\x03' || format.mid(24, 1) == "\x03", true) << "IEEE float";
}

TEST_F(ChannelFilter, InPlaceNeedsBwfmetaedit) {
    const PolyFile file = poly();
    const QString before = testing::fingerprintOf(file.url);
    EXPECT_EQ(errorOf([&] { renameTracksInPlace(file, {{1, QStringLiteral("x")}}, tools_); }).first, 5);
    EXPECT_EQ(testing::fingerprintOf(file.url), before);
}

class ChannelFilterWithMetadata : public ChannelFilter {
protected:
    void SetUp() override {
        if (!testing::hasBwfmetaedit()) GTEST_SKIP() << "this build has no bwfmetaedit";
        tools_ = testing::realTools();
        spec_.before.emplace_back(
            "bext", testing::bextPayload({.description = "sSCENE=12A", .originator = "Rec", .timeReference = 99}));
        spec_.before.emplace_back("SMED", "scene meta data");
    }
    std::vector<SourceTrack> tracksOf(const QString& path) const {
        return parseTrackBlocks(QString::fromUtf8(testing::ixmlOfFile(path)));
    }
};

TEST_F(ChannelFilterWithMetadata, TheTrackListFollowsTheChannels) {
    const PolyFile file = poly(4, 24, testing::ixmlOf({"Mix", "Boom", "Lav &lt;1&gt;", "Lav2"}));
    const ChannelFilterResult result = edit(file, "2", {{3, QStringLiteral("A & B")}});
    const QString path = output(QStringLiteral("P.wav"));
    EXPECT_EQ(tracksOf(path), (std::vector<SourceTrack>{{1, 11, QStringLiteral("Mix")},
                                                        {2, 13, QStringLiteral("Lav <1>")},
                                                        {3, 14, QStringLiteral("A & B")}}))
        << messages(result.logEntries).join(u'\n').toStdString() << testing::ixmlOfFile(path).toStdString();
    EXPECT_TRUE(testing::ixmlOfFile(path).contains("<NAME>A &amp; B</NAME>"));
    EXPECT_TRUE(testing::ixmlOfFile(path).contains("<FAMILY_UID>FAMILY1</FAMILY_UID>"));
    EXPECT_TRUE(testing::ixmlOfFile(path).contains("<PARENT_UID>POLY1</PARENT_UID>"));
    EXPECT_FALSE(testing::ixmlOfFile(path).contains("<FILE_UID>POLY1</FILE_UID>"));
    EXPECT_EQ(testing::chunkOf(testing::readAll(path), "SMED"), "scene meta data");
    EXPECT_TRUE(testing::chunkOf(testing::readAll(path), "bext").startsWith("sSCENE=12A"));
    EXPECT_EQ(channelsOf(path), (std::vector<int>{0, 2, 3}));
    EXPECT_TRUE(
        entryWith(result.logEntries,
                  QStringLiteral("✅ iXML rebuilt - 3 tracks with correct interleave indices matching physical order")));
    EXPECT_TRUE(entryWith(
        result.logEntries,
        QStringLiteral("📋 Metadata map: Out1←Src1:Mix(CH11), Out2←Src3:Lav <1>(CH13), Out3←Src4:A & B(CH14)")));
}

TEST_F(ChannelFilterWithMetadata, TheFilterTextRemovesEveryTrackThatContainsATerm) {
    ChannelFilterOptions filter;
    filter.nameContainsFilter = QStringLiteral("boom, lav");
    const ChannelFilterResult result = editBy(filter, poly(4, 24, testing::ixmlOf({"Mix", "BoomA", "x Lav", "Plant"})));
    EXPECT_TRUE(
        entryWith(result.logEntries,
                  QStringLiteral("🎯 NAME-BASED filter: Remove tracks containing 'boom, lav' → Found: BoomA, x Lav")));
    EXPECT_EQ(channelsOf(output(QStringLiteral("P.wav"))), (std::vector<int>{0, 3}));
}

TEST_F(ChannelFilterWithMetadata, AListThatLiesLosesNoChannel) {
    const PolyFile file = poly(4, 24, testing::ixmlOf({"Mix", "Boom", "Lav"}));
    const ChannelFilterResult result = edit(file, "1");
    EXPECT_EQ(channelsOf(output(QStringLiteral("P.wav"))), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(tracksOf(output(QStringLiteral("P.wav")))[2].name, QStringLiteral("CH4"));
    EXPECT_TRUE(entryWith(result.logEntries, QStringLiteral("⚠️ iXML lists 3 tracks for 4 channels")));
}

TEST_F(ChannelFilterWithMetadata, InPlaceChangesTheNamesAndNothingElse) {
    const PolyFile file = poly(3, 24, testing::ixmlOf({"Mix", "Boom", "Lav"}));
    const QByteArray before = testing::readAll(file.url);
    QFile::setPermissions(file.url, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup);
    const QString link = folder_.path(QStringLiteral("link.wav"));
    QFile::link(file.url, link);
    PolyFile linked = file;
    linked.url = link;
    const ChannelFilterResult result =
        renameTracksInPlace(linked, {{2, QStringLiteral("A & B")}, {7, QStringLiteral("x")}}, tools_);
    EXPECT_FALSE(result.outcome.failed());
    EXPECT_TRUE(QFileInfo(link).isSymLink());
    const QByteArray after = testing::readAll(file.url);
    EXPECT_EQ(testing::ixmlOfFile(file.url),
              QByteArray(testing::chunkOf(before, "iXML")).replace("<NAME>Boom<", "<NAME>A &amp; B<"));
    EXPECT_EQ(testing::chunkOf(after, "data"), testing::chunkOf(before, "data"));
    EXPECT_EQ(testing::chunkOf(after, "bext"), testing::chunkOf(before, "bext"));
    EXPECT_EQ(testing::chunkOf(after, "SMED"), "scene meta data");
    EXPECT_TRUE(entryWith(result.logEntries, QStringLiteral("⚠️ No channel 7 to rename")));
    EXPECT_EQ(testing::namesIn(folder_.path()).join(u' '), QStringLiteral("P.WAV link.wav"));
    EXPECT_EQ(QFile::permissions(file.url) & QFile::ReadGroup, QFile::ReadGroup);
}

// Without bwfmetaedit, and with names longer than the room that the chunk has.
TEST_F(ChannelFilterWithMetadata, TheDirectEngineRenamesInPlaceByItself) {
    tools_.bwfmetaeditPath.clear();
    tools_.answers = answersFromBytes();
    for (const QString& name : {QStringLiteral("Bo"), QStringLiteral("A & B ") + QString(3000, u'x')}) {
        const PolyFile file = poly(3, 24, testing::ixmlOf({"Mix", "Boom", "Lav"}));
        const QByteArray before = testing::readAll(file.url);
        EXPECT_FALSE(renameTracksInPlace(file, {{2, name}}, tools_).outcome.failed());
        const QByteArray after = testing::readAll(file.url);
        EXPECT_EQ(testing::chunkOf(after, "iXML").trimmed(),
                  QByteArray(testing::chunkOf(before, "iXML"))
                      .replace("<NAME>Boom<", "<NAME>" + encodeXMLText(name).toUtf8() + "<")
                      .trimmed());
        for (const char* id : {"data", "bext", "SMED"}) {
            EXPECT_EQ(testing::chunkOf(after, id), testing::chunkOf(before, id)) << id;
        }
    }
    const PolyFile bare = poly(2);
    renameTracksInPlace(bare, {{2, QStringLiteral("Boom")}}, tools_);
    EXPECT_EQ(tracksOf(bare.url),
              (std::vector<SourceTrack>{{1, 1, QStringLiteral("CH1")}, {2, 2, QStringLiteral("Boom")}}));
}

TEST_F(ChannelFilterWithMetadata, InPlaceGivesATrackListToAFileWithoutOne) {
    const PolyFile file = poly(2);
    renameTracksInPlace(file, {{2, QStringLiteral("Boom")}}, tools_);
    EXPECT_EQ(tracksOf(file.url),
              (std::vector<SourceTrack>{{1, 1, QStringLiteral("CH1")}, {2, 2, QStringLiteral("Boom")}}));
}

TEST_F(ChannelFilterWithMetadata, AnyFailureInPlaceLeavesTheOldFileWhole) {
    const PolyFile file = poly(2, 24, testing::ixmlOf({"Mix", "Boom"}));
    const QString before = testing::fingerprintOf(file.url);
    // A tool that reads well and fails on writing, and one that writes something else.
    const QString real = tools_.bwfmetaeditPath;
    for (const char* body : {"case \"$1\" in --in-iXML=*) exit 1;; esac; exec %1 \"$@\"",
                             "case \"$1\" in --in-iXML=*) exit 0;; esac; exec %1 \"$@\"",
                             "case \"$1\" in --in-iXML=*) : > \"$2\"; exit 0;; esac; exec %1 \"$@\""}) {
        tools_.bwfmetaeditPath = folder_.writeScript(QStringLiteral("tool"), QString::fromLatin1(body).arg(real));
        EXPECT_EQ(errorOf([&] { renameTracksInPlace(file, {{1, QStringLiteral("x")}}, tools_); }).first, 5) << body;
        EXPECT_EQ(testing::fingerprintOf(file.url), before) << body;
        EXPECT_EQ(testing::namesIn(folder_.path()).join(u' '), QStringLiteral("P.WAV tool"));
    }
}

} // namespace
} // namespace ostrel
