// One group from its sources to its outcome, with an ffmpeg that can't always be believed: what happens to the sources,
// and what is said of it.
#include "interleaver/interleave_job.h"
#include "metadata/bext_identity.h"

#include "interleaver/fixtures.h"
#include "support/own_state.h"
#include "support/sound.h"
#include "support/system_calls.h"

#include <cerrno>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

class InterleaveJobTest : public ::testing::Test {
protected:
    InterleaveJobTest() {
        run.ffmpegPath = tool("ffmpeg");
        run.ffprobePath = tool("ffprobe");
        run.layout = ChannelLayout::stereo;
        spec.frames = 48000;
    }
    // Two mono files and the group that they are; what is to become of them is said by `deletes`.
    void writePair(const WaveSpec& left, const WaveSpec& right) {
        set(QStringLiteral("L"), waveBytes(left));
        set(QStringLiteral("R"), waveBytes(right));
        run.options.deleteOriginalsInterleave = true;
    }
    void writePair() {
        WaveSpec right = spec;
        right.firstSignal = 1;
        writePair(spec, right);
    }
    void set(const QString& tag, const QByteArray& bytes) {
        group.baseName = QStringLiteral("A");
        group.containerKind = ContainerKind::riffWave;
        group.bitDepth = spec.bitDepth;
        group.channelFiles[tag] = folder.write(QStringLiteral("A.%1.wav").arg(tag), bytes);
    }
    void useFloats(float peak) {
        const auto signal = [peak](int channel, qint64 frame) {
            return frame == 16000 ? peak : markedSample(channel, frame);
        };
        for (const char* tag : {"L", "R"}) {
            const QString file = folder.path(QStringLiteral("A.%1.wav").arg(QString::fromLatin1(tag)));
            group.channelFiles[QString::fromLatin1(tag)] =
                writeSound(file, 1, 48000, signal, 48000, SampleFormat::float32);
        }
        group.baseName = QStringLiteral("A");
        group.bitDepth = 32;
        group.containerKind = ContainerKind::riffWave;
        run.options.deleteOriginalsInterleave = true;
    }
    ItemOutcome take() {
        report = InterleaveJob(run, group, {}).run();
        return report.outcome;
    }
    bool hasSources() const {
        return std::all_of(group.channelFiles.begin(), group.channelFiles.end(),
                           [](const QString& file) { return QFile::exists(file); });
    }
    // The output stands, the originals stay, and status, message, warnings and log say why.
    void expectKept(const QString& why) {
        const QString sentence = QStringLiteral("Originals kept: ") + why;
        const ItemOutcome outcome = take();
        EXPECT_EQ(outcome.status, ProcessingStatus::completedWithWarning(sentence))
            << outcome.status.text.toStdString();
        EXPECT_EQ(outcome.message, sentence);
        EXPECT_TRUE(outcome.warnings.contains(sentence));
        EXPECT_EQ(outcome.sourcesText(), QStringLiteral("Kept"));
        EXPECT_TRUE(std::any_of(report.log.begin(), report.log.end(), [&](const ProcessingLogEntry& entry) {
            return entry.message == sentence && entry.level == LogLevel::warning &&
                   entry.category == LogCategory::cleanup;
        }));
        EXPECT_TRUE(hasSources());
        EXPECT_TRUE(QFile::exists(folder.path(QStringLiteral("Interleaved/A.wav"))));
        EXPECT_TRUE(Journal::read().empty());
    }
    QStringList outputs() const {
        return QDir(folder.path(QStringLiteral("Interleaved"))).entryList(QDir::Files | QDir::Hidden);
    }
    // Fails the deletion of one source: the first is the left one, and each has a private name by then.
    std::unique_ptr<OnSystemCall> failingDeletion(int number) const {
        const auto answer = [here = folder.path(), number, seen = 0](const QByteArray& file,
                                                                     const QByteArray&) mutable {
            const QString path = QFile::decodeName(file);
            const bool isSource = paths::parent(path) == here && isPrivateName(paths::lastComponent(path));
            return isSource && ++seen == number ? EPERM : 0;
        };
        return std::make_unique<OnSystemCall>(SystemCall::unlink, answer);
    }

