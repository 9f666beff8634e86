// The last step of a new file's metadata: what it adds, and that it leaves audio alone.
#include "metadata/metadata_completion.h"

#include "support/test_folder.h"
#include "support/wave_file.h"

#include <QCryptographicHash>
#include <algorithm>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

// As the chunk holds it: last byte first.
QByteArray reversedMd5(const QByteArray& bytes) {
    QByteArray digest = QCryptographicHash::hash(bytes, QCryptographicHash::Md5);
    std::reverse(digest.begin(), digest.end());
    return digest;
}

class MetadataCompletionTest : public ::testing::Test {
protected:
    QString file(const char* name, const std::vector<std::pair<QByteArray, QByteArray>>& chunks, int firstSignal = 0) {
        WaveSpec spec;
        spec.firstSignal = firstSignal;
        spec.before = chunks;
        return folder_.write(QString::fromLatin1(name), waveBytes(spec));
    }

    TestFolder folder_;
};

TEST_F(MetadataCompletionTest, TheChecksumIsThatOfTheNewAudio) {
    const QString source = file("a.wav", {{"MD5 ", QByteArray(16, 'x')}});
    const QString target = file("b.wav", {{"MD5 ", QByteArray(16, 'x')}}, 1);
    const QByteArray audio = chunkOf(readAll(target), "data");
    EXPECT_TRUE(completeMetadata(source, target, SourceUmid::kept).warnings.isEmpty());
    EXPECT_EQ(chunkOf(readAll(target), "MD5 "), reversedMd5(audio));
    EXPECT_EQ(chunkOf(readAll(target), "data"), audio);
    EXPECT_EQ(chunkOf(readAll(source), "MD5 "), QByteArray(16, 'x')) << "sources are only read";
}

TEST_F(MetadataCompletionTest, AChecksumOfAnotherSizeIsLeftAndSaid) {
    const QString target = file("b.wav", {{"MD5 ", "short"}});
    EXPECT_EQ(completeMetadata(target, target, SourceUmid::kept).warnings.size(), 1);
    EXPECT_EQ(chunkOf(readAll(target), "MD5 "), "short");
}

TEST_F(MetadataCompletionTest, ADocumentThatNoToolCouldRewriteGoesAlongAsItWas) {
    const QByteArray document = "<BWFXML><NOTE>Caf\xE9</NOTE></BWFXML>";
    const QString source = file("a.wav", {{"iXML", document}});
    const QString target = file("b.wav", {}, 1);
    const QByteArray audio = chunkOf(readAll(target), "data");
    const QStringList warnings = completeMetadata(source, target, SourceUmid::kept).warnings;
    ASSERT_EQ(warnings.size(), 1);
    EXPECT_TRUE(warnings[0].startsWith(QStringLiteral("The iXML of a.wav could not be rewritten and goes along")));
    EXPECT_EQ(chunkOf(readAll(target), "iXML"), document);
    EXPECT_EQ(chunkOf(readAll(target), "data"), audio);
}

TEST_F(MetadataCompletionTest, ARewrittenDocumentStays) {
    const QString source = file("a.wav", {{"iXML", "<BWFXML>old</BWFXML>"}});
    const QString target = file("b.wav", {{"iXML", "<BWFXML>new</BWFXML>"}});
    EXPECT_TRUE(completeMetadata(source, target, SourceUmid::kept).warnings.isEmpty());
    EXPECT_EQ(chunkOf(readAll(target), "iXML"), "<BWFXML>new</BWFXML>");
}

TEST_F(MetadataCompletionTest, WhatIsNoWavFileIsLeftAlone) {
    const QString source = file("a.wav", {{"iXML", "<BWFXML/>"}});
    const QString target = folder_.write(QStringLiteral("b.flac"), "fLaC and more");
    EXPECT_TRUE(completeMetadata(source, target, SourceUmid::kept).warnings.isEmpty());
    EXPECT_EQ(readAll(target), "fLaC and more");
}

} // namespace
} // namespace ostrel
