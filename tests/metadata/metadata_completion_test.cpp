// The last step of a new file's metadata: what it adds, and that it leaves audio alone.
#include "metadata/metadata_completion.h"

#include "metadata/metadata_comparison.h"
#include "support/test_folder.h"
#include "support/wave_file.h"
#include "wave/wave_layout.h"

#include <QCryptographicHash>
#include <QFile>
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

// RF64 with a ds64 chunk of 28 bytes; `length` bytes of audio that take no room on the disk.
QString longFile(const QString& path, const QByteArray& chunks, qint64 length) {
    const auto number = [](qint64 value) {
        return littleEndian32(static_cast<quint32>(value)) + littleEndian32(static_cast<quint32>(value >> 32));
    };
    const QByteArray format = chunkBytes("fmt ", QByteArray::fromHex("0100010080bb00000077010002001000"));
    const qint64 end = 12 + 36 + format.size() + chunks.size() + 8 + length;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) return {};
    file.write("RF64" + littleEndian32(0xFFFFFFFFu) + "WAVE" +
               chunkBytes("ds64", number(end - 8) + number(length) + number(length / 2) + littleEndian32(0)) + format +
               chunks + "data" + littleEndian32(0xFFFFFFFFu));
    return file.resize(end) ? path : QString();
}

TEST_F(MetadataCompletionTest, ALongSourceKeepsItsChunks) {
    const QByteArray chunks = chunkBytes("bext", bextPayload({.description = "sSCENE=1"})) + chunkBytes("SMED", "odd");
    const QString source = longFile(folder_.path(QStringLiteral("a.wav")), chunks, 6'000'000'000);
    const QString target = file("b.wav", {}, 1);
    const QByteArray audio = chunkOf(readAll(target), "data");
    EXPECT_TRUE(completeMetadata(source, target, SourceUmid::kept).warnings.isEmpty());
    EXPECT_EQ(chunkOf(readAll(target), "SMED"), "odd");
    EXPECT_TRUE(chunkOf(readAll(target), "bext").startsWith("sSCENE=1"));
    EXPECT_EQ(chunkOf(readAll(target), "data"), audio);
    const MetadataRecord record = compareMetadata(source, target, SourceUmid::kept);
    EXPECT_TRUE(record.kept.contains(QStringLiteral("SMED")) && record.lost.isEmpty() && record.changed.isEmpty());
}

TEST_F(MetadataCompletionTest, ALongTargetTakesThem) {
    const QString source = file("a.wav", {{"bext", bextPayload({.description = "sSCENE=1"})}, {"SMED", "odd"}});
    const QString target = longFile(folder_.path(QStringLiteral("b.wav")), {}, 200);
    EXPECT_TRUE(completeMetadata(source, target, SourceUmid::kept).warnings.isEmpty());
    const auto layout = readWaveLayout(target.toStdString());
    ASSERT_TRUE(layout && layout->hasLongSizes);
    EXPECT_TRUE(layout->endsAsDeclared());
    EXPECT_EQ(layout->frames(), 100u);
    EXPECT_EQ(layout->fault(), "");
    const MetadataRecord record = compareMetadata(source, target, SourceUmid::kept);
    EXPECT_TRUE(record.kept.contains(QStringLiteral("SMED")) && record.lost.isEmpty() && record.changed.isEmpty());
}

TEST_F(MetadataCompletionTest, WhatIsNoWavFileIsLeftAlone) {
    const QString source = file("a.wav", {{"iXML", "<BWFXML/>"}});
    const QString target = folder_.write(QStringLiteral("b.flac"), "fLaC and more");
    EXPECT_TRUE(completeMetadata(source, target, SourceUmid::kept).warnings.isEmpty());
    EXPECT_EQ(readAll(target), "fLaC and more");
}

} // namespace
} // namespace ostrel
