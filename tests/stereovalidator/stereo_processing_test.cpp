#include "platform/audio_file.h"
#include "platform/paths.h"
#include "platform/standard_folders.h"
#include "stereovalidator/in_place_swap.h"
#include "stereovalidator/stereo_processing_engine.h"
#include "support/sound.h"
#include "support/test_folder.h"
#include "support/wave_file.h"

#include <csignal>
#include <sndfile.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ostrel {
namespace {

using testing::fingerprintOf;
using testing::markedSample;
using testing::TestFolder;

constexpr qint64 kFrames = 20000; // more than two blocks, and not a whole number of them

struct Decoded {
    SF_INFO info{};
    std::vector<float> samples;
};

// Through libsndfile alone.
Decoded decoded(const QString& file) {
    Decoded result;
    SNDFILE* reader = sf_open(QFile::encodeName(file).constData(), SFM_READ, &result.info);
    EXPECT_NE(reader, nullptr) << file.toStdString();
    if (!reader) return result;
    result.samples.resize(std::size_t(result.info.frames * result.info.channels));
    sf_readf_float(reader, result.samples.data(), result.info.frames);
    sf_close(reader);
    return result;
}

bool holdsChannel(const QString& file, int channel) {
    const Decoded result = decoded(file);
    if (result.info.channels != 1 || result.info.frames != kFrames) return false;
    for (qint64 i = 0; i < kFrames; ++i) {
        if (result.samples[std::size_t(i)] != markedSample(channel, i)) return false;
    }
    return true;
}

QStringList namesIn(const QString& folder) { return QDir(folder).entryList(QDir::Files | QDir::Hidden, QDir::Name); }

class ConversionTest : public ::testing::Test {
protected:
    QString writeSource(const QString& name = QStringLiteral("a.wav"), int channels = 2) {
        return testing::writeSound(folder_.path(name), channels, kFrames);
    }
    MonoRequest request(const QString& source) const { return {.file = source, .outputFolder = paths::parent(source)}; }
    // Without any bwfmetaedit unless a test brings one.
    MonoConversion convert(const MonoRequest& request, const QStringList& tools = {}) const {
        return StereoProcessingEngine(QString(), tools).convertToMono(request);
    }
    QString failure(const MonoRequest& request) const {
        try {
            convert(request);
        } catch (const ProcessingError& error) {
            return error.errorDescription();
        } catch (const AudioFileError& error) {
            return error.errorDescription();
        } catch (const FileError& error) {
            return error.description;
        }
        return QStringLiteral("no failure");
    }

