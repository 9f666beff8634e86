// What is said of a new file's metadata, against files whose bytes are laid down here.
#include "metadata/metadata_comparison.h"

#include "support/test_folder.h"
#include "support/wave_file.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

class MetadataComparison : public ::testing::Test {
protected:
    // Version, loudness and reserved bytes too.
    static QByteArray bext(const char* description = "sSCENE=1\r\nsTAKE=2\r\n") {
        BextSpec spec;
        spec.description = description;
        spec.originator = "Recorder";
        spec.originatorReference = "REF";
        spec.timeReference = 172'800'000;
        spec.umid = QByteArray(32, 'u');
        spec.codingHistory = "A=PCM,F=48000\r\n";
        QByteArray payload = bextPayload(spec);
        payload.replace(346, 2, QByteArray("\x02\0", 2));
        payload.replace(412, 10, "loudness..");
        return payload;
    }
    QString file(const char* name, const QByteArray& bext, std::vector<std::pair<QByteArray, QByteArray>> chunks = {}) {
        WaveSpec spec;
        spec.frames = 10;
        if (!bext.isEmpty()) spec.before.emplace_back("bext", bext);
        spec.before.insert(spec.before.end(), chunks.begin(), chunks.end());
        return folder_.write(QString::fromLatin1(name), waveBytes(spec));
    }

    TestFolder folder_;
};

TEST_F(MetadataComparison, EveryFieldThatIsThereIsNamedAndNoOther) {
    const MetadataRecord record = compareMetadata(file("a.wav", bext()), file("b.wav", bext()), SourceUmid::kept);
    EXPECT_EQ(record.kept.join(u' '), QStringLiteral("Description Originator OriginatorReference OriginationDate "
                                                     "OriginationTime TimeReference BextVersion UMID loudness "
                                                     "CodingHistory"));
    EXPECT_TRUE(record.isWhole());
}

TEST_F(MetadataComparison, AnotherLineEndIsAChange) {
    const auto record =
        compareMetadata(file("a.wav", bext()), file("b.wav", bext("sSCENE=1\nsTAKE=2\n")), SourceUmid::kept);
    EXPECT_EQ(record.changed, QStringList(QStringLiteral("Description")));
    EXPECT_FALSE(record.isWhole());
}

TEST_F(MetadataComparison, EmptiedFieldsAreLostAndAUmidIsUnlessItWasToBeCleared) {
    QByteArray target = bext();
    target.replace(348, 64, QByteArray(64, '\0'));
    target.replace(412, 10, QByteArray(10, '\0'));
    target.truncate(602);
    const QString made = file("b.wav", target);
    const auto cleared = compareMetadata(file("a.wav", bext()), made, SourceUmid::cleared);
    EXPECT_EQ(cleared.lost.join(u' '), QStringLiteral("loudness CodingHistory"));
    EXPECT_EQ(cleared.renewed, QStringList(QStringLiteral("UMID")));
    const auto kept = compareMetadata(file("a.wav", bext()), made, SourceUmid::kept);
    EXPECT_EQ(kept.lost.join(u' '), QStringLiteral("UMID loudness CodingHistory"));
}

TEST_F(MetadataComparison, WithoutABextChunkAllFieldsAreLost) {
    EXPECT_EQ(compareMetadata(file("a.wav", bext()), file("b.wav", {}), SourceUmid::kept).lost.size(), 10);
}

TEST_F(MetadataComparison, ChunksCountByTheirBytes) {
    const QString source = file("a.wav", {}, {{"SMED", "scene"}, {"iXML", "<a/>"}, {"cue ", "1234"}, {"acid", "x"}});
    const QString target = file("b.wav", {}, {{"SMED", "scene"}, {"iXML", "<b/>"}, {"acid", "y"}});
    const auto record = compareMetadata(source, target, SourceUmid::kept);
    EXPECT_EQ(record.kept, QStringList(QStringLiteral("SMED")));
    EXPECT_EQ(record.renewed, QStringList(QStringLiteral("iXML")));
    EXPECT_EQ(record.changed, QStringList(QStringLiteral("acid")));
    EXPECT_EQ(record.lost, QStringList(QStringLiteral("cue")));
}

TEST_F(MetadataComparison, AnEmptyDocumentInThePlaceOfOneIsALoss) {
    const QString source = file("a.wav", {}, {{"iXML", "<a/>"}});
    EXPECT_EQ(compareMetadata(source, file("b.wav", {}, {{"iXML", ""}}), SourceUmid::kept).lost,
              QStringList(QStringLiteral("iXML")));
}

TEST_F(MetadataComparison, WhatIsNoWavFileHasNothingToKeep) {
    EXPECT_TRUE(
        compareMetadata(folder_.write(QStringLiteral("a.flac"), "fLaC"), file("b.wav", bext()), SourceUmid::kept)
            .isEmpty());
}

} // namespace
} // namespace ostrel