    OwnState state;
    TestFolder folder;
    RunContext run{QStringLiteral("interleave")};
    WaveSpec spec;
    InterleaveGroup group;
    ItemReport report;
};

TEST_F(InterleaveJobTest, ProvenSourcesGoAndTheJournalTellsIt) {
    writePair();
    const ItemOutcome outcome = take();
    EXPECT_EQ(outcome.status, ProcessingStatus::completed());
    EXPECT_EQ(outcome.outputs, QStringList{folder.path(QStringLiteral("Interleaved/A.wav"))});
    EXPECT_EQ(outcome.sourcesText(), QStringLiteral("Deleted"));
    EXPECT_TRUE(outcome.warnings.isEmpty());
    EXPECT_FALSE(QFile::exists(group.channelFiles[QStringLiteral("L")]));
    EXPECT_EQ(journalSteps(), (QStringList{QStringLiteral("delete done"), QStringLiteral("delete done")}));
    EXPECT_EQ(run.ledger->written(), outcome.outputs);
}

TEST_F(InterleaveJobTest, WhatTakesNoPartInTheOutputIsNotTouched) {
    writePair();
    WaveSpec third = spec;
    third.firstSignal = 2;
    set(QStringLiteral("C"), waveBytes(third));
    const QString centre = group.channelFiles[QStringLiteral("C")];
    const QString before = fingerprintOf(centre);
    const ItemOutcome outcome = take();
    EXPECT_EQ(outcome.sourcesText(), QStringLiteral("Deleted"));
    EXPECT_EQ(outcome.sources.size(), 2u);
    EXPECT_EQ(fingerprintOf(centre), before);
}

TEST_F(InterleaveJobTest, FloatsWithinFullScaleGo) {
    useFloats(0.25F);
    EXPECT_EQ(take().sourcesText(), QStringLiteral("Deleted")) << report.outcome.message.toStdString();
}

TEST_F(InterleaveJobTest, FloatsAboveFullScaleBetweenTheBlocksThatAJobLooksAtStay) {
    useFloats(1.5F);
    expectKept(QStringLiteral("the samples of A.wav are not those of A.L.wav"));
    EXPECT_EQ(report.outcome.warnings.size(), 1); // the look at a few blocks saw nothing
}

TEST_F(InterleaveJobTest, BytesThatAreZeroedBetweenTheBlocksStay) {
    writePair();
    run.ffmpegPath = ffmpegAnd(
        folder, QStringLiteral("dd if=/dev/zero of=\"$out\" bs=1000 seek=90 count=20 conv=notrunc 2>/dev/null"));
    expectKept(QStringLiteral("the samples of A.wav are not those of A.L.wav"));
    EXPECT_EQ(report.outcome.warnings.size(), 1);
}

TEST_F(InterleaveJobTest, SourcesOfUnequalLengthStay) {
    for (const char* shorter : {"L", "R"}) {
        writePair();
        WaveSpec cut = spec;
        cut.frames = 16000;
        set(QString::fromLatin1(shorter), waveBytes(cut));
        run.options.skipIfExists = false;
        const ItemOutcome outcome = take();
        EXPECT_TRUE(outcome.status.text.startsWith(QStringLiteral("Originals kept: the lengths differ: ")))
            << outcome.status.text.toStdString();
        EXPECT_TRUE(outcome.warnings.first().startsWith(QStringLiteral("The sources are of unequal length: ")));
        EXPECT_TRUE(hasSources());
        run.ledger = std::make_unique<RunLedger>();
    }
}

TEST_F(InterleaveJobTest, SourcesWhoseHeaderTellsAQuarterStay) {
    writePair();
    for (const char* tag : {"L", "R"}) set(QString::fromLatin1(tag), withDataSize(waveBytes(spec), 36000));
    expectKept(QStringLiteral("A.L.wav: about 0.8 s of audio may lie behind the declared end; A.R.wav: about 0.8 s of "
                              "audio may lie behind the declared end"));
    EXPECT_EQ(report.outcome.warnings.first(),
              QStringLiteral("A.L.wav: about 0.8 s of audio may lie behind the declared end"));
    EXPECT_EQ(report.outcome.warnings.size(), 3);
}

