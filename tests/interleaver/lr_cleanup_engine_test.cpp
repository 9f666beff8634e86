#include "interleaver/lr_cleanup_engine.h"

#include "interleaver/fixtures.h"
#include "interleaver/interleave_engine.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

// A pair in a library, and the stereo file that proves it.
class LRCleanupTest : public ::testing::Test {
protected:
    LRCleanupTest() {
        WaveSpec spec;
        left = folder.write(QStringLiteral("Lib/Sub/a.L.wav"), waveBytes(spec));
        spec.firstSignal = 1;
        right = folder.write(QStringLiteral("Lib/Sub/a.R.wav"), waveBytes(spec));
        WaveSpec both;
        both.channels = 2;
        merged = folder.write(QStringLiteral("Lib/Sub/Interleaved/a.wav"), waveBytes(both));
    }
    AudioProof proof() const { return AudioProof::of({left, right}, channelPairs({left, right}, merged)); }
    SourceStepsResult move(const QString& root) {
        return LRCleanupEngine::moveToBackupFolder(left, right, root, proof(), journal);
    }

    TestFolder folder;
    QString left;
    QString right;
    QString merged;
    Journal journal{QStringLiteral("interleave")};
};

TEST_F(LRCleanupTest, MovesIntoOriginalsWithTheLibrarysFolders) {
    const QByteArray before = readAll(left);
    const QString target = folder.path(QStringLiteral("Lib/Originals/Sub/a.L.wav"));
    const SourceStepsResult result = move(folder.path(QStringLiteral("Lib")));
    EXPECT_TRUE(result.failure.isEmpty()) << result.failure.toStdString();
    EXPECT_EQ(readAll(target), before);
    EXPECT_TRUE(QFile::exists(folder.path(QStringLiteral("Lib/Originals/Sub/a.R.wav"))));
    EXPECT_FALSE(QFile::exists(left) || QFile::exists(right));
    ASSERT_EQ(result.fates.size(), 2u);
    EXPECT_EQ(result.fates[0], (SourceFate{left, SourceFate::Kind::moved, target}));
}

TEST_F(LRCleanupTest, APairOutsideTheRootGoesBesideItself) {
    EXPECT_TRUE(move(folder.path(QStringLiteral("Li"))).failure.isEmpty()); // no folder of theirs, only its beginning
    EXPECT_TRUE(QFile::exists(folder.path(QStringLiteral("Lib/Sub/Originals/a.L.wav"))));
    EXPECT_TRUE(QFile::exists(folder.path(QStringLiteral("Lib/Sub/Originals/a.R.wav"))));
}

TEST_F(LRCleanupTest, AnExistingDestinationFailsAndBothFilesStay) {
    const QStringList before{fingerprintOf(left), fingerprintOf(right)};
    const QString older = folder.write(QStringLiteral("Lib/Originals/Sub/a.R.wav"), "older");
    const SourceStepsResult result = move(folder.path(QStringLiteral("Lib")));
    EXPECT_TRUE(result.failure.startsWith(QStringLiteral("Could not move "))) << result.failure.toStdString();
    EXPECT_EQ(result.fates, ItemOutcome::allKept({left, right}));
    EXPECT_EQ((QStringList{fingerprintOf(left), fingerprintOf(right)}), before);
    EXPECT_FALSE(QFile::exists(folder.path(QStringLiteral("Lib/Originals/Sub/a.L.wav"))));
    EXPECT_EQ(readAll(older), "older");
}

TEST_F(LRCleanupTest, DeletesBoth) {
    const SourceStepsResult result = LRCleanupEngine::deleteFiles(left, right, proof(), journal);
    EXPECT_TRUE(result.failure.isEmpty());
    EXPECT_FALSE(QFile::exists(left) || QFile::exists(right));
    EXPECT_EQ(result.fates[1].kind, SourceFate::Kind::deleted);
}

TEST_F(LRCleanupTest, APairOfWhichOneIsGoneStaysAsItIs) {
    const AudioProof made = proof();
    QFile::remove(left);
    const SourceStepsResult result = LRCleanupEngine::deleteFiles(left, right, made, journal);
    EXPECT_EQ(result.failure, QStringLiteral("a.L.wav was changed meanwhile"));
    EXPECT_TRUE(QFile::exists(right));
}

} // namespace
} // namespace ostrel
