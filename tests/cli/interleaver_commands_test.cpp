// The Interleaver's commands from end to end: exit status, both outputs, files, and what a failure leaves behind.
#include "cli/command.h"

#include "support/wave_file.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ostrel {
namespace {

using namespace testing;

TEST(CommandLine, HelpStandsOnEveryLevel) {
    for (const QStringList& level :
         {QStringList{}, QStringList{QStringLiteral("tools")}, QStringList{QStringLiteral("samples")},
          QStringList{QStringLiteral("interleave")}, QStringList{QStringLiteral("deinterleave")}}) {
        const CliRun run = runCli(level + QStringList{QStringLiteral("--help")});
        EXPECT_EQ(run.exitStatus, 0);
        EXPECT_TRUE(run.out.contains(QStringLiteral("Usage: ostrel-cli"))) << run.out.toStdString();
        EXPECT_TRUE(run.err.isEmpty());
    }
}

TEST(CommandLine, BadUsageExitsWithTwoAndSaysWhy) {
    for (const QString& line :
         {QStringLiteral(""), QStringLiteral("nonsense"), QStringLiteral("interleave"),
          QStringLiteral("interleave --layout 9.1 ."), QStringLiteral("interleave --originals burn ."),
          QStringLiteral("interleave /nowhere/at/all"), QStringLiteral("deinterleave --separator comma .")}) {
        const CliRun run = runCli(line.split(u' ', Qt::SkipEmptyParts));
        EXPECT_EQ(run.exitStatus, 2) << line.toStdString();
        EXPECT_FALSE(run.err.isEmpty()) << line.toStdString();
        EXPECT_TRUE(run.out.isEmpty()) << run.out.toStdString();
    }
}

TEST(CommandLine, ToolsTellsWhatWasFoundWhere) {
    const TestFolder folder;
    const QString fake = folder.writeScript(QStringLiteral("bin/bwfmetaedit"), QStringLiteral("exit 0"));
    const QString resources = QStringLiteral("OSTREL_RESOURCE_FOLDER=") + folder.path();
    const CliRun plain = runCli({QStringLiteral("tools")}, {resources});
    EXPECT_EQ(plain.exitStatus, 0);
    EXPECT_TRUE(plain.out.contains(fake));
    const CliRun json = runCli({QStringLiteral("tools"), QStringLiteral("--json")}, {resources});
    EXPECT_EQ(text(json.json()["tools"]["bwfmetaedit"]), fake);
}

TEST(Interleave, AFolderOfPairsBecomesStereoFiles) {
    const TestFolder folder;
    writePair(folder, QStringLiteral("Rain"));
    writePair(folder, QStringLiteral("sub/Wind"));
    const CliRun run = runCli({QStringLiteral("interleave"), folder.path()});
    EXPECT_EQ(run.exitStatus, 0) << run.out.toStdString();
    EXPECT_TRUE(run.err.isEmpty()) << run.err.toStdString(); // no terminal, no progress line
    EXPECT_TRUE(run.out.contains(QStringLiteral("] [OK] [SCAN] Ready to process: 2 pairs → 2 stereo files\n")));
    EXPECT_TRUE(
        run.out.contains(QStringLiteral("] [INFO] [SYSTEM] Processing complete: 2 success, 0 skipped, 0 errors\n")));
    WaveSpec both;
    both.channels = 2;
    EXPECT_EQ(decodedByFfmpeg(folder.path(QStringLiteral("Interleaved/Rain.wav"))), scaledTo32(samplesOf(both), 24));
    EXPECT_TRUE(QFile::exists(folder.path(QStringLiteral("sub/Interleaved/Wind.wav"))));
}

TEST(Interleave, ACleanupOfPairsIsRefusedWithAnotherLayout) {
    const TestFolder folder;
    writePair(folder, QStringLiteral("Rain"));
    const QStringList before = fingerprint(folder.path());
    const CliRun run = runCli({QStringLiteral("interleave"), QStringLiteral("--layout"), QStringLiteral("5.1-film"),
                               QStringLiteral("--lr-cleanup"), QStringLiteral("hardDelete"), folder.path()});
    EXPECT_EQ(run.exitStatus, 2);
    EXPECT_TRUE(run.err.contains(QStringLiteral("--lr-cleanup is for layout stereo"))) << run.err.toStdString();
    EXPECT_EQ(fingerprint(folder.path()), before);
}

TEST(Deinterleave, ASecondRunSkipsWhatIsThere) {
    const TestFolder folder;
    WaveSpec spec;
    spec.channels = 2;
    const QString file = folder.write(QStringLiteral("Rain.wav"), waveBytes(spec));
    EXPECT_EQ(runCli({QStringLiteral("deinterleave"), file}).exitStatus, 0);
    const CliRun again = runCli({QStringLiteral("deinterleave"), QStringLiteral("--json"), file});
    EXPECT_EQ(again.exitStatus, 0);
    EXPECT_EQ(again.json()["summary"]["skipped"], 1);
    EXPECT_EQ(again.json()["summary"]["errors"], 0);
    EXPECT_EQ(text(again.json()["items"][0]["statusText"]),
              QStringLiteral("Failed: Skipped (outputs exist): Rain.L.wav, Rain.R.wav"));
}

TEST(Interleave, JsonIsOneDocumentOnStandardOutput) {
    const TestFolder folder;
    writePair(folder, QStringLiteral("Rain"));
    folder.write(QStringLiteral("Alone.L.wav"), waveBytes({}));
    const CliRun run =
        runCli({QStringLiteral("interleave"), QStringLiteral("--json"), QStringLiteral("--csv"), folder.path()});
    EXPECT_EQ(run.exitStatus, 0);
    const auto document = run.json();
    EXPECT_EQ(document["job"], "interleave");
    EXPECT_FALSE(document["tools"]["ffmpeg"].is_null());
    ASSERT_EQ(document["items"].size(), 2u);
    const auto& alone = document["items"][0];
    EXPECT_EQ(alone["status"], "incompletePair");
    EXPECT_EQ(text(alone["statusText"]), QStringLiteral("Incomplete Pair (1 files) - Only 1 sibling(s)"));
    const auto& rain = document["items"][1];
    EXPECT_EQ(rain["name"], "Rain");
    EXPECT_EQ(rain["status"], "completed");
    EXPECT_EQ(rain["sources"].size(), 2u);
    EXPECT_EQ(text(rain["outputs"][0]), folder.path(QStringLiteral("Interleaved/Rain.wav")));
    EXPECT_TRUE(text(rain["message"]).startsWith(QStringLiteral("Created: Rain.wav")));
    EXPECT_EQ(document["summary"], (nlohmann::json{{"success", 1}, {"skipped", 1}, {"errors", 0}}));
    EXPECT_TRUE(QFile::exists(text(document["csv"])));
    EXPECT_TRUE(run.err.contains(QStringLiteral("[OK] [PROCESS] Created: Rain.wav")));
}

TEST(Interleave, ADryRunMakesAndChangesNothing) {
    const TestFolder folder;
    writePair(folder, QStringLiteral("Rain"));
    const QStringList before = fingerprint(folder.path());
    const CliRun run =
        runCli({QStringLiteral("interleave"), QStringLiteral("--dry-run"), QStringLiteral("--json"), folder.path()});
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_EQ(run.json()["items"][0]["status"], "readyLRMerge");
    EXPECT_EQ(fingerprint(folder.path()), before);
    EXPECT_FALSE(QFile::exists(folder.path() + QStringLiteral("/Interleaved")));
}

TEST(Interleave, AFailedItemExitsWithOneAndTheRestIsMade) {
    const TestFolder folder;
    writePair(folder, QStringLiteral("Good"));
    WaveSpec spec;
    folder.write(QStringLiteral("Bad.L.wav"), waveBytes(spec).first(30)); // cut inside its fmt chunk
    folder.write(QStringLiteral("Bad.R.wav"), QByteArray());
    folder.path(QStringLiteral("Odd.L.wav/inside"));
    QFile::link(QStringLiteral("/nowhere"), folder.path(QStringLiteral("Dangling.L.wav")));
    const CliRun run = runCli({QStringLiteral("interleave"), QStringLiteral("--json"), folder.path()});
    EXPECT_EQ(run.exitStatus, 1);
    const auto items = run.json()["items"];
    ASSERT_EQ(items.size(), 2u);
    EXPECT_TRUE(text(items[0]["statusText"]).startsWith(QStringLiteral("Failed: Probe failed: ffprobe failed: ")));
    EXPECT_EQ(items[1]["status"], "completed");
}

TEST(Interleave, HandPickedFilesOfALayout) {
    const TestFolder folder;
    WaveSpec spec;
    QStringList files;
    for (const char* tag : {"L", "C", "R", "Ls", "Rs", "LFE"}) {
        files << folder.write(QStringLiteral("Sq uare.%1.wav").arg(QString::fromLatin1(tag)), waveBytes(spec));
        ++spec.firstSignal;
    }
    const CliRun run =
        runCli(QStringList{QStringLiteral("interleave"), QStringLiteral("--layout"), QStringLiteral("5.1-film"),
                           QStringLiteral("--output"), folder.path(QStringLiteral("out"))} +
               files);
    EXPECT_EQ(run.exitStatus, 0) << run.out.toStdString();
    WaveSpec all;
    all.channels = 6;
    EXPECT_EQ(decodedByFfmpeg(folder.path(QStringLiteral("out/Sq uare.wav"))), scaledTo32(samplesOf(all), 24));
}

TEST(Interleave, AReadOnlyOutputFolderIsAClearFailure) {
    if (::geteuid() == 0) {
        // Root writes everywhere: a file where the folder should be fails it just as well.
        const TestFolder folder;
        writePair(folder, QStringLiteral("Rain"));
        folder.write(QStringLiteral("Interleaved"), "in the way");
        const CliRun run = runCli({QStringLiteral("interleave"), folder.path()});
        EXPECT_EQ(run.exitStatus, 1);
        EXPECT_TRUE(run.out.contains(QStringLiteral("Rain: Failed to create output directory: ")));
        return;
    }
    const TestFolder folder;
    writePair(folder, QStringLiteral("Rain"));
    ::chmod(folder.path().toUtf8().constData(), 0500);
    const CliRun run = runCli({QStringLiteral("interleave"), folder.path()});
    ::chmod(folder.path().toUtf8().constData(), 0700);
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_TRUE(run.out.contains(QStringLiteral("Failed to create output directory: ")));
}

TEST(Interleave, OverwriteReplacesAndSkippingIsTheDefault) {
    const TestFolder folder;
    writePair(folder, QStringLiteral("Rain"));
    folder.write(QStringLiteral("Interleaved/Rain.wav"), "old");
    const CliRun skipped = runCli({QStringLiteral("interleave"), folder.path()});
    EXPECT_EQ(skipped.exitStatus, 0);
    EXPECT_TRUE(skipped.out.contains(QStringLiteral("Rain: Output already exists (skipped)")));
    EXPECT_EQ(readAll(folder.path(QStringLiteral("Interleaved/Rain.wav"))), "old");
    EXPECT_EQ(runCli({QStringLiteral("interleave"), QStringLiteral("--overwrite"), folder.path()}).exitStatus, 0);
    EXPECT_TRUE(readAll(folder.path(QStringLiteral("Interleaved/Rain.wav"))).startsWith("RIFF"));
}

TEST(Interleave, CtrlCStopsBeforeTheNextItem) {
    const TestFolder folder;
    for (const char* base : {"Able", "Baker", "Charlie"}) writePair(folder, QString::fromLatin1(base));
    const TestFolder resources;
    const QString marker = resources.path(QStringLiteral("started"));
    resources.writeScript(QStringLiteral("bin/ffmpeg"),
                          QStringLiteral("echo x >> %1; sleep 0.7; exec /usr/bin/ffmpeg \"$@\"").arg(marker));
    QProcess process;
    QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
    variables.insert(QStringLiteral("OSTREL_RESOURCE_FOLDER"), resources.path());
    process.setProcessEnvironment(variables);
    process.start(builtProgram(QStringLiteral("ostrel-cli")), {QStringLiteral("interleave"), folder.path()});
    ASSERT_TRUE(waitUntil([&] { return QFile::exists(marker); }));
    pressCtrlC(process);
    ASSERT_TRUE(process.waitForFinished(60'000));
    EXPECT_EQ(process.exitCode(), 130);
    EXPECT_EQ(readAll(marker), "x\n"); // one ffmpeg was started, and it finished
    EXPECT_EQ(namesIn(folder.path(QStringLiteral("Interleaved"))).size(), 1);
    EXPECT_TRUE(
        QString::fromUtf8(process.readAllStandardOutput()).contains(QStringLiteral("Operation cancelled by user")));
}

TEST(Deinterleave, SelectedChannelsWithAnUnderscore) {
    const TestFolder folder;
    WaveSpec spec;
    spec.channels = 6;
    const QString file = folder.write(QStringLiteral("Six.wav"), waveBytes(spec));
    const QString before = fingerprintOf(file);
    const CliRun run =
        runCli({QStringLiteral("deinterleave"), QStringLiteral("--channels"), QStringLiteral("L,LFE"),
                QStringLiteral("--separator"), QStringLiteral("underscore"), QStringLiteral("--json"), file});
    EXPECT_EQ(run.exitStatus, 0) << run.err.toStdString();
    EXPECT_EQ(namesIn(folder.path(QStringLiteral("De-interleaved"))).join(u' '),
              QStringLiteral("Six_L.wav Six_LFE.wav"));
    EXPECT_EQ(run.json()["items"][0]["outputs"].size(), 2u);
    EXPECT_EQ(decodedByFfmpeg(folder.path(QStringLiteral("De-interleaved/Six_LFE.wav")))[0],
              scaledTo32(samplesOf(spec), 24)[3]);
    EXPECT_EQ(fingerprintOf(file), before);
}

TEST(Deinterleave, AChosenLayoutWinsOverTheDetectedOne) {
    const TestFolder folder;
    WaveSpec spec;
    spec.channels = 6;
    const QString file = folder.write(QStringLiteral("Six.wav"), waveBytes(spec));
    const CliRun run =
        runCli({QStringLiteral("deinterleave"), QStringLiteral("--layout"), QStringLiteral("5.1-film"), file});
    EXPECT_EQ(run.exitStatus, 0) << run.out.toStdString();
    EXPECT_EQ(decodedByFfmpeg(folder.path(QStringLiteral("De-interleaved/Six.C.wav")))[0],
              scaledTo32(samplesOf(spec), 24)[1]);
}

TEST(Samples, AreWrittenAndDoWhatTheyAreFor) {
    const TestFolder folder;
    const CliRun samples = runCli({QStringLiteral("samples"), QStringLiteral("--json"), folder.path()});
    EXPECT_EQ(samples.exitStatus, 0);
    EXPECT_GE(samples.json()["files"].size(), 38u);
    const CliRun pairs = runCli({QStringLiteral("interleave"), QStringLiteral("--dry-run"), QStringLiteral("--json"),
                                 folder.path(QStringLiteral("pairs"))});
    std::map<std::string, int> statuses;
    const auto document = pairs.json();
    for (const auto& item : document["items"]) ++statuses[item["status"].get<std::string>()];
    EXPECT_EQ(statuses,
              (std::map<std::string, int>{
                  {"readyLRMerge", 5}, {"incompletePair", 1}, {"mismatchSampleRate", 1}, {"mismatchDuration", 1}}));
    for (const auto& [set, layout, status] :
         {std::tuple("surround-5.1", "5.1-film", "completed"), std::tuple("surround-7.1", "7.1-film", "completed"),
          std::tuple("surround-incomplete", "5.1-film", "missingChannels")}) {
        const CliRun run = runCli({QStringLiteral("interleave"), QStringLiteral("--json"), QStringLiteral("--layout"),
                                   QString::fromLatin1(layout), folder.path(QString::fromLatin1(set))});
        EXPECT_EQ(run.json()["items"][0]["status"], status) << set;
    }
    for (const char* layout : {"stereo", "5.1-film", "5.1-smpte", "7.1-film", "7.1-smpte"}) {
        const QString id = QString::fromLatin1(layout);
        const CliRun run = runCli({QStringLiteral("deinterleave"), QStringLiteral("--layout"), id,
                                   folder.path(QStringLiteral("interleaved/Crowd %1.wav").arg(id))});
        EXPECT_EQ(run.exitStatus, 0) << run.out.toStdString();
        EXPECT_EQ(run.out.contains(QStringLiteral("[WARN] [PROCESS]")), id.startsWith(QStringLiteral("7.1")))
            << run.out.toStdString();
    }
}

TEST(Samples, NeverReplaceARecording) {
    TestFolder folder;
    folder.write(QStringLiteral("pairs/Street_L.wav"), "a day's work");
    const CliRun run = runCli({QStringLiteral("samples"), folder.path()});
    EXPECT_EQ(run.exitStatus, 2);
    EXPECT_TRUE(run.err.contains(QStringLiteral("holds something already"))) << run.err.toStdString();
    QFile kept(folder.path(QStringLiteral("pairs/Street_L.wav")));
    ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
    EXPECT_EQ(kept.readAll(), QByteArray("a day's work"));
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 1);
}

TEST(RealRecordings, AMonoSetOf51Interleaves) {
    const QString samples = samplesFolder();
    if (samples.isEmpty()) GTEST_SKIP() << "the folder of real recordings is not here";
    const TestFolder folder;
    QStringList files;
    std::size_t shortest = SIZE_MAX;
    std::vector<Samples> channels;
    for (const auto& [tag, name] : {std::pair("L", "CL"), std::pair("R", "CR"), std::pair("C", "CC"),
                                    std::pair("LFE", "CLFE"), std::pair("Ls", "CLS"), std::pair("Rs", "CRS")}) {
        const QString source =
            QStringLiteral("%1/mono-set-of-5.1/voice-multi-%2.wav").arg(samples, QString::fromLatin1(name));
        files << folder.write(QStringLiteral("voice.%1.wav").arg(QString::fromLatin1(tag)), readAll(source));
        channels.push_back(decodedByFfmpeg(files.last()));
        shortest = std::min(shortest, channels.back()[0].size());
    }
    const CliRun run = runCli(
        QStringList{QStringLiteral("interleave"), QStringLiteral("--layout"), QStringLiteral("5.1-smpte")} + files);
    EXPECT_EQ(run.exitStatus, 0) << run.out.toStdString();
    const Samples merged = decodedByFfmpeg(folder.path(QStringLiteral("Interleaved/voice.wav")));
    ASSERT_EQ(merged.size(), 6u);
    for (std::size_t i = 0; i < 6; ++i) {
        ASSERT_GE(merged[i].size(), shortest); // hand-picked files of different lengths: ffmpeg ends with the shortest
        channels[i][0].resize(shortest);
        EXPECT_EQ(std::vector(merged[i].begin(), merged[i].begin() + static_cast<std::ptrdiff_t>(shortest)),
                  channels[i][0]);
    }
    const CliRun scanned = runCli({QStringLiteral("interleave"), QStringLiteral("--dry-run"), QStringLiteral("--json"),
                                   QStringLiteral("--layout"), QStringLiteral("5.1-smpte"), folder.path()});
    EXPECT_EQ(scanned.json()["items"][0]["status"], "mismatchDuration"); // a folder scan doesn't take them for one take
}

} // namespace
} // namespace ostrel