TEST_F(InterleaveJobTest, ASecondSourceThatCannotBeDeletedIsToldWithTheFirstThatIsGone) {
    writePair();
    const QString right = group.channelFiles[QStringLiteral("R")];
    const QString before = fingerprintOf(right);
    const auto broken = failingDeletion(2);
    const ItemOutcome outcome = take();
    EXPECT_TRUE(outcome.status.text.startsWith(QStringLiteral("Originals gone in part: A.R.wav can't be removed (")))
        << outcome.status.text.toStdString();
    EXPECT_TRUE(outcome.status.text.endsWith(QStringLiteral("; deleted by then: A.L.wav")));
    EXPECT_EQ(outcome.sourcesText(), QStringLiteral("Deleted 1, Kept 1"));
    EXPECT_FALSE(QFile::exists(group.channelFiles[QStringLiteral("L")]));
    EXPECT_EQ(fingerprintOf(right), before);
    EXPECT_EQ(namesIn(folder.path()), QStringList{QStringLiteral("A.R.wav")});
}

TEST_F(InterleaveJobTest, AMetadataToolThatIsGoneIsAWarning) {
    writePair();
    run.options.deleteOriginalsInterleave = false;
    run.bwfmetaeditPath = folder.path(QStringLiteral("gone"));
    run.metadataEngine.emplace(run.bwfmetaeditPath, QStringLiteral("gone"));
    EXPECT_EQ(take().status, ProcessingStatus::completedWithWarning(QStringLiteral("Metadata failed")));
    EXPECT_EQ(report.log.back().message, QStringLiteral("Created: A.wav (metadata failed)"));
    EXPECT_EQ(decodedByFfmpeg(report.outcome.outputs.value(0)), expectedSamples(spec, 2));
}

TEST_F(InterleaveJobTest, EveryJobWarnsOfUnexplainedBytes) {
    writePair();
    run.options.deleteOriginalsInterleave = false;
    set(QStringLiteral("R"), withDataSize(waveBytes(spec), 0));
    EXPECT_EQ(take().warnings.first(), QStringLiteral("A.R.wav: about 1.0 s of audio may lie behind the declared end"));
    EXPECT_EQ(report.log.front().level, LogLevel::warning);
}

TEST_F(InterleaveJobTest, AShorterOutputFailsTheItem) {
    writePair();
    run.ffmpegPath = ffmpegAnd(folder, QStringLiteral("truncate -s 100000 \"$out\""));
    const ItemOutcome outcome = take();
    EXPECT_TRUE(outcome.failed());
    EXPECT_TRUE(outcome.message.startsWith(QStringLiteral("The new file is shorter than its source: ")));
    EXPECT_TRUE(outcome.outputs.isEmpty());
    EXPECT_TRUE(hasSources());
    EXPECT_EQ(outputs(), QStringList());
}

TEST_F(InterleaveJobTest, AnOutputThatIsNoAudioFailsTheItem) {
    writePair();
    run.ffmpegPath = ffmpegAnd(folder, QStringLiteral("echo rubbish > \"$out\""));
    const ItemOutcome outcome = take();
    EXPECT_EQ(outcome.message, QStringLiteral("A.wav can't be read back"));
    EXPECT_TRUE(outcome.failed() && hasSources());
    EXPECT_EQ(outputs(), QStringList());
}

TEST_F(InterleaveJobTest, SamplesOfTwentyFourBitsInFourBytesNeverComeOutAsSomethingElse) {
    spec.sampleBytes = 4;
    WaveSpec right = spec;
    right.firstSignal = 1;
    writePair(spec, right);
    const ItemOutcome outcome = take();
    if (outcome.failed()) { // by what this ffmpeg takes them for
        EXPECT_TRUE(outcome.message.startsWith(QStringLiteral("ffmpeg misread A.L.wav")) ||
                    outcome.message.startsWith(QStringLiteral("The new file is shorter")))
            << outcome.message.toStdString();
        EXPECT_TRUE(hasSources());
        EXPECT_EQ(outputs(), QStringList());
    } else {
        EXPECT_EQ(decodedByFfmpeg(outcome.outputs.first()), scaledTo32(samplesOf(right), 24));
    }
}

