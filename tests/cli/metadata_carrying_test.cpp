// The Interleaver with the delivered bwfmetaedit: what a recorder wrote arrives, and only a certified merge costs its
// sources.
#include "cli/command.h"

#include "support/wave_file.h"

#include <QtEndian>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

BextSpec recorderBext() {
    BextSpec bext;
    bext.description = "sSCENE=12A\r\nsTAKE=03\r\nsNOTE=\"rain\", heavy";
    bext.originator = "SD 788T";
    bext.originatorReference = "USSDVGR1112089007124015";
    bext.originationDate = "2026-03-14";
    bext.originationTime = "09:26:53";
    bext.timeReference = 4'294'967'299; // more than 32 bits hold
    for (int i = 0; i < 64; ++i) bext.umid += static_cast<char>(i + 1);
    bext.codingHistory = "A=PCM,F=48000,W=24,M=mono,T=one\r\nA=PCM,F=48000,W=24,T=two\r\n";
    return bext;
}

QByteArray field(const QByteArray& bext, qsizetype offset, qsizetype length) {
    const QByteArray bytes = bext.mid(offset, length);
    const qsizetype end = bytes.indexOf('\0');
    return end < 0 ? bytes : bytes.first(end);
}

// Offsets of EBU Tech 3285. The tool writes the line breaks of a Description as it found them.
void expectRecorderBext(const QByteArray& bext) {
    const BextSpec expected = recorderBext();
    ASSERT_GE(bext.size(), 602);
    EXPECT_EQ(field(bext, 0, 256).replace("\r\n", "\n"), QByteArray(expected.description).replace("\r\n", "\n"));
    EXPECT_EQ(field(bext, 256, 32), expected.originator);
    EXPECT_EQ(field(bext, 288, 32), expected.originatorReference);
    EXPECT_EQ(bext.mid(320, 10), expected.originationDate);
    EXPECT_EQ(bext.mid(330, 8), expected.originationTime);
    EXPECT_EQ(qFromLittleEndian<quint64>(bext.constData() + 338), expected.timeReference);
    EXPECT_EQ(bext.mid(348, 64), expected.umid);
    EXPECT_EQ(field(bext, 602, bext.size()).replace("\r\n", "\n"),
              QByteArray(expected.codingHistory).replace("\r\n", "\n"));
}

void writePair(const TestFolder& folder, const BextSpec& bext, bool withIXML) {
    WaveSpec spec;
    spec.before = {{"bext", bextPayload(bext)}};
    if (withIXML) spec.after = {{"iXML", "<BWFXML><SCENE>12A</SCENE></BWFXML>"}};
    folder.write(QStringLiteral("Rain.L.wav"), waveBytes(spec));
    spec.firstSignal = 1;
    folder.write(QStringLiteral("Rain.R.wav"), waveBytes(spec));
}

class CarriedMetadata : public ::testing::TestWithParam<bool> {};

// Without chunks to carry, the engine has bwfmetaedit copy everything that the output lacks, exactly; with chunks that
// step is left out. Either way the controller then copies the CORE document, re-aimed at the output.
TEST_P(CarriedMetadata, EveryBextFieldArrivesAndNoSourceIsTouched) {
    const TestFolder folder;
    writePair(folder, recorderBext(), GetParam());
    const QStringList before = fingerprint(folder.path());
    const CliRun run = runCli({QStringLiteral("interleave"), folder.path()});
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_TRUE(run.out.contains(QStringLiteral("Created: Rain.wav (audio+bwf ok)"))) << run.out.toStdString();
    const QString output = folder.path(QStringLiteral("Interleaved/Rain.wav"));
    const QByteArray file = readAll(output);
    expectRecorderBext(chunkOf(file, "bext"));
    const QByteArray document = chunkOf(file, "iXML");
    EXPECT_EQ(document.contains("<SCENE>12A</SCENE>"), GetParam());
    EXPECT_EQ(document.contains("<TRACK_COUNT>2</TRACK_COUNT>"), GetParam()) << "of the new file's own tracks";
    WaveSpec both;
    both.channels = 2;
    EXPECT_EQ(decodedByFfmpeg(output), scaledTo32(samplesOf(both), 24));
    QFile::remove(output);
    EXPECT_EQ(fingerprint(folder.path()), before);
}

INSTANTIATE_TEST_SUITE_P(WithAndWithoutChunks, CarriedMetadata, ::testing::Bool());

