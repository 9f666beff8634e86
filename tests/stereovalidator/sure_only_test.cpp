// What Clean & Export leaves out, and which channel it keeps, by the evidence.
#include "stereovalidator/clean_run.h"
#include "stereovalidator/conversion_fixture.h"

namespace ostrel {
namespace {

class SureOnlyTest : public testing::ConversionTest {
protected:
    StereoValidatorResult result(std::optional<Trust> trust) {
        StereoValidatorResult found;
        found.filepath = writeSource();
        found.classification = StereoClassification::dualMono;
        found.trust = trust;
        found.why = {QStringLiteral("Looks dual mono, but differs by -24 dB at 0:31-0:36")};
        found.stamp = FileStamp::of(found.filepath);
        return found;
    }
    static ItemOutcome outcome(const StereoValidatorResult& found, const CleanOptions& options) {
        return CleanRun({found}, {}, options, QString()).convert(found);
    }
    static CleanOptions inPlaceOptions() {
        CleanOptions options;
        options.addSuffix = false;
        options.allowOverwrite = true;
        return options;
    }
};

TEST_F(SureOnlyTest, ReplacesNoSourceThatIsNotSure) {
    for (const std::optional<Trust> trust :
         {std::optional(Trust::likely), std::optional(Trust::unsure), std::optional<Trust>()}) {
        const StereoValidatorResult found = result(trust);
        const FileStamp before = *FileStamp::of(found.filepath);
        const ItemOutcome done = outcome(found, inPlaceOptions());
        EXPECT_TRUE(done.skipped());
        EXPECT_EQ(done.message, QStringLiteral("Original kept: a.wav is not sure to be Dual Mono (Looks dual mono, but "
                                               "differs by -24 dB at 0:31-0:36)"));
        EXPECT_EQ(FileStamp::of(found.filepath), before);
        EXPECT_EQ(done.sources, ItemOutcome::allKept({found.filepath}));
        EXPECT_EQ(foreseenRefusals({found}, inPlaceOptions()).value(found.id), done.message);
    }
    const StereoValidatorResult sure = result(Trust::sure);
    EXPECT_TRUE(outcome(sure, inPlaceOptions()).succeeded());
    EXPECT_EQ(testing::decoded(sure.filepath).info.channels, 1);
}

TEST_F(SureOnlyTest, CopiesWhatIsNotSureUnlessAskedNotTo) {
    const StereoValidatorResult found = result(Trust::unsure);
    CleanOptions options;
    options.sureOnly = true;
    EXPECT_TRUE(outcome(found, options).skipped());
    EXPECT_FALSE(paths::exists(folder_.path(QStringLiteral("a_mono.wav"))));
    EXPECT_EQ(countLeftOut({found, result(Trust::sure)}, options), 1);
    options.sureOnly = false;
    EXPECT_EQ(countLeftOut({found}, options), 0);
    EXPECT_TRUE(outcome(found, options).succeeded());
    EXPECT_TRUE(paths::exists(folder_.path(QStringLiteral("a_mono.wav"))));
}

TEST_F(SureOnlyTest, KeepsTheChannelWithoutFaults) {
    StereoEvidence evidence;
    const auto keepsLeft = [&](DualMonoSideSelection side) {
        return keepsLeftChannel(StereoClassification::dualMono, side, &evidence);
    };
    EXPECT_TRUE(keepsLeft(DualMonoSideSelection::automatic));
    evidence.channels[0].clippedRuns = 3;
    EXPECT_FALSE(keepsLeft(DualMonoSideSelection::automatic));
    EXPECT_TRUE(keepsLeft(DualMonoSideSelection::left)); // a person's word
    evidence.channels[1].dropouts = 1;
    EXPECT_TRUE(keepsLeft(DualMonoSideSelection::automatic)); // clipping is the lesser fault
    EXPECT_FALSE(keepsLeftChannel(StereoClassification::oneSidedR, DualMonoSideSelection::automatic, &evidence));
}

} // namespace
} // namespace ostrel