TEST_F(InterleaveJobTest, ANameThatAnotherProgramTookMeanwhileIsItsOwn) {
    writePair();
    const QString output = folder.path(QStringLiteral("Interleaved/A.wav"));
    run.ffmpegPath = ffmpegAnd(folder, QStringLiteral("echo another > '%1'").arg(output));
    const ItemOutcome outcome = take();
    EXPECT_TRUE(outcome.skipped());
    EXPECT_TRUE(outcome.outputs.isEmpty());
    EXPECT_EQ(readAll(output), "another\n");
    EXPECT_EQ(outputs(), QStringList{QStringLiteral("A.wav")});
    EXPECT_TRUE(hasSources());
}

TEST_F(InterleaveJobTest, AKilledFfmpegLeavesTheOldOutput) {
    writePair();
    const QString output = folder.write(QStringLiteral("Interleaved/A.wav"), "the old one");
    run.options.skipIfExists = false;
    run.ffmpegPath = folder.writeScript(QStringLiteral("ffmpeg"),
                                        QStringLiteral("for out; do :; done; echo half > \"$out\"; kill -KILL $$"));
    EXPECT_TRUE(take().failed());
    EXPECT_EQ(readAll(output), "the old one");
    EXPECT_EQ(outputs(), QStringList{QStringLiteral("A.wav")});
}

// A pair under an L/R clean-up, with a bwfmetaedit that says what a test wants.
class CertificateTest : public InterleaveJobTest {
protected:
    CertificateTest() : bwfmetaedit(fakeBwfmetaedit(folder)) {
        run.bwfmetaeditPath = bwfmetaedit;
        run.options.lrCleanupMode = LRCleanupMode::hardDelete;
        run.selection = {folder.path()};
    }
    // Into both files, with the delivered tool to carry it over.
    void describe(const QByteArray& description) {
        run.bwfmetaeditPath = deliveredBwfmetaedit();
        run.metadataEngine.emplace(run.bwfmetaeditPath, QStringLiteral("certificate"));
        BextSpec bext;
        bext.description = description;
        spec.before = {{"bext", bextPayload(bext)}};
    }
    void flag(const char* name) const { folder.write(QStringLiteral("tools/bin/") + QString::fromLatin1(name), ""); }
    void write() {
        writePair();
        run.options.deleteOriginalsInterleave = false;
    }
    // A tool that passes everything on to the delivered one and is gone once it has written.
    void useToolThatGoes() {
        run.bwfmetaeditPath = folder.writeScript(
            QStringLiteral("tools/going"), QStringLiteral("'%1' \"$@\"; status=$?\n"
                                                          "case \"$1\" in --in-core=*) rm \"$0\";; esac\nexit $status")
                                               .arg(deliveredBwfmetaedit()));
        run.metadataEngine.emplace(run.bwfmetaeditPath, QStringLiteral("certificate"));
    }
    // The pair is as it was, the output holds its samples, and status and log say why.
    void expectBothStay(ProcessingStatus::Kind kind, const QString& beginning) {
        const QStringList before{fingerprintOf(left()), fingerprintOf(right())};
        const ProcessingStatus status = take().status;
        EXPECT_EQ(status.kind, kind);
        EXPECT_TRUE(status.text.startsWith(beginning)) << status.text.toStdString();
        EXPECT_EQ(report.outcome.sourcesText(), QStringLiteral("Kept"));
        EXPECT_EQ((QStringList{fingerprintOf(left()), fingerprintOf(right())}), before);
        EXPECT_EQ(namesIn(folder.path()), (QStringList{QStringLiteral("A.L.wav"), QStringLiteral("A.R.wav")}));
        EXPECT_EQ(decodedByFfmpeg(report.outcome.outputs.value(0)), expectedSamples(spec, 2));
    }
    // A certified merge whose clean-up fails.
    void expectCleanupFails(const QString& why) {
        expectBothStay(ProcessingStatus::Kind::completedWithWarning, QStringLiteral("Cleanup failed: ") + why);
        EXPECT_TRUE(report.log.back().message.startsWith(QStringLiteral("✅ A - Merge OK, cleanup failed: ") + why));
        EXPECT_EQ(report.log.back().level, LogLevel::warning);
    }
    QString left() const { return group.channelFiles.value(QStringLiteral("L")); }
    QString right() const { return group.channelFiles.value(QStringLiteral("R")); }
    QString backupOf(const QString& file) const {
        return folder.path() + QStringLiteral("/Originals/") + paths::lastComponent(file);
    }
    // Fails every renaming of a file.
    static OnSystemCall failingMove(const QString& file) {
        return {SystemCall::renameat2, [name = QFile::encodeName(file)](const QByteArray& from, const QByteArray&) {
                    return from == name ? EIO : 0;
                }};
    }
    QString bwfmetaedit;
};