// De-interleaving goes by single fields, and the coding history is none of them: meant. ffmpeg's -map_metadata brings
// it.
TEST(CarriedMetadataOfASplit, FieldsArriveInEveryOutput) {
    const TestFolder folder;
    WaveSpec spec;
    spec.channels = 2;
    spec.before = {{"bext", bextPayload(recorderBext())}};
    const QString source = folder.write(QStringLiteral("Poly.wav"), waveBytes(spec));
    const QString before = fingerprintOf(source);
    EXPECT_EQ(runCli({QStringLiteral("deinterleave"), source}).exitStatus, 0);
    for (const char* tag : {"L", "R"}) {
        const QByteArray bext = chunkOf(
            readAll(folder.path(QStringLiteral("De-interleaved/Poly.%1.wav").arg(QString::fromLatin1(tag)))), "bext");
        EXPECT_EQ(field(bext, 256, 32), "SD 788T");
        EXPECT_EQ(field(bext, 288, 32), "USSDVGR1112089007124015");
        EXPECT_EQ(qFromLittleEndian<quint64>(bext.constData() + 338), 4'294'967'299u);
        EXPECT_TRUE(field(bext, 0, 256).startsWith("sSCENE=12A"));
    }
    EXPECT_EQ(fingerprintOf(source), before);
}

CliRun cleanUp(const TestFolder& folder, const char* mode) {
    return runCli({QStringLiteral("interleave"), QStringLiteral("--lr-cleanup"), QString::fromLatin1(mode),
                   QStringLiteral("--json"), folder.path()});
}

bool hasSources(const TestFolder& folder) {
    return QFile::exists(folder.path(QStringLiteral("Rain.L.wav"))) &&
           QFile::exists(folder.path(QStringLiteral("Rain.R.wav")));
}

BextSpec oneLineBext() {
    BextSpec bext = recorderBext();
    bext.description = "Rain on a tin roof";
    return bext;
}

TEST(Certificate, ACertifiedMergeHasItsSourcesMoved) {
    const TestFolder folder;
    writePair(folder, oneLineBext(), false);
    const CliRun run = cleanUp(folder, "verifiedConsolidation");
    EXPECT_EQ(run.json()["items"][0]["status"], "completedCarbonCopyCertified") << run.err.toStdString();
    EXPECT_FALSE(QFile::exists(folder.path(QStringLiteral("Rain.L.wav"))));
    EXPECT_TRUE(QFile::exists(folder.path(QStringLiteral("Originals/Rain.L.wav"))));
    EXPECT_TRUE(QFile::exists(folder.path(QStringLiteral("Originals/Rain.R.wav"))));
}

TEST(Certificate, ACertifiedMergeHasItsSourcesDeleted) {
    const TestFolder folder;
    writePair(folder, oneLineBext(), false);
    EXPECT_EQ(cleanUp(folder, "hardDelete").json()["items"][0]["status"], "completedCarbonCopyCertified");
    EXPECT_FALSE(QFile::exists(folder.path(QStringLiteral("Rain.L.wav"))) ||
                 QFile::exists(folder.path(QStringLiteral("Rain.R.wav"))));
    EXPECT_EQ(field(chunkOf(readAll(folder.path(QStringLiteral("Interleaved/Rain.wav"))), "bext"), 0, 256),
              "Rain on a tin roof");
}

TEST(Certificate, AMergeWithoutAnIdentityKeepsItsSources) {
    const TestFolder folder;
    BextSpec bext;
    bext.originationDate.clear();
    bext.originationTime.clear();
    writePair(folder, bext, false);
    EXPECT_EQ(cleanUp(folder, "hardDelete").json()["items"][0]["status"], "completedUncertified");
    EXPECT_TRUE(hasSources(folder));
}

// Chunks keep the engine from copying BEXT, and ffmpeg by itself carries the reference, which would do for the
// certificate, but neither Description nor Originator: all of it has to be there before the sources go.
TEST(Certificate, AMergeWithChunksHasAllOfItsBextBeforeItsSourcesGo) {
    const TestFolder folder;
    writePair(folder, oneLineBext(), true);
    EXPECT_EQ(cleanUp(folder, "hardDelete").json()["items"][0]["status"], "completedCarbonCopyCertified");
    const QByteArray bext = chunkOf(readAll(folder.path(QStringLiteral("Interleaved/Rain.wav"))), "bext");
    EXPECT_EQ(field(bext, 0, 256), "Rain on a tin roof");
    EXPECT_EQ(field(bext, 256, 32), "SD 788T");
    EXPECT_EQ(bext.mid(320, 10), "2026-03-14");
    EXPECT_FALSE(QFile::exists(folder.path(QStringLiteral("Rain.L.wav"))));
}

} // namespace
} // namespace ostrel
