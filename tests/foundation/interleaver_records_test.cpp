#include "foundation/records/interleave_group.h"
#include "foundation/records/multi_channel_source.h"

#include "support/test_folder.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

QMap<QString, QString> filesOf(const QString& tags) {
    QMap<QString, QString> result;
    for (const QString& tag : tags.split(u' ')) result.insert(tag, QStringLiteral("/takes/T_%1.wav").arg(tag));
    return result;
}

TEST(InterleaveGroup, ANewOneIsPendingAndIncluded) {
    const InterleaveGroup group;
    EXPECT_EQ(group.status, ProcessingStatus::pending());
    EXPECT_TRUE(group.include);
    EXPECT_TRUE(group.outputURL.isEmpty());
    EXPECT_FALSE(group.sampleRate || group.bitDepth || group.duration || group.metadataTier || group.containerKind);
    EXPECT_NE(group.id, InterleaveGroup().id);
}

TEST(InterleaveGroup, MissingChannelsInLayoutOrder) {
    InterleaveGroup group;
    group.channelFiles = filesOf(QStringLiteral("Rs C X"));
    EXPECT_EQ(group.missingChannels(ChannelLayout::film51).join(u' '), QStringLiteral("L R Ls LFE"));
    EXPECT_EQ(group.missingChannels(ChannelLayout::smpte51).join(u' '), QStringLiteral("L R LFE Ls"));
    group.channelFiles = filesOf(QStringLiteral("R L"));
    EXPECT_TRUE(group.missingChannels(ChannelLayout::stereo).isEmpty());
}

TEST(InterleaveGroup, TheFirstFileIsTheOneAPersonWouldName) {
    InterleaveGroup group;
    EXPECT_EQ(group.firstFile(), QString());
    for (const char* row : {"C L R>L", "LFE C Rs>C", "LFE Rsr Lss>Lss", "Rs LFE>LFE", "Zz Aa>Aa"}) {
        const QStringList parts = QString::fromLatin1(row).split(u'>');
        group.channelFiles = filesOf(parts[0]);
        EXPECT_EQ(group.firstFile(), QStringLiteral("/takes/T_%1.wav").arg(parts[1]));
    }
}

TEST(InterleaveGroup, DurationStringIsTwoDashesWithoutADuration) {
    InterleaveGroup group;
    EXPECT_EQ(group.durationString(), QStringLiteral("--"));
    group.duration = 3599.9;
    EXPECT_EQ(group.durationString(), QStringLiteral("59:59"));
    group.duration = 3600;
    EXPECT_EQ(group.durationString(), QStringLiteral("1:00:00"));
    group.duration = 0;
    EXPECT_EQ(group.durationString(), QStringLiteral("0:00"));
}

TEST(InterleaveGroup, OutputFormatIsWavUnderEveryPolicyWithoutAContainerKind) {
    InterleaveGroup group;
    for (const OutputFormatPolicy policy : kAllOutputFormatPolicies)
        EXPECT_EQ(group.outputFormat(policy), QStringLiteral("wav"));
    group.containerKind = ContainerKind::flac;
    EXPECT_EQ(group.outputFormat(OutputFormatPolicy::smart), QStringLiteral("flac"));
}

TEST(MultiChannelSource, AllChannelsOfTheLayoutAreSelectedUnlessOthersAreGiven) {
    const QString path = QStringLiteral("/takes/T.wav");
    const MultiChannelSource all = MultiChannelSource::make(path, ChannelLayout::smpte51);
    EXPECT_EQ(all.selectedChannels.size(), 6);
    EXPECT_TRUE(all.selectedChannels.contains(QStringLiteral("LFE")));
    EXPECT_TRUE(all.include);
    EXPECT_EQ(all.status, ProcessingStatus::pending());
    const MultiChannelSource some =
        MultiChannelSource::make(path, ChannelLayout::smpte51, QSet<QString>{QStringLiteral("L")});
    EXPECT_EQ(some.selectedChannels, QSet<QString>{QStringLiteral("L")});
    EXPECT_TRUE(MultiChannelSource::make(path, ChannelLayout::stereo, QSet<QString>{}).selectedChannels.isEmpty());
}

TEST(MultiChannelSource, DurationStringHasNoEmptyCase) {
    MultiChannelSource source;
    EXPECT_EQ(source.durationString(), QStringLiteral("0:00"));
    source.duration = 3661.99;
    EXPECT_EQ(source.durationString(), QStringLiteral("1:01:01"));
}

TEST(MultiChannelSource, OutputsStandInASubfolderOfTheirOwnEitherWay) {
    const MultiChannelSource source = MultiChannelSource::make(QStringLiteral("/takes/A.B.WAV"), ChannelLayout::stereo);
    EXPECT_EQ(source.outputURLs(QStringLiteral("."), QString(), QStringLiteral("wav")),
              (QMap<QString, QString>{{QStringLiteral("L"), QStringLiteral("/takes/De-interleaved/A.B.L.wav")},
                                      {QStringLiteral("R"), QStringLiteral("/takes/De-interleaved/A.B.R.wav")}}));
    EXPECT_EQ(
        source.outputURLs(QStringLiteral("_"), QStringLiteral("/out"), QStringLiteral("flac"))[QStringLiteral("R")],
        QStringLiteral("/out/De-interleaved/A.B_R.flac"));
}

TEST(MultiChannelSource, OutputsOfTheLongestNameFitAndTellTheirChannel) {
    const QString letter = QString::fromUtf8("録");
    const MultiChannelSource source = MultiChannelSource::make(
        QStringLiteral("/t/") + letter.repeated(83) + QStringLiteral("xx.wav"), ChannelLayout::smpte51);
    const auto outputs = source.outputURLs(QStringLiteral("_"), QString(), QStringLiteral("wav"));
    QSet<QString> names;
    for (auto output = outputs.begin(); output != outputs.end(); ++output) {
        const QString name = output.value().section(u'/', -1);
        EXPECT_LE(name.toUtf8().size(), 255);
        EXPECT_TRUE(name.startsWith(letter.repeated(82)) && name.endsWith(QStringLiteral("_%1.wav").arg(output.key())))
            << name.toStdString();
        names << name;
    }
    EXPECT_EQ(names.size(), 6);
}

TEST(MultiChannelSource, OnlySelectedChannelsHaveOutputs) {
    const MultiChannelSource source = MultiChannelSource::make(QStringLiteral("/t/x.wav"), ChannelLayout::smpte51,
                                                               QSet<QString>{QStringLiteral("C")});
    EXPECT_EQ(source.outputURLs(QStringLiteral("."), QString(), QStringLiteral("wav")).keys(),
              QStringList{QStringLiteral("C")});
}

TEST(MultiChannelSource, OutputFormatFollowsTheContainer) {
    MultiChannelSource source;
    EXPECT_EQ(source.outputFormat(OutputFormatPolicy::preserveFormat), QStringLiteral("wav"));
    source.containerKind = ContainerKind::rf64Wave;
    EXPECT_EQ(source.outputFormat(OutputFormatPolicy::smart), QStringLiteral("rf64"));
}

} // namespace
} // namespace ostrel
