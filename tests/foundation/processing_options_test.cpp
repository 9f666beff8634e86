#include "foundation/records/processing_options.h"

#include "support/test_folder.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

TEST(ProcessingOptions, Defaults) {
    const ProcessingOptions options;
    EXPECT_EQ(options.outputFormatPolicy, OutputFormatPolicy::smart);
    EXPECT_EQ(options.channelSeparator, ChannelSeparator::dot);
    EXPECT_TRUE(options.skipIfExists);
    EXPECT_FALSE(options.overwriteExisting);
    EXPECT_FALSE(options.moveOriginalsInterleave);
    EXPECT_FALSE(options.deleteOriginalsInterleave);
    EXPECT_EQ(options.lrCleanupMode, LRCleanupMode::none);
    EXPECT_FALSE(options.moveOriginalsDeinterleave);
    EXPECT_FALSE(options.deleteOriginalsDeinterleave);
    EXPECT_TRUE(options.includeSubfolders);
}

TEST(ProcessingOptions, Words) {
    QStringList raw;
    QStringList display;
    for (const OutputFormatPolicy policy : kAllOutputFormatPolicies) {
        raw << rawText(policy);
        display << displayName(policy);
    }
    EXPECT_EQ(raw.join(u' '), QStringLiteral("smart alwaysWAV preserveFormat"));
    EXPECT_EQ(display.join(u'|'), QStringLiteral("Smart (Recommended)|Always WAV|Preserve Format"));
    EXPECT_EQ(kAllChannelSeparators.size(), 2u);
    EXPECT_EQ(rawText(ChannelSeparator::dot), QStringLiteral("."));
    EXPECT_EQ(rawText(ChannelSeparator::underscore), QStringLiteral("_"));
    EXPECT_EQ(rawText(LRCleanupMode::none), QStringLiteral("none"));
    EXPECT_EQ(rawText(LRCleanupMode::verifiedConsolidation), QStringLiteral("verifiedConsolidation"));
    EXPECT_EQ(rawText(LRCleanupMode::hardDelete), QStringLiteral("hardDelete"));
}

struct FormatRow {
    std::optional<ContainerKind> container;
    const char* smart;
    const char* alwaysWAV;
    const char* preserveFormat;
};

TEST(OutputFormat, ByContainerAndPolicy) {
    const FormatRow rows[] = {
        {ContainerKind::riffWave, "wav", "wav", "wav"},
        {ContainerKind::rf64Wave, "rf64", "wav", "rf64"},
        {ContainerKind::wave64, "wave64", "wav", "wave64"},
        {ContainerKind::aiff, "aiff", "wav", "aiff"},
        {ContainerKind::caf, "caf", "wav", "caf"},
        {ContainerKind::mp4, "wav", "wav", "m4a"},
        {ContainerKind::flac, "flac", "wav", "flac"},
        {ContainerKind::ogg, "wav", "wav", "ogg"},
        {ContainerKind::mp3, "wav", "wav", "mp3"},
        {ContainerKind::unknown, "unknown", "wav", "unknown"},
        {std::nullopt, "wav", "wav", "wav"},
    };
    for (const FormatRow& row : rows) {
        EXPECT_EQ(outputFormat(row.container, OutputFormatPolicy::smart), QLatin1String(row.smart));
        EXPECT_EQ(outputFormat(row.container, OutputFormatPolicy::alwaysWAV), QLatin1String(row.alwaysWAV));
        EXPECT_EQ(outputFormat(row.container, OutputFormatPolicy::preserveFormat), QLatin1String(row.preserveFormat));
    }
}

struct KindRow {
    ContainerKind kind;
    const char* raw;
    const char* display;
    const char* report;
};

TEST(ContainerKind, Words) {
    const KindRow rows[] = {
        {ContainerKind::riffWave, "riffWave", "WAV", "WAV"},
        {ContainerKind::rf64Wave, "rf64Wave", "RF64", "RF64"},
        {ContainerKind::wave64, "wave64", "WAVE64", "WAVE64"},
        {ContainerKind::aiff, "aiff", "AIFF", "AIFF"},
        {ContainerKind::caf, "caf", "CAF", "CAF"},
        {ContainerKind::mp4, "mp4", "M4A", "MP4"},
        {ContainerKind::flac, "flac", "FLAC", "FLAC"},
        {ContainerKind::ogg, "ogg", "OGG", "OGG"},
        {ContainerKind::mp3, "mp3", "MP3", "MP3"},
        {ContainerKind::unknown, "unknown", "Unknown", "Unknown"},
    };
    int index = 0;
    for (const KindRow& row : rows) {
        EXPECT_EQ(static_cast<int>(row.kind), index++);
        EXPECT_EQ(rawText(row.kind), QLatin1String(row.raw));
        EXPECT_EQ(displayName(row.kind), QLatin1String(row.display));
        EXPECT_EQ(reportName(row.kind), QLatin1String(row.report));
    }
}

TEST(MetadataTier, Words) {
    EXPECT_EQ(rawText(MetadataTier::bwfGuaranteed), QStringLiteral("bwfGuaranteed"));
    EXPECT_EQ(rawText(MetadataTier::bestEffort), QStringLiteral("bestEffort"));
    EXPECT_EQ(rawText(MetadataTier::none), QStringLiteral("none"));
    EXPECT_EQ(reportName(MetadataTier::bwfGuaranteed), QStringLiteral("BWF Guaranteed"));
    EXPECT_EQ(reportName(MetadataTier::bestEffort), QStringLiteral("Best-effort metadata"));
    EXPECT_EQ(reportName(MetadataTier::none), QStringLiteral("No metadata"));
}

} // namespace
} // namespace ostrel
