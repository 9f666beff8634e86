#include "platform/files/standard_folders.h"
#include "stereovalidator/conversion_fixture.h"
#include "support/wave_file.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace ostrel {
namespace {

using testing::ConversionTest;
using testing::Decoded;
using testing::decoded;
using testing::fingerprintOf;
using testing::namesIn;
using testing::TestFolder;

TEST_F(ConversionTest, Turns24BitStereoInto32BitFloatMonoSampleForSample) {
    const QString source = writeSource();
    const QString before = fingerprintOf(source);
    const QString result = resultOf(request(source));
    EXPECT_EQ(result, folder_.path(QStringLiteral("a_mono.wav")));
    EXPECT_EQ(decoded(result).info.format, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    EXPECT_EQ(decoded(result).info.samplerate, 48000);
    EXPECT_TRUE(holdsChannel(result, 0));
    EXPECT_EQ(fingerprintOf(source), before);
}

TEST_F(ConversionTest, KeepsTheRightChannelIfTold) {
    MonoRequest right = request(writeSource());
    right.useLeftChannel = false;
    EXPECT_TRUE(holdsChannel(resultOf(right), 1));
}

TEST_F(ConversionTest, TheResultOfTheLongestNameFitsAndTellsWhatItIs) {
    const QString letter = QString::fromUtf8("🎙");
    const QString source = writeSource(letter.repeated(62) + QStringLiteral("xyz.wav")); // 255 bytes
    EXPECT_EQ(paths::lastComponent(resultOf(request(source))), letter.repeated(61) + QStringLiteral("_mono.wav"));
    MonoRequest plain = request(source);
    plain.addSuffix = false;
    EXPECT_EQ(paths::lastComponent(resultOf(plain)), letter.repeated(62) + QStringLiteral("x_1.wav"));
    EXPECT_EQ(namesIn(folder_.path()).size(), 3);
}

TEST_F(ConversionTest, RefusesAMonoSourceAndWritesNothing) {
    const QString source = writeSource(QStringLiteral("m.wav"), 1);
    EXPECT_EQ(failure(request(source)), wrapped(QStringLiteral("The file does not have two channels")));
    EXPECT_EQ(namesIn(folder_.path()), QStringList{QStringLiteral("m.wav")});
}

TEST_F(ConversionTest, PassesOnWhyASourceCannotBeOpened) {
    EXPECT_EQ(failure(request(folder_.path(QStringLiteral("missing.wav")))),
              QStringLiteral("No such file or directory"));
}

TEST_F(ConversionTest, FailsOnASecondRunUnlessOverwritingIsAllowed) {
    const QString source = writeSource();
    const QString first = resultOf(request(source));
    const QString before = fingerprintOf(first);
    EXPECT_EQ(failure(request(source)), wrapped(QStringLiteral("File already exists: a_mono.wav")));
    EXPECT_EQ(fingerprintOf(first), before);

    MonoRequest again = request(source);
    again.allowOverwrite = true;
    again.useLeftChannel = false;
    EXPECT_TRUE(holdsChannel(resultOf(again), 1));
    EXPECT_TRUE(QFile::exists(source));
}

TEST_F(ConversionTest, WritesBesideASourceOfAnotherContainer) {
    const QString source = writeSource(QStringLiteral("a.aif"));
    MonoRequest plain = request(source);
    plain.addSuffix = false;
    EXPECT_EQ(resultOf(plain), folder_.path(QStringLiteral("a.wav")));
    EXPECT_EQ(namesIn(folder_.path()), (QStringList{QStringLiteral("a.aif"), QStringLiteral("a.wav")}));
}

TEST_F(ConversionTest, NumbersTheResultWhereTheNameIsTaken) {
    const QString source = writeSource(QStringLiteral("takes/a.wav"));
    const QString output = folder_.path(QStringLiteral("out"));
    folder_.write(QStringLiteral("out/a.wav"), "old");
    folder_.write(QStringLiteral("out/a_1.wav"), "old");
    const MonoRequest plain{.file = source, .outputFolder = output, .addSuffix = false};
    EXPECT_EQ(resultOf(plain), paths::append(output, QStringLiteral("a_2.wav")));
    EXPECT_TRUE(QFile::exists(source));
}

TEST_F(ConversionTest, LeavesTheSourceWhenNeitherSuffixNorOverwritingIsChosen) {
    for (const QString& name : {QStringLiteral("a.wav"), QStringLiteral("B.WAV")}) {
        const QString source = writeSource(name);
        const QString before = fingerprintOf(source);
        MonoRequest plain = request(source);
        plain.addSuffix = false;
        for (int number = 1; number <= 2; ++number) {
            const QString numbered = QStringLiteral("%1_%2.wav").arg(paths::stem(name)).arg(number);
            EXPECT_EQ(resultOf(plain), folder_.path(numbered));
            EXPECT_TRUE(holdsChannel(folder_.path(numbered), 0));
        }
        EXPECT_EQ(fingerprintOf(source), before);
    }
    EXPECT_EQ(namesIn(folder_.path()).size(), 6);
}

TEST_F(ConversionTest, GivesUpAfterNinetyNineNumbers) {
    const QString source = writeSource(QStringLiteral("takes/a.wav"));
    folder_.write(QStringLiteral("out/a.wav"), "old");
    for (int i = 1; i <= 99; ++i) folder_.write(QStringLiteral("out/a_%1.wav").arg(i), "old");
    EXPECT_EQ(failure({.file = source, .outputFolder = folder_.path(QStringLiteral("out")), .addSuffix = false}),
              wrapped(QStringLiteral("Could not find available filename after 100 attempts")));
    EXPECT_EQ(namesIn(folder_.path(QStringLiteral("out"))).size(), 100);
    EXPECT_TRUE(QFile::exists(source));
}

TEST_F(ConversionTest, RefusesATargetThatIsNoFile) {
    const QString source = writeSource(QStringLiteral("takes/a.wav"));
    folder_.write(QStringLiteral("out/a_mono.wav/inside"), "a folder stands in the way");
    const MonoRequest overwriting{
        .file = source, .outputFolder = folder_.path(QStringLiteral("out")), .allowOverwrite = true};
    EXPECT_EQ(failure(overwriting), wrapped(QStringLiteral("a_mono.wav is there and is no file")));
    EXPECT_TRUE(QFile::exists(folder_.path(QStringLiteral("out/a_mono.wav/inside"))));
}

TEST_F(ConversionTest, PassesOnWhyATargetCannotBeCreated) {
    const QString source = writeSource();
    const QString file = folder_.write(QStringLiteral("file"), "no folder");
    for (const QString& folder : {QStringLiteral("/proc"), paths::append(file, QStringLiteral("inside"))}) {
        EXPECT_FALSE(failure({.file = source, .outputFolder = folder}).isEmpty());
    }
}

TEST_F(ConversionTest, ReplacesAnotherFileOnlyWhereTheRunKnowsItForAnEarlierResult) {
    const QString source = writeSource();
    MonoRequest again = request(source);
    const QString earlier = resultOf(again);
    again.allowOverwrite = true;
    EXPECT_TRUE(convert(again, {}, {source, earlier}).succeeded());
    again.useLeftChannel = false;
    EXPECT_TRUE(convert(again, {}, {source, earlier}).succeeded()) << "the other side of the same source";
    EXPECT_TRUE(holdsChannel(earlier, 1));

    for (const int channels : {1, 2}) { // of another sound, and not even mono
        testing::writeSound(earlier, channels, kFrames, [](int channel, qint64 frame) {
            return testing::markedSample(channel, frame + (frame == 19'000 ? 1 : 0));
        });
        const QString before = fingerprintOf(earlier);
        const ItemOutcome outcome = convert(again, {}, {source, earlier});
        EXPECT_EQ(outcome.message,
                  wrapped(QStringLiteral("a_mono.wav is in the selection and no earlier output of this item")));
        EXPECT_EQ(fingerprintOf(earlier), before);
    }
    EXPECT_EQ(namesIn(folder_.path()), (QStringList{QStringLiteral("a.wav"), QStringLiteral("a_mono.wav")}));
}

TEST_F(ConversionTest, NeverReplacesASourceOrWhatTheRunHasWritten) {
    const QString first = writeSource(QStringLiteral("day 1/a.wav"));
    const QString second = writeSource(QStringLiteral("day 2/a.wav"));
    const QString third = writeSource(QStringLiteral("out/a_mono.wav"));
    RunLedger ledger({first, second, third});
    Journal journal(QStringLiteral("clean"));
    const auto message = [&](const QString& source, const QString& folder) {
        const MonoRequest asked{.file = source, .outputFolder = folder_.path(folder), .allowOverwrite = true};
        return StereoProcessingEngine(QString(), {}).convertToMono(asked, ledger, journal).message;
    };
    EXPECT_EQ(message(first, QStringLiteral("out")),
              wrapped(QStringLiteral("a_mono.wav would replace a source of this run")));
    EXPECT_EQ(message(first, QStringLiteral("new")), QStringLiteral("Converted: a.wav"));
    EXPECT_EQ(message(second, QStringLiteral("new")),
              wrapped(QStringLiteral("Another item of this run already wrote a_mono.wav")));
    ASSERT_EQ(::link(qPrintable(third), qPrintable(folder_.path(QStringLiteral("linked/a_mono.wav")))), 0);
    EXPECT_EQ(message(first, QStringLiteral("linked")),
              wrapped(QStringLiteral("a_mono.wav would replace a source of this run")));
}

TEST_F(ConversionTest, FailsAFileThatIsDamagedOnItsWay) {
    const QString source = writeSource();
    const auto tool = [&](const QString& body) {
        return folder_.writeScript(QStringLiteral("bin/bwfmetaedit"), body + QStringLiteral("\nexit 1"));
    };
    EXPECT_EQ(failure(request(source), {tool(QStringLiteral("truncate -s 40000 \"$3\""))}),
              wrapped(QStringLiteral("The new file is shorter than its source: 9980 of 20000 frames")));
    EXPECT_EQ(failure(request(source), {tool(QStringLiteral("dd if=/dev/zero of=\"$3\" bs=1000 seek=1 count=79 "
                                                            "conv=notrunc 2>/dev/null"))}),
              wrapped(QStringLiteral("a_mono.wav has not got the sound of a.wav")));
    EXPECT_EQ(failure(request(source), {tool(QStringLiteral("echo gone > \"$3\""))}),
              wrapped(QStringLiteral("a_mono.wav can't be read back")));
    EXPECT_EQ(namesIn(folder_.path()), QStringList{QStringLiteral("a.wav")});
}

TEST_F(ConversionTest, TellsWhatTheHeaderDoesNotExplain) {
    QByteArray bytes = testing::waveBytes({.channels = 2, .frames = 40'000});
    bytes.replace(40, 4, testing::littleEndian32(60'000)); // a quarter of the audio
    const ItemOutcome outcome = convert(request(folder_.write(QStringLiteral("a.wav"), bytes)));
    EXPECT_TRUE(outcome.succeeded());
    EXPECT_EQ(outcome.warnings,
              QStringList{QStringLiteral("a.wav: about 0.6 s of audio may lie behind the declared end")});
}

TEST_F(ConversionTest, TellsOfBitsThatItsFloatsDoNotHold) {
    const QString source =
        folder_.write(QStringLiteral("a.wav"), testing::waveBytes({.channels = 2, .bitDepth = 32, .frames = 9000}));
    const ItemOutcome outcome = convert(request(source));
    EXPECT_TRUE(outcome.succeeded());
    EXPECT_EQ(outcome.warnings, QStringList{QStringLiteral("a_mono.wav: the samples of a.wav hold more bits than its "
                                                           "floats and are rounded to 24")});
}

// No file of this process may grow past the limit: what a full disk does to a write.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{bytes, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }

private:
    rlimit before_{};
    void (*handler_)(int);
};

TEST_F(ConversionTest, LeavesNothingWhenTheDiskIsFullAndSucceedsWithRoom) {
    const QString source = writeSource();
    const QString before = fingerprintOf(source);
    for (const MonoRequest& each : {request(source), inPlace(source)}) {
        {
            const FileSizeLimit limit(40'000);
            EXPECT_EQ(failure(each), QStringLiteral("File too large"));
        }
        EXPECT_EQ(fingerprintOf(source), before);
        EXPECT_FALSE(QFile::exists(folder_.path(QStringLiteral("a_mono.wav"))));
        EXPECT_EQ(namesIn(folder_.path()), QStringList{QStringLiteral("a.wav")});
        EXPECT_TRUE(holdsChannel(resultOf(each), 0));
        QFile::remove(folder_.path(QStringLiteral("a_mono.wav")));
    }
}

TEST_F(ConversionTest, HandsSourceAndResultToBwfmetaedit) {
    const QString arguments = folder_.path(QStringLiteral("arguments"));
    const QString tool = folder_.writeScript(QStringLiteral("bin/bwfmetaedit"),
                                             QStringLiteral("printf '%s\\n' \"$@\" > '%1'").arg(arguments));
    const QString source = writeSource(QStringLiteral("takes/-Bühne 1.wav"));
    const QString result = resultOf(request(source), {folder_.path(QStringLiteral("bin/missing")), tool});
    const QStringList given = QString::fromUtf8(testing::readAll(arguments)).split(QLatin1Char('\n'));
    EXPECT_EQ(given.mid(0, 2), (QStringList{QStringLiteral("--copy"), source}));
    EXPECT_EQ(paths::parent(given[2]), paths::parent(result)) << "the result has not got its name yet";
    EXPECT_TRUE(paths::lastComponent(given[2]).startsWith(QStringLiteral(".ostrel-")));
}

TEST_F(ConversionTest, TakesTheFirstToolOfItsListAlone) {
    const QString called = folder_.path(QStringLiteral("called"));
    const QString refusing = folder_.writeScript(QStringLiteral("bin/old"), QStringLiteral("exit 1"));
    const QString other = folder_.writeScript(QStringLiteral("bin/new"), QStringLiteral("touch '%1'").arg(called));
    EXPECT_TRUE(
        convert(request(writeSource()), {folder_.path(QStringLiteral("bin/none")), refusing, other}).succeeded());
    EXPECT_FALSE(QFile::exists(called));
}

TEST_F(ConversionTest, SucceedsWithoutBwfmetaedit) {
    EXPECT_TRUE(QFile::exists(resultOf(request(writeSource()), {QStringLiteral("/nowhere/bwfmetaedit")})));
    const QString broken = folder_.writeScript(QStringLiteral("bin/broken"), QString());
    testing::readAll(broken);
    QFile script(broken);
    ASSERT_TRUE(script.open(QIODevice::WriteOnly | QIODevice::Truncate));
    script.write("\x7f"
                 "ELF no program");
    script.close();
    MonoRequest again = request(writeSource(QStringLiteral("b.wav")));
    EXPECT_TRUE(QFile::exists(resultOf(again, {broken})));
}

TEST_F(ConversionTest, CarriesMetadataWithoutATool) {
    const QByteArray bext = testing::bextPayload({.description = "SCENE=42A"});
    const testing::WaveSpec wave{.channels = 2, .before = {{"bext", bext}, {"iXML", "<BWFXML/>"}, {"SMED", "scene"}}};
    const ItemOutcome outcome = convert(request(folder_.write(QStringLiteral("a.wav"), testing::waveBytes(wave))));
    EXPECT_TRUE(outcome.succeeded());
    ASSERT_EQ(outcome.warnings.size(), 1);
    EXPECT_TRUE(outcome.warnings[0].startsWith(QStringLiteral("The iXML of a.wav could not be rewritten")));
    const QByteArray made = testing::readAll(outcome.outputs.value(0));
    EXPECT_EQ(testing::chunkOf(made, "bext"), bext);
    EXPECT_EQ(testing::chunkOf(made, "iXML"), "<BWFXML/>");
    EXPECT_EQ(testing::chunkOf(made, "SMED"), "scene");
    EXPECT_TRUE(outcome.metadata.isWhole());
}

TEST_F(ConversionTest, TellsWhatIsLeftBehind) {
    const testing::WaveSpec wave{.channels = 2, .before = {{"chna", QByteArray(4, '\0')}, {"regn", "odd"}}};
    const ItemOutcome outcome = convert(request(folder_.write(QStringLiteral("a.wav"), testing::waveBytes(wave))));
    EXPECT_TRUE(outcome.succeeded());
    EXPECT_EQ(outcome.warnings,
              QStringList{QStringLiteral("a.wav: its BWF metadata could not be carried over (chna, regn)")});
}

TEST_F(ConversionTest, MarkersLoopsAndLabelsStay) {
    const QByteArray labels = QByteArray("adtllabl") + QByteArray("\x09\0\0\0\1\0\0\0Slate\0", 14);
    const std::vector<std::pair<QByteArray, QByteArray>> marks{
        {"cue ", QByteArray("\1\0\0\0", 4) + QByteArray(24, 'c')}, {"smpl", QByteArray(36, 's')}, {"LIST", labels}};
    const testing::WaveSpec wave{.channels = 2, .after = marks};
    for (const bool inPlace : {false, true}) {
        const QString file = folder_.write(QStringLiteral("a.wav"), testing::waveBytes(wave));
        MonoRequest wanted = request(file);
        if (inPlace) {
            wanted.outputFolder = paths::parent(file);
            wanted.allowOverwrite = true;
            wanted.addSuffix = false;
        }
        const ItemOutcome outcome = convert(wanted);
        ASSERT_TRUE(outcome.succeeded()) << outcome.message.toStdString();
        EXPECT_TRUE(outcome.warnings.isEmpty());
        EXPECT_EQ(outcome.metadata.kept.join(u' '), QStringLiteral("cue smpl LIST adtl"));
        const QByteArray made = testing::readAll(outcome.outputs.value(0));
        for (const auto& [id, bytes] : marks) EXPECT_TRUE(made.contains(bytes)) << id.toStdString();
    }
}

TEST_F(ConversionTest, TheDocumentListsTheChannelThatStays) {
    const QByteArray document =
        "<BWFXML><FILE_UID>OLD</FILE_UID><FILE_SET><TOTAL_FILES>3</TOTAL_FILES></FILE_SET><TRACK_LIST>"
        "<TRACK_COUNT>2</TRACK_COUNT>"
        "<TRACK><CHANNEL_INDEX>3</CHANNEL_INDEX><INTERLEAVE_INDEX>1</INTERLEAVE_INDEX><NAME>Boom</NAME></TRACK>"
        "<TRACK><CHANNEL_INDEX>4</CHANNEL_INDEX><INTERLEAVE_INDEX>2</INTERLEAVE_INDEX><NAME>Lav</NAME>"
        "<FUNCTION>M-1.0</FUNCTION></TRACK></TRACK_LIST></BWFXML>";
    const QByteArray bext = testing::bextPayload({.description = "sTRK3=Boom\r\nsTRK4=Lav\r\nsNOTE=\r\n"});
    const testing::WaveSpec wave{.channels = 2, .before = {{"bext", bext}, {"iXML", document}}};
    MonoRequest wanted = request(folder_.write(QStringLiteral("a.wav"), testing::waveBytes(wave)));
    wanted.useLeftChannel = false;
    const ItemOutcome outcome = convert(wanted);
    ASSERT_TRUE(outcome.succeeded()) << outcome.message.toStdString();
    EXPECT_TRUE(outcome.warnings.isEmpty());
    EXPECT_TRUE(outcome.metadata.isWhole());
    const QByteArray made = testing::readAll(outcome.outputs.value(0));
    const QByteArray fitted = testing::chunkOf(made, "iXML");
    for (const char* part : {"<TRACK_COUNT>1<", "<CHANNEL_INDEX>4<", "<INTERLEAVE_INDEX>1<", "<NAME>Lav<", ">M-1.0<",
                             "<PARENT_UID>OLD<", "<PARENT_FILENAME>a.wav<", "<TOTAL_FILES>3<"}) {
        EXPECT_TRUE(fitted.contains(part)) << part << " in " << fitted.toStdString();
    }
    EXPECT_FALSE(fitted.contains("Boom"));
    EXPECT_TRUE(testing::chunkOf(made, "bext").startsWith(QByteArray("sTRK4=Lav\r\nsNOTE=\r\n\0", 20)));
}

TEST_F(ConversionTest, EndsItsSearchForBwfmetaeditAtTheDeliveredTool) {
    EXPECT_EQ(
        StereoProcessingEngine::defaultBwfmetaeditPaths(),
        (QStringList{QStringLiteral("/opt/homebrew/bin/bwfmetaedit"), QStringLiteral("/usr/local/bin/bwfmetaedit"),
                     QStringLiteral("/usr/bin/bwfmetaedit"), resourceFolder() + QStringLiteral("/bin/bwfmetaedit")}));
}

TEST_F(ConversionTest, CarriesBextOverWithTheDeliveredTool) {
    const QString tool = paths::append(resourceFolder(), QStringLiteral("bin/bwfmetaedit"));
    if (!paths::isExecutableFile(tool)) GTEST_SKIP() << "the delivered bwfmetaedit is not built";
    const testing::BextSpec bext{.description = "SCENE=42A\r\nTAKE=7\r\n",
                                 .originator = "Recorder",
                                 .originatorReference = "REF123",
                                 .timeReference = 2191661476};
    const QByteArray payload = testing::bextPayload(bext);
    const testing::WaveSpec wave{.channels = 2, .before = {{"bext", payload}}};
    for (const bool replaces : {false, true}) {
        const QString source = folder_.write(QStringLiteral("take.wav"), testing::waveBytes(wave));
        const MonoRequest asked{
            .file = source, .outputFolder = folder_.path(), .allowOverwrite = replaces, .addSuffix = !replaces};
        const QByteArray result = testing::readAll(resultOf(asked, {tool}));
        const QByteArray carried = testing::chunkOf(result, "bext");
        ASSERT_GE(carried.size(), 602);
        // Description, originator, its reference, date, time and time reference stand in the first 346 bytes.
        EXPECT_EQ(carried.left(346), payload.left(346));
    }
}

} // namespace
} // namespace ostrel
