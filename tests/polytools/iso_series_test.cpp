// ISOs that a recorder wrote in several files: in series first, side by side then.
#include "foundation/run/run_ledger.h"
#include "poly_fixture.h"
#include "polytools/grouping/iso_grouping_engine.h"
#include "polytools/join/batch_join.h"
#include "roads/own_documents.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

class IsoSeries : public ::testing::Test {
protected:
    // Of 4800 frames, in the signal of its number.
    void put(const QString& name, int channel, int number, quint64 start, const QByteArray& take = "3") {
        IxmlSpec ixml;
        ixml.take = take;
        ixml.tracks = {{channel, 1, channel == 1 ? "Boom" : "Lav"}};
        const WaveSpec spec{.frames = 4800,
                            .before = {{"bext", bextPayload({.originator = "R", .timeReference = start})}},
                            .firstSignal = number};
        writeISO(folder_.path(u"rec/"_s + name), spec, ixml);
        signals_[name] = samplesOf(spec).front();
    }
    GroupingResult grouped() const {
        const PolyEngineTools tools = realTools();
        return ISOGroupingEngine(tools.ffprobePath, tools.bwfmetaeditPath)
            .groupISOFilesInFolder(folder_.path(u"rec"_s), true);
    }
    std::vector<std::int32_t> behind(const QString& a, const QString& b) const {
        std::vector<std::int32_t> both = signals_.at(a);
        const auto& more = signals_.at(b);
        both.insert(both.end(), more.begin(), more.end());
        return both;
    }
    static Samples whole(const Samples& samples) { return scaledTo32(samples, 24); }

    TestFolder folder_;
    std::map<QString, std::vector<std::int32_t>> signals_;
};

TEST_F(IsoSeries, TwoIsosAndTheirContinuationsAreTwoTracks) {
    if (!hasBwfmetaedit()) GTEST_SKIP() << "no bwfmetaedit here";
    put(u"A_1.wav"_s, 1, 1, 1000);
    put(u"A_2.wav"_s, 2, 2, 1000);
    put(u"B_1.wav"_s, 1, 3, 5800);
    put(u"B_2.wav"_s, 2, 4, 5800);
    const QStringList before = fingerprint(folder_.path(u"rec"_s));
    const GroupingResult result = grouped();
    ASSERT_EQ(result.groups.size(), 1U);
    EXPECT_EQ(result.totalFiles, 4);
    const ISOGroupCandidate& group = result.groups.front();
    EXPECT_EQ(fileNames(group.isoFiles), (QStringList{u"A_1.wav"_s, u"A_2.wav"_s}));
    EXPECT_EQ(group.partsText(), u"2 tracks, 2 parts each"_s);
    EXPECT_EQ(group.files().size(), 4);
    EXPECT_NEAR(group.isoFiles.front().duration, 0.2, 1e-6);

    for (const EngineChoice engine : {EngineChoice::ffmpeg, EngineChoice::direct}) {
        PolyEngineTools tools = realTools();
        if (engine == EngineChoice::direct) tools.answers = answersFromBytes();
        JoinOptions options;
        options.proves = true;
        const QString out = folder_.path(u"out%1"_s.arg(static_cast<int>(engine)));
        const BatchJoinResult joined = batchJoin({group}, out, options, tools);
        ASSERT_EQ(joined.successCount, 1) << joined.groupResults.front().outcome.message.toStdString();
        const ItemOutcome& outcome = joined.groupResults.front().outcome;
        EXPECT_EQ(outcome.sources.size(), 4U) << "every part";
        ASSERT_TRUE(outcome.proof);
        EXPECT_EQ(outcome.proof->audio(), ProofFinding::identical);
        EXPECT_EQ(outcome.proof->channels[1].source, group.isoFiles[1].url);
        EXPECT_TRUE(outcome.warnings.filter(u".ostrel-"_s).isEmpty());
        EXPECT_EQ(decodedByFfmpeg(outcome.outputs.front()),
                  whole({behind(u"A_1.wav"_s, u"B_1.wav"_s), behind(u"A_2.wav"_s, u"B_2.wav"_s)}));
        EXPECT_EQ(namesIn(out).size(), 1) << "nothing but the poly stays";
    }
    EXPECT_EQ(fingerprint(folder_.path(u"rec"_s)), before);
}

TEST_F(IsoSeries, WhatFollowsWithAGapIsAnotherGroup) {
    if (!hasBwfmetaedit()) GTEST_SKIP() << "no bwfmetaedit here";
    put(u"A_1.wav"_s, 1, 1, 1000);
    put(u"A_2.wav"_s, 2, 2, 1000);
    put(u"B_1.wav"_s, 1, 3, 5801);
    put(u"B_2.wav"_s, 2, 4, 5801);
    const GroupingResult result = grouped();
    ASSERT_EQ(result.groups.size(), 2U);
    EXPECT_EQ(fileNames(result.groups[0].isoFiles), (QStringList{u"A_1.wav"_s, u"A_2.wav"_s}));
    EXPECT_EQ(fileNames(result.groups[1].isoFiles), (QStringList{u"B_1.wav"_s, u"B_2.wav"_s}));
    EXPECT_EQ(result.highConfidenceCount, 2);
    ASSERT_EQ(result.remarks.size(), 1);
    EXPECT_TRUE(result.remarks.front().contains(u"can't sound together"_s));
}

TEST_F(IsoSeries, OtherInputsAtOtherTimesStayOneTake) {
    if (!hasBwfmetaedit()) GTEST_SKIP() << "no bwfmetaedit here";
    put(u"A_1.wav"_s, 1, 1, 0);
    put(u"A_2.wav"_s, 2, 2, 96'000); // its clock was off; the channels tell that they are side by side
    EXPECT_EQ(grouped().groups.size(), 1U);
}

TEST_F(IsoSeries, TakesThatTouchByChanceStayTakes) {
    if (!hasBwfmetaedit()) GTEST_SKIP() << "no bwfmetaedit here";
    put(u"A_1.wav"_s, 1, 1, 1000, "3");
    put(u"B_1.wav"_s, 1, 3, 5800, "4");
    const GroupingResult result = grouped();
    EXPECT_EQ(result.groups.size(), 2U);
    for (const ISOGroupCandidate& group : result.groups) EXPECT_TRUE(group.partsText().isEmpty());
}

} // namespace
} // namespace ostrel