TEST_F(CertificateTest, WithoutFfprobeNothingCanBeVerified) {
    describe("a take");
    write();
    run.ffprobePath.clear();
    expectBothStay(ProcessingStatus::Kind::completedWithWarning, QStringLiteral("Cannot verify: ffprobe missing"));
    EXPECT_EQ(report.log.back().message, QStringLiteral("A - Created but cannot verify"));
}

TEST_F(CertificateTest, AnFfprobeThatFailsIsAFailedVerification) {
    describe("a take");
    write();
    run.ffprobePath = folder.writeScript(QStringLiteral("tools/ffprobe"), QStringLiteral("exit 1"));
    expectBothStay(ProcessingStatus::Kind::failed, QStringLiteral("Verification failed: "));
}

TEST_F(CertificateTest, AMetadataToolThatIsGoneIsAFailedVerification) {
    describe("a take");
    write();
    run.bwfmetaeditPath = folder.path(QStringLiteral("tools/gone"));
    run.metadataEngine.emplace(run.bwfmetaeditPath, QStringLiteral("certificate"));
    expectBothStay(ProcessingStatus::Kind::failed,
                   QStringLiteral("Verification failed: bwfmetaedit could not be started"));
}

TEST_F(CertificateTest, AMetadataToolThatGoesMeanwhileIsAFailedVerification) {
    describe("a take");
    write();
    useToolThatGoes();
    expectBothStay(ProcessingStatus::Kind::failed, QStringLiteral("Verification failed: "));
    EXPECT_FALSE(QFile::exists(run.bwfmetaeditPath));
}

TEST_F(CertificateTest, BothStayWhereTheLeftOneCannotBeDeleted) {
    describe("a take");
    write();
    const auto broken = failingDeletion(1);
    expectCleanupFails(QStringLiteral("A.L.wav can't be removed ("));
    EXPECT_EQ(journalSteps(), (QStringList{QStringLiteral("delete undone"), QStringLiteral("delete undone")}));
}

TEST_F(CertificateTest, BothStayWhereTheRightOneCannotBeGivenAPrivateName) {
    describe("a take");
    write();
    const OnSystemCall broken = failingMove(right());
    expectCleanupFails(QStringLiteral("Could not create ") + folder.path());
    EXPECT_EQ(journalSteps(), (QStringList{QStringLiteral("delete undone"), QStringLiteral("delete failed")}));
}

TEST_F(CertificateTest, BothStayWhereTheLeftOneCannotBeMoved) {
    describe("a take");
    write();
    run.options.lrCleanupMode = LRCleanupMode::verifiedConsolidation;
    const OnSystemCall broken = failingMove(left());
    expectCleanupFails(QStringLiteral("Could not move %1 to %2: Input/output error").arg(left(), backupOf(left())));
    EXPECT_EQ(journalSteps(), (QStringList{QStringLiteral("move failed"), QStringLiteral("move failed")}));
    EXPECT_FALSE(QFile::exists(backupOf(right())));
}

