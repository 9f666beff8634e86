// The MD5 chunk put into recordings where they stand, and when it is not.
#include "metadata/chunks/md5_chunk.h"

#include "foundation/proof/audio_hashes.h"
#include "platform/files/files.h"
#include "support/own_state.h"
#include "support/test_folder.h"
#include "support/wave_file.h"
#include "wave/wave_layout.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

class Md5ChunkTest : public ::testing::Test {
protected:
    bool embed(const QString& file, bool replacesOther = false) {
        Journal journal(u"hash"_s);
        return embedMd5(file, hashAudio(file).md5, FileStamp::of(file).value(), replacesOther, journal);
    }
    void expectRefused(const QString& file, bool replacesOther = false) {
        const QString before = fingerprintOf(file);
        EXPECT_THROW(embed(file, replacesOther), FileError);
        EXPECT_EQ(fingerprintOf(file), before);
        EXPECT_EQ(namesIn(folder_.path()).size(), 1) << "something was left behind";
    }

    TestFolder folder_;
    OwnState state_;
};

TEST_F(Md5ChunkTest, StandsAtTheEndInReverseOrderAndNothingElseChanges) {
    for (const int frames : {8, 9}) { // 9 frames of 3 bytes: an odd number, and a pad byte
        const WaveSpec spec{.frames = frames, .before = {{"iXML", "<BWFXML/>"}}, .after = {{"LIST", "adtl"}}};
        const QByteArray was = waveBytes(spec);
        const QString file = folder_.write(u"a.wav"_s, was);
        EXPECT_EQ(embeddedMd5(file), std::nullopt);
        EXPECT_TRUE(embed(file));
        const QByteArray is = readAll(file);
        QByteArray digest = QByteArray::fromHex(hashAudio(file).md5.toLatin1());
        std::ranges::reverse(digest);
        EXPECT_EQ(is.mid(8), was.mid(8) + "MD5 " + littleEndian32(16) + digest);
        EXPECT_EQ(is.mid(4, 4), littleEndian32(static_cast<quint32>(is.size() - 8)));
        EXPECT_EQ(embeddedMd5(file), hashAudio(file).md5);
        EXPECT_FALSE(embed(file)) << "it is there";
    }
}

TEST_F(Md5ChunkTest, AFileWithoutItsLastPadByteGetsOne) {
    QByteArray bytes = waveBytes({.frames = 9});
    bytes.chop(1);
    const QString file = folder_.write(u"a.wav"_s, bytes);
    EXPECT_TRUE(embed(file));
    EXPECT_EQ(embeddedMd5(file), hashAudio(file).md5);
    EXPECT_EQ(readAll(file).size(), bytes.size() + 1 + 24);
}

TEST_F(Md5ChunkTest, ADigestThatDiffersStaysUnlessItIsToBeReplaced) {
    const WaveSpec spec{.frames = 100, .before = {{"MD5 ", QByteArray(16, 'x')}}};
    const QString file = folder_.write(u"a.wav"_s, waveBytes(spec));
    expectRefused(file);
    EXPECT_TRUE(embed(file, true));
    EXPECT_EQ(embeddedMd5(file), hashAudio(file).md5);
    EXPECT_EQ(readAll(file).size(), waveBytes(spec).size());
}

TEST_F(Md5ChunkTest, AChunkThatIsTooShortIsNoDigestAndStays) {
    const QString file = folder_.write(u"a.wav"_s, waveBytes({.frames = 100, .before = {{"MD5 ", "short!"}}}));
    EXPECT_EQ(embeddedMd5(file), QString());
    expectRefused(file, true);
}

TEST_F(Md5ChunkTest, UnexplainedBytesAndUnclosedFilesAreLeftAlone) {
    const QByteArray whole = waveBytes({.frames = 48'000});
    expectRefused(folder_.write(u"a.wav"_s, whole + QByteArray(5000, 'x')));
    expectRefused(folder_.write(u"a.wav"_s, withDataSize(whole, 0)));
    expectRefused(folder_.write(u"a.wav"_s, whole.chopped(600)));
}

TEST_F(Md5ChunkTest, AFileThatChangedSinceItWasHashedIsLeftAlone) {
    const QString file = folder_.write(u"a.wav"_s, waveBytes({.frames = 100}));
    const FileStamp seen = FileStamp::of(file).value();
    folder_.write(u"a.wav"_s, waveBytes({.frames = 101}));
    Journal journal(u"hash"_s);
    EXPECT_THROW(embedMd5(file, QString(32, u'0'), seen, false, journal), FileError);
}

// The same audio with its sizes in ds64, as long recordings have it.
TEST_F(Md5ChunkTest, Rf64GrowsByItsLongSizes) {
    const QByteArray riff = waveBytes({.frames = 100});
    const QByteArray size = riff.mid(riff.indexOf("data") + 4, 4) + QByteArray(4, '\0');
    const auto whole = static_cast<quint32>(riff.size() - 8 + 36);
    QByteArray bytes = "RF64" + QByteArray(4, '\xFF') + "WAVE" +
                       chunkBytes("ds64", littleEndian32(whole) + QByteArray(4, '\0') + size + QByteArray(12, '\0')) +
                       riff.mid(12);
    bytes.replace(bytes.indexOf("data") + 4, 4, QByteArray(4, '\xFF'));
    const QString file = folder_.write(u"a.wav"_s, bytes);
    const QString digest = hashAudio(file).md5;
    EXPECT_TRUE(embed(file));
    EXPECT_EQ(embeddedMd5(file), digest);
    EXPECT_EQ(hashAudio(file).md5, digest);
    const auto layout = readWaveLayout(file.toStdString());
    ASSERT_TRUE(layout.has_value());
    EXPECT_EQ(layout->riffSize, layout->fileSize - 8);
    EXPECT_EQ(readAll(file).mid(4, 4), QByteArray(4, '\xFF'));
}

TEST_F(Md5ChunkTest, ALinkStaysALink) {
    const QString file = folder_.write(u"a.wav"_s, waveBytes({.frames = 100}));
    const QString link = folder_.path(u"link.wav"_s);
    ASSERT_TRUE(QFile::link(file, link));
    EXPECT_TRUE(embed(link));
    EXPECT_TRUE(QFileInfo(link).isSymLink());
    EXPECT_EQ(embeddedMd5(file), hashAudio(file).md5);
}

} // namespace
} // namespace ostrel
