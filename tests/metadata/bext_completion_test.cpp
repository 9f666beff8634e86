#include "metadata/bext_completion.h"

#include "support/test_folder.h"
#include "support/wave_file.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

class BextCompletionTest : public ::testing::Test {
protected:
    BextCompletionTest() {
        bext.description = "sSCENE=12A\r\nsTAKE=3\r\nsNOTE=a < b & c\r\n";
        bext.originator = "Recorder";
        bext.originationDate = "0000-00-00";
        bext.timeReference = 5'000'000'123;
        bext.umid = QByteArray(64, 'u');
        bext.codingHistory = "A=PCM,F=48000,W=24,M=mono\r\n";
        source = write("source.wav", bextPayload(bext));
    }
    QString write(const char* name, const QByteArray& payload) const {
        WaveSpec spec;
        if (!payload.isEmpty()) spec.before = {{"bext", payload}};
        return folder.write(QString::fromUtf8(name), waveBytes(spec));
    }
    static QByteArray chunk(const QString& file) { return chunkOf(readAll(file), "bext"); }
    QByteArray withoutUmid() const {
        BextSpec cleared = bext;
        cleared.umid.clear();
        return bextPayload(cleared);
    }
    void expectSound(const QString& file) const {
        EXPECT_EQ(decodedByFfmpeg(file), decodedByFfmpeg(source));
        const QByteArray bytes = readAll(file);
        EXPECT_EQ(bytes.mid(4, 4), littleEndian32(static_cast<quint32>(bytes.size() - 8)));
    }

    TestFolder folder;
    BextSpec bext;
    QString source;
};

TEST_F(BextCompletionTest, AnotherChunkOfThatSizeBecomesTheSources) {
    BextSpec other = bext;
    other.description = "sSCENE=12A\nsTAKE=3\n";
    other.timeReference = 0;
    other.umid = QByteArray(64, '\x7f');
    const QString target = write("target.wav", bextPayload(other));
    EXPECT_TRUE(completeBext(source, target, SourceUmid::kept).isComplete);
    EXPECT_EQ(chunk(target), chunk(source));
    expectSound(target);
}

TEST_F(BextCompletionTest, TheUmidOfAnotherMaterialIsCleared) {
    const QString target = write("target.wav", bextPayload({}) + QByteArray(40, '\0'));
    EXPECT_TRUE(completeBext(source, target, SourceUmid::cleared).isComplete);
    EXPECT_EQ(chunk(target).first(withoutUmid().size()), withoutUmid());
    expectSound(target);
}

TEST_F(BextCompletionTest, AShorterChunkMakesRoomForALongerHistory) {
    BextSpec shorter = bext;
    shorter.codingHistory.clear();
    const QString target = write("target.wav", bextPayload(shorter));
    EXPECT_TRUE(completeBext(source, target, SourceUmid::kept).isComplete);
    EXPECT_EQ(chunk(target), chunk(source));
    EXPECT_FALSE(chunkOf(readAll(target), "JUNK").isEmpty()) << "the old one is a filler";
    expectSound(target);
}

TEST_F(BextCompletionTest, AFileWithoutOneGetsIt) {
    const QString target = write("target.wav", {});
    EXPECT_TRUE(completeBext(source, target, SourceUmid::kept).isComplete);
    EXPECT_EQ(chunk(target), chunk(source));
    expectSound(target);
}

TEST_F(BextCompletionTest, ALongerHistoryOfTheTargetEndsInZeros) {
    BextSpec longer = bext;
    longer.codingHistory += "A=PCM,F=48000,W=24,M=stereo,T=other\r\n";
    const QString target = write("target.wav", bextPayload(longer));
    EXPECT_TRUE(completeBext(source, target, SourceUmid::kept).isComplete);
    EXPECT_TRUE(chunk(target).startsWith(chunk(source)));
    EXPECT_EQ(chunk(target).mid(chunk(source).size()).count('\0'), chunk(target).size() - chunk(source).size());
}

TEST_F(BextCompletionTest, ASourceWithoutOneChangesNothing) {
    const QString plain = write("plain.wav", {});
    const QString target = write("target.wav", bextPayload(bext));
    const QByteArray before = readAll(target);
    const BextCompletion completion = completeBext(plain, target, SourceUmid::kept);
    EXPECT_FALSE(completion.isComplete);
    EXPECT_TRUE(completion.why.isEmpty());
    EXPECT_EQ(readAll(target), before);
}

TEST_F(BextCompletionTest, WhatIsNoWavIsLeftAlone) {
    const QString target = folder.write(QStringLiteral("target.flac"), "fLaC");
    const BextCompletion completion = completeBext(source, target, SourceUmid::kept);
    EXPECT_FALSE(completion.isComplete);
    EXPECT_TRUE(completion.why.isEmpty());
    EXPECT_EQ(readAll(target), "fLaC");
}

} // namespace
} // namespace ostrel