TEST_F(CertificateTest, TheLeftOneComesBackWhereTheRightOneCannotBeMoved) {
    describe("a take");
    write();
    run.options.lrCleanupMode = LRCleanupMode::verifiedConsolidation;
    const OnSystemCall broken = failingMove(right());
    expectCleanupFails(QStringLiteral("Could not move %1 to %2: Input/output error").arg(right(), backupOf(right())));
    EXPECT_EQ(journalSteps(), (QStringList{QStringLiteral("move undone"), QStringLiteral("move failed")}));
    EXPECT_FALSE(QFile::exists(backupOf(left())));
}

TEST_F(CertificateTest, EqualFieldsOverTwoLinesAreCertified) {
    describe("first\r\nsecond, \"quoted\"");
    write();
    const ProcessingStatus status = take().status;
    EXPECT_EQ(status, ProcessingStatus::completedCarbonCopyCertified()) << status.text.toStdString();
    EXPECT_EQ(report.outcome.sourcesText(), QStringLiteral("Deleted"));
}

TEST_F(CertificateTest, ADifferenceThatAToolMadeInTheSecondLineIsMended) {
    describe("first\r\nsecond");
    write();
    // A tool that carries it over, and not to the letter.
    run.bwfmetaeditPath = folder.writeScript(
        QStringLiteral("tools/careless"),
        QStringLiteral("'%1' \"$@\"; for last; do :; done\n"
                       "case \"$1\" in --in-core=*) LC_ALL=C perl -0777 -pi -e 's/second/secant/' \"$last\";; esac")
            .arg(deliveredBwfmetaedit()));
    run.metadataEngine.emplace(run.bwfmetaeditPath, QStringLiteral("certificate"));
    EXPECT_EQ(take().status, ProcessingStatus::completedCarbonCopyCertified());
    const auto made = readBextIdentity(report.outcome.outputs.value(0));
    ASSERT_TRUE(made);
    EXPECT_EQ(made->description, "first\r\nsecond");
}

TEST_F(CertificateTest, WithoutAnIdentityNothingIsCertified) {
    flag("no-bext");
    write();
    EXPECT_EQ(take().status, ProcessingStatus::completedUncertified(QStringLiteral("Metadata verification uncertain")));
    EXPECT_TRUE(hasSources());
}

TEST_F(CertificateTest, NothingIsCertifiedOnAFewBlocks) {
    describe("a take");
    write();
    run.ffmpegPath = ffmpegAnd(
        folder, QStringLiteral("dd if=/dev/zero of=\"$out\" bs=1000 seek=90 count=20 conv=notrunc 2>/dev/null"));
    EXPECT_EQ(take().status, ProcessingStatus::completedUncertified(
                                 QStringLiteral("Originals kept: the samples of A.wav are not those of A.L.wav")));
    EXPECT_TRUE(hasSources());
}

TEST_F(CertificateTest, WhatDiffersInTheBlocksIsNotEvenAskedFor) {
    write();
    WaveSpec cut = spec;
    cut.frames = 16000;
    set(QStringLiteral("R"), waveBytes(cut));
    EXPECT_EQ(take().status, ProcessingStatus::completedUncertified(QStringLiteral("Samples differ from the sources")));
    EXPECT_TRUE(hasSources());
}

TEST(LibraryRoot, IsTheInnermostSelectedFolder) {
    const TestFolder folder;
    const QString inner = folder.path() + QStringLiteral("/Lib/Inner");
    const QString file = folder.write(QStringLiteral("Lib/Inner/Sub/a.L.wav"), "x");
    const QString outer = folder.path() + QStringLiteral("/Lib");
    const QString twin = folder.path() + QStringLiteral("/Lib/Inn");
    folder.write(QStringLiteral("Lib/Inn/b.wav"), "x");
    EXPECT_EQ(libraryRootOf(file, {outer, inner, twin}), inner);
    EXPECT_EQ(libraryRootOf(file, {inner, outer}), inner);
    EXPECT_EQ(libraryRootOf(file, {outer}), outer);
    EXPECT_EQ(libraryRootOf(file, {twin}), folder.path() + QStringLiteral("/Lib/Inner/Sub"));
    EXPECT_EQ(libraryRootOf(file, {file}), folder.path() + QStringLiteral("/Lib/Inner/Sub"));
}

} // namespace
} // namespace ostrel