    TestFolder folder_;
};

TEST_F(ConversionTest, Turns24BitStereoInto32BitFloatMonoSampleForSample) {
    const QString source = writeSource();
    const QString before = fingerprintOf(source);
    const QString result = convert(request(source)).url;
    EXPECT_EQ(result, folder_.path(QStringLiteral("a_mono.wav")));
    EXPECT_EQ(decoded(result).info.format, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    EXPECT_EQ(decoded(result).info.samplerate, 48000);
    EXPECT_TRUE(holdsChannel(result, 0));
    EXPECT_EQ(fingerprintOf(source), before);
}

TEST_F(ConversionTest, KeepsTheRightChannelIfTold) {
    MonoRequest right = request(writeSource());
    right.useLeftChannel = false;
    EXPECT_TRUE(holdsChannel(convert(right).url, 1));
}

TEST_F(ConversionTest, TheResultOfTheLongestNameFitsAndTellsWhatItIs) {
    const QString letter = QString::fromUtf8("🎙");
    const QString source = writeSource(letter.repeated(62) + QStringLiteral("xyz.wav")); // 255 bytes
    EXPECT_EQ(paths::lastComponent(convert(request(source)).url), letter.repeated(61) + QStringLiteral("_mono.wav"));
    MonoRequest plain = request(source);
    plain.addSuffix = false;
    EXPECT_EQ(paths::lastComponent(convert(plain).url), letter.repeated(62) + QStringLiteral("x_1.wav"));
    EXPECT_EQ(namesIn(folder_.path()).size(), 2) << "the second took the place of its source";
}

TEST_F(ConversionTest, RefusesAMonoSourceAndWritesNothing) {
    const QString source = writeSource(QStringLiteral("m.wav"), 1);
    EXPECT_EQ(failure(request(source)),
              QStringLiteral("The operation couldn’t be completed. (The file does not have two channels)"));
    EXPECT_EQ(namesIn(folder_.path()), QStringList{QStringLiteral("m.wav")});
}

TEST_F(ConversionTest, PassesOnWhyASourceCannotBeOpened) {
    EXPECT_EQ(failure(request(folder_.path(QStringLiteral("missing.wav")))),
              QStringLiteral("No such file or directory"));
}

TEST_F(ConversionTest, FailsOnASecondRunUnlessOverwritingIsAllowed) {
    const QString source = writeSource();
    const QString first = convert(request(source)).url;
    const QString before = fingerprintOf(first);
    EXPECT_EQ(failure(request(source)),
              QStringLiteral("The operation couldn’t be completed. (File already exists: a_mono.wav)"));
    EXPECT_EQ(fingerprintOf(first), before);

    MonoRequest again = request(source);
    again.allowOverwrite = true;
    again.useLeftChannel = false;
    EXPECT_TRUE(holdsChannel(convert(again).url, 1));
    EXPECT_TRUE(QFile::exists(source));
}

TEST_F(ConversionTest, ReplacesTheSourceInPlaceAndLeavesNothingHidden) {
    const QString source = writeSource();
    MonoRequest inPlace = request(source);
    inPlace.addSuffix = false;
    inPlace.allowOverwrite = true;
    const MonoConversion result = convert(inPlace);
    EXPECT_EQ(result.url, source);
    EXPECT_TRUE(result.remainingBackup.isEmpty());
    EXPECT_TRUE(holdsChannel(source, 0));
    EXPECT_EQ(namesIn(folder_.path()), QStringList{QStringLiteral("a.wav")});
}

TEST_F(ConversionTest, KnowsTheSourceBehindALinkedOutputFolder) {
    const QString source = writeSource(QStringLiteral("takes/a.wav"));
    ASSERT_TRUE(QFile::link(folder_.path(QStringLiteral("takes")), folder_.path(QStringLiteral("link"))));
    const MonoRequest inPlace{.file = source,
                              .outputFolder = folder_.path(QStringLiteral("link")),
                              .allowOverwrite = true,
                              .addSuffix = false};
    convert(inPlace);
    EXPECT_TRUE(holdsChannel(source, 0));
    EXPECT_EQ(namesIn(folder_.path(QStringLiteral("takes"))), QStringList{QStringLiteral("a.wav")});
}

TEST_F(ConversionTest, WritesBesideASourceOfAnotherContainer) {
    const QString source = writeSource(QStringLiteral("a.aif"));
    MonoRequest plain = request(source);
    plain.addSuffix = false;
    EXPECT_EQ(convert(plain).url, folder_.path(QStringLiteral("a.wav")));
    EXPECT_EQ(namesIn(folder_.path()), (QStringList{QStringLiteral("a.aif"), QStringLiteral("a.wav")}));
}

TEST_F(ConversionTest, NumbersTheResultWhereTheNameIsTaken) {
    const QString source = writeSource(QStringLiteral("takes/a.wav"));
    const QString output = folder_.path(QStringLiteral("out"));
    folder_.write(QStringLiteral("out/a.wav"), "old");
    folder_.write(QStringLiteral("out/a_1.wav"), "old");
    const MonoRequest plain{.file = source, .outputFolder = output, .addSuffix = false};
    EXPECT_EQ(convert(plain).url, paths::append(output, QStringLiteral("a_2.wav")));
    EXPECT_TRUE(QFile::exists(source));
}

// Odd but meant: the source's own name is taken by the source, so the result is numbered and takes the source's place.
TEST_F(ConversionTest, ReplacesTheSourceByANumberedFileWhenNeitherSuffixNorOverwritingIsChosen) {
    const QString source = writeSource();
    MonoRequest plain = request(source);
    plain.addSuffix = false;
    EXPECT_EQ(convert(plain).url, folder_.path(QStringLiteral("a_1.wav")));
    EXPECT_EQ(namesIn(folder_.path()), QStringList{QStringLiteral("a_1.wav")});
    EXPECT_TRUE(holdsChannel(folder_.path(QStringLiteral("a_1.wav")), 0));
}

TEST_F(ConversionTest, GivesUpAfterNinetyNineNumbers) {
    const QString source = writeSource(QStringLiteral("takes/a.wav"));
    folder_.write(QStringLiteral("out/a.wav"), "old");
    for (int i = 1; i <= 99; ++i) folder_.write(QStringLiteral("out/a_%1.wav").arg(i), "old");
    EXPECT_EQ(
        failure({.file = source, .outputFolder = folder_.path(QStringLiteral("out")), .addSuffix = false}),
        QStringLiteral("The operation couldn’t be completed. (Could not find available filename after 100 attempts)"));
    EXPECT_EQ(namesIn(folder_.path(QStringLiteral("out"))).size(), 100);
    EXPECT_TRUE(QFile::exists(source));
}

TEST_F(ConversionTest, PassesOnWhyATargetCannotBeRemoved) {
    const QString source = writeSource(QStringLiteral("takes/a.wav"));
    folder_.write(QStringLiteral("out/a_mono.wav/inside"), "a folder stands in the way");
    MonoRequest overwriting{
        .file = source, .outputFolder = folder_.path(QStringLiteral("out")), .allowOverwrite = true};
    EXPECT_TRUE(failure(overwriting).startsWith(QStringLiteral("Could not remove")));
    EXPECT_TRUE(QFile::exists(source));
}

TEST_F(ConversionTest, PassesOnWhyATargetCannotBeCreated) {
    const QString source = writeSource();
    const QString before = fingerprintOf(source);
    for (const QString& folder : {QStringLiteral("/proc"), folder_.path(QStringLiteral("missing"))}) {
        EXPECT_NE(failure({.file = source, .outputFolder = folder}), QStringLiteral("no failure"));
    }
    EXPECT_EQ(fingerprintOf(source), before);
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

TEST_F(ConversionTest, KeepsTheSourceWhenTheDiskIsFull) {
    const QString source = writeSource();
    const QString before = fingerprintOf(source);
    MonoRequest inPlace = request(source);
    inPlace.addSuffix = false;
    inPlace.allowOverwrite = true;
    for (const MonoRequest& each : {request(source), inPlace}) {
        QString reason;
        {
            const FileSizeLimit limit(40'000);
            reason = failure(each);
        }
        EXPECT_EQ(reason, QStringLiteral("File too large"));
        EXPECT_EQ(fingerprintOf(source), before);
    }
}

TEST_F(ConversionTest, HandsSourceAndResultToBwfmetaedit) {
    const QString arguments = folder_.path(QStringLiteral("arguments"));
    const QString tool = folder_.writeScript(QStringLiteral("bin/bwfmetaedit"),
                                             QStringLiteral("printf '%s\\n' \"$@\" > '%1'").arg(arguments));
    const QString source = writeSource(QStringLiteral("takes/-Bühne 1.wav"));
    const QString result = convert(request(source), {folder_.path(QStringLiteral("bin/missing")), tool}).url;
    EXPECT_EQ(QString::fromUtf8(testing::readAll(arguments)), QStringLiteral("--copy\n%1\n%2\n").arg(source, result));
}

TEST_F(ConversionTest, TriesTheNextToolWhenOneRefuses) {
    const QString called = folder_.path(QStringLiteral("called"));
    const QString refusing = folder_.writeScript(QStringLiteral("bin/old"), QStringLiteral("exit 1"));
    const QString knowing = folder_.writeScript(QStringLiteral("bin/new"), QStringLiteral("touch '%1'").arg(called));
    const QString last = folder_.writeScript(QStringLiteral("bin/last"), QStringLiteral("rm '%1'").arg(called));
    convert(request(writeSource()), {refusing, knowing, last});
    EXPECT_TRUE(QFile::exists(called));
}

TEST_F(ConversionTest, SucceedsWithoutBwfmetaedit) {
    EXPECT_TRUE(QFile::exists(convert(request(writeSource()), {QStringLiteral("/nowhere/bwfmetaedit")}).url));
    const QString broken = folder_.writeScript(QStringLiteral("bin/broken"), QString());
    testing::readAll(broken);
    QFile script(broken);
    ASSERT_TRUE(script.open(QIODevice::WriteOnly | QIODevice::Truncate));
    script.write("\x7f"
                 "ELF no program");
    script.close();
    MonoRequest again = request(writeSource(QStringLiteral("b.wav")));
    EXPECT_TRUE(QFile::exists(convert(again, {broken}).url));
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
    for (const bool inPlace : {false, true}) {
        const QString source = folder_.write(QStringLiteral("take.wav"), testing::waveBytes(wave));
        const MonoRequest asked{
            .file = source, .outputFolder = folder_.path(), .allowOverwrite = inPlace, .addSuffix = !inPlace};
        const QByteArray result = testing::readAll(convert(asked, {tool}).url);
        const QByteArray carried = testing::chunkOf(result, "bext");
        ASSERT_GE(carried.size(), 602);
        // Description, originator, its reference, date, time and time reference stand in the first 346 bytes.
        EXPECT_EQ(carried.left(346), payload.left(346));
    }
}

class SwapTest : public ::testing::Test {
protected:
    const QString source_ = folder().write(QStringLiteral("takes/a.wav"), "the original");
    const QString converted_ = folder().write(QStringLiteral("takes/.1_temp.wav"), "the result");

    static const TestFolder& folder() {
        static const TestFolder shared;
        return shared;
    }
    void TearDown() override { QDir(takes()).removeRecursively(); }
    static QString takes() { return folder().path(QStringLiteral("takes")); }
    static QStringList backups() {
        return QDir(takes()).entryList({QStringLiteral(".*_backup.wav")}, QDir::Files | QDir::Hidden);
    }
};

TEST_F(SwapTest, PutsTheResultInPlace) {
    EXPECT_TRUE(swapInPlace(source_, converted_, source_).isEmpty());
    EXPECT_EQ(testing::readAll(source_), "the result");
    EXPECT_EQ(namesIn(takes()), QStringList{QStringLiteral("a.wav")});
}

TEST_F(SwapTest, KeepsTheSourceWhenItCannotBeBackedUp) {
    const auto move = [](const QString&, const QString&) { throw FileError(QStringLiteral("no move today")); };
    EXPECT_THROW(swapInPlace(source_, converted_, source_, move), FileError);
    EXPECT_EQ(testing::readAll(source_), "the original");
    EXPECT_EQ(testing::readAll(converted_), "the result");
}

TEST_F(SwapTest, RestoresTheSourceWhenTheResultCannotBeMoved) {
    int moves = 0;
    const auto move = [&](const QString& from, const QString& to) {
        if (++moves == 2) throw FileError(QStringLiteral("no move today"));
        files::move(from, to);
    };
    try {
        swapInPlace(source_, converted_, source_, move);
        FAIL();
    } catch (const FileError& error) {
        EXPECT_EQ(error.description, QStringLiteral("no move today"));
    }
    EXPECT_EQ(testing::readAll(source_), "the original");
    EXPECT_EQ(namesIn(takes()), QStringList{QStringLiteral("a.wav")});
}

TEST_F(SwapTest, NamesTheBackupWhenTheSourceCannotBeRestored) {
    int moves = 0;
    const auto move = [&](const QString& from, const QString& to) {
        if (++moves >= 2) throw FileError(QStringLiteral("no move today"));
        files::move(from, to);
    };
    try {
        swapInPlace(source_, converted_, source_, move);
        FAIL();
    } catch (const FileError& error) {
        ASSERT_EQ(backups().size(), 1);
        const QString backup = paths::append(takes(), backups().first());
        EXPECT_EQ(testing::readAll(backup), "the original");
        EXPECT_TRUE(error.description.startsWith(QStringLiteral("no move today")));
        EXPECT_TRUE(error.description.contains(backup));
    }
}

TEST_F(SwapTest, LeavesTheSourceInItsBackupWhenTheProcessIsKilledBetweenTheMoves) {
    const pid_t child = fork();
    if (child == 0) {
        int moves = 0;
        swapInPlace(source_, converted_, source_, [&](const QString& from, const QString& to) {
            if (++moves == 2) std::raise(SIGKILL);
            files::move(from, to);
        });
        _exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    ASSERT_EQ(backups().size(), 1);
    EXPECT_EQ(testing::readAll(paths::append(takes(), backups().first())), "the original");
    EXPECT_EQ(testing::readAll(converted_), "the result");
}

TEST_F(SwapTest, TellsWhereABackupStaysThatCannotBeRemoved) {
    // A backup that turns into a folder can't be removed as a file.
    QString backup;
    const auto move = [&](const QString& from, const QString& to) {
        if (backup.isEmpty()) {
            backup = to;
            QFile::remove(from);
            QDir().mkpath(to);
        } else {
            files::move(from, to);
        }
    };
    EXPECT_EQ(swapInPlace(source_, converted_, source_, move), backup);
    EXPECT_EQ(testing::readAll(source_), "the result");
}

} // namespace
} // namespace ostrel
