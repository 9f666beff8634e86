#include "metadata/asset_descriptor.h"

#include "support/test_folder.h"
#include "support/unprivileged.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace ostrel {
namespace {

using testing::TestFolder;
using Tier = MetadataTier;

AssetClass classified(const QByteArray& bytes, const char* name) {
    const TestFolder folder;
    return AssetDescriptorBuilder::quickClassify(folder.write(QString::fromLatin1(name), bytes));
}

struct HeaderRow {
    QByteArray header;
    ContainerKind kind;
};

TEST(AssetDescriptor, ByTheHeaderWhateverTheExtensionSays) {
    const HeaderRow rows[] = {
        {"RIFF....WAVE", ContainerKind::riffWave},  {"RF64....WAVE", ContainerKind::rf64Wave},
        {"FORM....AIFF", ContainerKind::aiff},      {"FORM....AIFC", ContainerKind::aiff},
        {"ID3.........", ContainerKind::mp3},       {"OggS........", ContainerKind::ogg},
        {"caff........", ContainerKind::caf},       {"fLaC........", ContainerKind::flac},
        {"\xff\xfb..........", ContainerKind::mp3}, {"\xff\xe0..........", ContainerKind::mp3},
        {"....ftyp....", ContainerKind::mp4},
    };
    for (const HeaderRow& row : rows) {
        const bool isWave = row.kind == ContainerKind::riffWave || row.kind == ContainerKind::rf64Wave;
        const AssetClass expected{row.kind, isWave ? Tier::bwfGuaranteed : Tier::bestEffort};
        for (const char* name : {"a.wav", "a.mp3", "a.xyz", "a"}) {
            EXPECT_EQ(classified(row.header, name), expected) << row.header.constData() << " " << name;
            EXPECT_EQ(classified(row.header + QByteArray(100, 'x'), name), expected);
        }
    }
}

TEST(AssetDescriptor, AWavThatIsAnAiffFormIsAiff) {
    EXPECT_EQ(classified(QByteArray("FORM\0\0\0\x20"
                                    "AIFFCOMM",
                                    16),
                         "a.wav"),
              (AssetClass{ContainerKind::aiff, Tier::bestEffort}));
}

TEST(AssetDescriptor, AnMp3ThatBeginsAsARiffWaveIsAWav) {
    EXPECT_EQ(classified(QByteArray("RIFF\x24\0\0\0WAVEfmt ", 16), "a.mp3"),
              (AssetClass{ContainerKind::riffWave, Tier::bwfGuaranteed}));
}

TEST(AssetDescriptor, NearlyAKnownHeaderFallsToTheExtension) {
    for (const char* header : {"RIFF....AVI ", "RIFF....wave", "RF64....AVI ", "FORM....8SVX", "FORM....AIFX",
                               "oggs........", "\xff\xdf..........", "riff....WAVE", "....FTYP....", "............"}) {
        EXPECT_EQ(classified(header, "a.wav"), (AssetClass{ContainerKind::riffWave, Tier::bwfGuaranteed})) << header;
        EXPECT_EQ(classified(header, "a.flac"), (AssetClass{ContainerKind::flac, Tier::bestEffort})) << header;
        EXPECT_EQ(classified(header, "a"), (AssetClass{ContainerKind::unknown, Tier::bestEffort})) << header;
    }
}

TEST(AssetDescriptor, ExtensionsInAnyCase) {
    const std::pair<const char*, ContainerKind> rows[] = {
        {"a.wav", ContainerKind::riffWave}, {"a.WAV", ContainerKind::riffWave}, {"a.aif", ContainerKind::aiff},
        {"a.AIFF", ContainerKind::aiff},    {"a.aifc", ContainerKind::aiff},    {"a.caf", ContainerKind::caf},
        {"a.mp3", ContainerKind::mp3},      {"a.flac", ContainerKind::flac},    {"a.ogg", ContainerKind::ogg},
        {"a.m4a", ContainerKind::mp4},      {"a.mp4", ContainerKind::mp4},      {"a.w64", ContainerKind::unknown},
        {"a.opus", ContainerKind::unknown}, {"wav", ContainerKind::unknown},    {"a", ContainerKind::unknown}};
    for (const auto& [name, kind] : rows)
        EXPECT_EQ(AssetDescriptorBuilder::containerFromExtension(QString::fromLatin1(name)), kind) << name;
}

TEST(AssetDescriptor, FiveBytesNamedWavAreAWavByTheirExtension) {
    EXPECT_EQ(classified("RIFF.", "a.wav"), (AssetClass{ContainerKind::riffWave, Tier::bwfGuaranteed}));
    EXPECT_EQ(classified("", "a.mp3"), (AssetClass{ContainerKind::mp3, Tier::bestEffort}));
    EXPECT_EQ(classified("fLaC......." /* eleven */, "a"), (AssetClass{ContainerKind::unknown, Tier::bestEffort}));
}

TEST(AssetDescriptor, TwelveZeroBytesWithoutAnExtensionAreUnknown) {
    EXPECT_EQ(classified(QByteArray(12, '\0'), "a"), (AssetClass{ContainerKind::unknown, Tier::bestEffort}));
}

TEST(AssetDescriptor, AWave64FileIsUnknown) {
    EXPECT_EQ(classified(QByteArray("riff\x2e\x91\xcf\x11\xa5\xd6\x28\xdb", 12), "a.w64"),
              (AssetClass{ContainerKind::unknown, Tier::bestEffort}));
}

TEST(AssetDescriptor, WhatCannotBeReadGetsItsKindFromItsExtension) {
    const TestFolder folder;
    EXPECT_EQ(AssetDescriptorBuilder::quickClassify(QStringLiteral("/nowhere/a.flac")).containerKind,
              ContainerKind::flac);
    folder.path(QStringLiteral("x.wav/inside"));
    EXPECT_EQ(AssetDescriptorBuilder::quickClassify(folder.path(QStringLiteral("x.wav"))).containerKind,
              ContainerKind::riffWave);
}

std::optional<AssetDescriptorError::Kind> sniffError(const QString& path) {
    try {
        AssetDescriptorBuilder::sniffContainer(path);
    } catch (const AssetDescriptorError& error) {
        return error.kind;
    }
    return std::nullopt;
}

TEST(AssetDescriptor, SniffingTellsWhyItFailed) {
    using Error = AssetDescriptorError::Kind;
    const TestFolder folder;
    EXPECT_EQ(sniffError(QStringLiteral("/nowhere/a.wav")), Error::cannotReadFile);
    EXPECT_EQ(sniffError(folder.write(QStringLiteral("short.wav"), "RIFF....WAV")), Error::invalidHeader);
    const QString locked = folder.write(QStringLiteral("locked.wav"), "RIFF....WAVE");
    ASSERT_EQ(::chmod(locked.toUtf8().constData(), 0), 0);
    const testing::Unprivileged nobody(folder.path());
    if (!nobody.isUnprivileged()) GTEST_SKIP() << "can't act as somebody without rights here";
    EXPECT_EQ(sniffError(locked), Error::cannotReadFile);
}

TEST(AssetDescriptor, ErrorTexts) {
    using Error = AssetDescriptorError::Kind;
    EXPECT_EQ(AssetDescriptorError(Error::cannotReadFile).errorDescription(), QStringLiteral("Cannot read file"));
    EXPECT_EQ(AssetDescriptorError(Error::invalidHeader).errorDescription(), QStringLiteral("Invalid file header"));
    EXPECT_EQ(AssetDescriptorError(Error::unsupportedFormat).errorDescription(),
              QStringLiteral("Unsupported audio format"));
}

} // namespace
} // namespace ostrel
