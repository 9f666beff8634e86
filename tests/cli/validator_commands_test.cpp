// validate and clean from end to end: exit status, both outputs, files, and what a failure leaves behind.
#include "cli/command.h"

#include "support/wave_file.h"

#include <csignal>
#include <gtest/gtest.h>
#include <unistd.h>

namespace ostrel {
namespace {

using namespace testing;

// 24-bit stereo, two seconds at 8 kHz: noise on the left, and on the right what `gain` makes of it.
QString writeStereo(const TestFolder& folder, const QString& name, double gain) {
    WaveSpec spec{.channels = 2, .sampleRate = 8000, .frames = 16000};
    spec.signal = [gain](int channel, int frame) { return noise(0, frame, 23) * (channel == 0 ? 1 : gain); };
    return folder.write(name, waveBytes(spec));
}

CliRun run(const QString& command, const QStringList& arguments) { return runCli(QStringList{command} + arguments); }

TEST(Validate, PrintsTheLogATableAndTheSummary) {
    const TestFolder folder;
    writeStereo(folder, QStringLiteral("dual.wav"), 1);
    writeStereo(folder, QStringLiteral("inverted.wav"), -1);
    const CliRun result = run(QStringLiteral("validate"), {folder.path()});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_TRUE(result.err.isEmpty()) << result.err.toStdString();
    EXPECT_TRUE(result.out.contains(QStringLiteral("] [INFO] [SCAN] Found 2 audio file(s) to analyze\n")));
    const QString table = QStringLiteral(
        "File          Classification                                           Correlation  Confidence            "
        "Mid/Side  Duration\n"
        "dual.wav      Dual Mono                                                      1.000      100.0%              "
        "0.0000      0:02\n"
        "inverted.wav  Broken: Polarity-Inverted Dual Mono (Will Null in Mono)       -1.000      100.0%  Mid≈0 "
        "(Anti-Phase)      0:02\n"
        "Analyzed: 2 files • Dual Mono: 1 • Broken: 1\n");
    EXPECT_TRUE(result.out.endsWith(table)) << result.out.toStdString();
}

TEST(Validate, GivesTheRecordsWithTheirOwnKeys) {
    const TestFolder folder;
    const QString dual = writeStereo(folder, QStringLiteral("dual.wav"), 1);
    folder.write(QStringLiteral("text.wav"), "no audio");
    const CliRun result = run(QStringLiteral("validate"), {QStringLiteral("--json"), folder.path()});
    EXPECT_EQ(result.exitStatus, 1) << "a file that can't be read is a failed item";
    const nlohmann::json json = result.json();
    EXPECT_EQ(json["job"], "validate");
    EXPECT_EQ(json["summary"], (nlohmann::json{{"success", 1}, {"skipped", 0}, {"errors", 1}}));
    ASSERT_EQ(json["results"].size(), 2u);
    const nlohmann::json& record = json["results"][0];
    EXPECT_EQ(text(record["filepath"]), dual);
    EXPECT_EQ(record["classification"], "DUAL_MONO");
    EXPECT_EQ(record["confidence"], 100.0);
    EXPECT_EQ(record["bitDepth"], 32);
    EXPECT_EQ(record.size(), 11u);
    EXPECT_FALSE(json["results"][1]["error"].get<std::string>().empty());
    EXPECT_TRUE(json["csv"].is_null());
}

TEST(Validate, TakesFilesAndFoldersTogether) {
    const TestFolder folder;
    const QString first = writeStereo(folder, QStringLiteral("z.wav"), 1);
    writeStereo(folder, QStringLiteral("more/T10.wav"), 1);
    writeStereo(folder, QStringLiteral("more/T2.wav"), 1);
    writeStereo(folder, QStringLiteral("more/deep/T1.wav"), 1);
    const CliRun all =
        run(QStringLiteral("validate"), {QStringLiteral("--json"), first, folder.path(QStringLiteral("more"))});
    EXPECT_EQ(all.json()["results"].size(), 4u);
    EXPECT_EQ(text(all.json()["results"][0]["filepath"]), first);
    const CliRun flat = run(QStringLiteral("validate"), {QStringLiteral("--json"), QStringLiteral("--no-subfolders"),
                                                         first, folder.path(QStringLiteral("more"))});
    EXPECT_EQ(flat.json()["results"].size(), 3u);
}

TEST(Validate, FollowsThePresetAndLeavesOutMonoFiles) {
    const TestFolder folder;
    WaveSpec spec{.channels = 2, .sampleRate = 8000, .frames = 16000};
    // Levels 42.1 dB apart: one-sided by the relaxed threshold of 40 dB only.
    spec.signal = [](int channel, int frame) { return noise(channel, frame, channel == 0 ? 24 : 17); };
    folder.write(QStringLiteral("a.wav"), waveBytes(spec));
    folder.write(QStringLiteral("m.wav"), waveBytes({.channels = 1}));
    const auto classOf = [&](const char* preset) {
        const CliRun result =
            run(QStringLiteral("validate"), {QStringLiteral("--json"), QStringLiteral("--skip-mono"),
                                             QStringLiteral("--preset"), QLatin1String(preset), folder.path()});
        EXPECT_EQ(result.json()["results"].size(), 1u);
        return text(result.json()["results"][0]["classification"]);
    };
    EXPECT_EQ(classOf("recommended"), QStringLiteral("TRUE_STEREO"));
    EXPECT_EQ(classOf("relaxed"), QStringLiteral("ONE_SIDED_L"));
}

TEST(Validate, WritesAReport) {
    const TestFolder folder;
    writeStereo(folder, QStringLiteral("dual.wav"), 1);
    const CliRun result =
        run(QStringLiteral("validate"), {QStringLiteral("--csv"), QStringLiteral("--json"), folder.path()});
    EXPECT_EQ(result.exitStatus, 0);
    const QString report = text(result.json()["csv"]);
    EXPECT_TRUE(QString::fromUtf8(readAll(report)).contains(QStringLiteral("\ndual.wav,Dual Mono,Skipped,1.000,")));
}

TEST(Validate, TellsAReportThatCannotBeWritten) {
    const TestFolder folder;
    QString deep = folder.path(); // a path of 4,095 bytes is the longest: there is room for the file and not the report
    while (deep.size() < 4060) deep += QLatin1Char('/') + QString(std::min<qsizetype>(200, 4069 - deep.size()), u'd');
    ASSERT_TRUE(QDir().mkpath(deep));
    const QString file = writeStereo(folder, deep.mid(folder.path().size() + 1) + QStringLiteral("/dual.wav"), 1);
    const CliRun result = run(QStringLiteral("validate"), {QStringLiteral("--csv"), QStringLiteral("--json"), file});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_TRUE(result.err.contains(QStringLiteral("[ERROR] [PROCESS] Failed to save CSV report")));
    EXPECT_EQ(result.json()["summary"]["errors"], 0) << "the file itself is in order";
    EXPECT_TRUE(result.json()["csv"].is_null());
}

TEST(Validate, SaysThatNothingWasFound) {
    const TestFolder folder;
    const CliRun result = run(QStringLiteral("validate"), {folder.path()});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_TRUE(result.out.contains(QStringLiteral("[ERROR] [SCAN] No audio files found\n")));
}

TEST(Validate, RefusesBadUsage) {
    const TestFolder folder;
    for (const QStringList& arguments :
         {QStringList{}, QStringList{QStringLiteral("/nowhere/at/all")},
          QStringList{QStringLiteral("--preset"), QStringLiteral("lenient"), folder.path()}}) {
        const CliRun result = run(QStringLiteral("validate"), arguments);
        EXPECT_EQ(result.exitStatus, 2);
        EXPECT_FALSE(result.err.isEmpty());
        EXPECT_TRUE(result.out.isEmpty());
    }
}

TEST(Validate, EndsBeforeTheNextFileOnCtrlC) {
    const TestFolder folder;
    // Ten minutes of silence each, that take no room on the disk.
    const quint32 bytes = 48000u * 6 * 600;
    QStringList arguments{QStringLiteral("validate")};
    for (int i = 0; i < 200; ++i) {
        arguments << folder.write(QStringLiteral("long%1.wav").arg(i), waveBytes({.channels = 2, .frames = 0}));
        QFile wave(arguments.last());
        ASSERT_TRUE(wave.open(QIODevice::ReadWrite));
        wave.seek(4);
        wave.write(littleEndian32(bytes + 36));
        wave.seek(40);
        wave.write(littleEndian32(bytes));
        wave.close();
        QFile::resize(arguments.last(), bytes + 44);
    }
    QProcess process;
    process.start(builtProgram(QStringLiteral("ostrel-cli")), arguments);
    QByteArray out;
    while (!out.contains("Found 200 audio file(s)") && process.waitForReadyRead(20'000))
        out += process.readAllStandardOutput();
    pressCtrlC(process);
    ASSERT_TRUE(process.waitForFinished(60'000));
    EXPECT_EQ(process.exitCode(), 130);
    EXPECT_TRUE(process.readAllStandardOutput().contains(" of 200 files, stopped"));
}

TEST(Clean, WritesMonoFilesAndLeavesTheSources) {
    const TestFolder folder;
    const QString dual = writeStereo(folder, QStringLiteral("takes/dual.wav"), 1);
    const QString inverted = writeStereo(folder, QStringLiteral("takes/inverted.wav"), -1);
    const QStringList before = fingerprint(folder.path(QStringLiteral("takes")));
    const QString output = folder.path(QStringLiteral("new/mono"));
    const CliRun result =
        run(QStringLiteral("clean"),
            {QStringLiteral("--json"), QStringLiteral("--side"), QStringLiteral("right"), QStringLiteral("--csv"),
             QStringLiteral("--output"), output, folder.path(QStringLiteral("takes"))});
    EXPECT_EQ(result.exitStatus, 0) << result.err.toStdString();
    EXPECT_EQ(fingerprint(folder.path(QStringLiteral("takes"))), before);
    const nlohmann::json json = result.json();
    EXPECT_EQ(json["job"], "clean");
    EXPECT_EQ(json["summary"], (nlohmann::json{{"success", 2}, {"skipped", 0}, {"errors", 0}}));
    EXPECT_EQ(text(json["items"][1]["sources"][0]), inverted);
    EXPECT_EQ(json["items"][1]["status"], "completed");
    const QString mono = text(json["items"][1]["outputs"][0]);
    EXPECT_EQ(mono, output + QStringLiteral("/inverted_mono.wav"));
    EXPECT_EQ(decodedByFfmpeg(mono)[0], decodedByFfmpeg(inverted)[1]);
    EXPECT_TRUE(QFile::exists(text(json["csv"])));
    EXPECT_EQ(json["results"].size(), 2u);
}

TEST(Clean, CountsAnExistingTargetAsAFailureAndChangesNothing) {
    const TestFolder folder;
    writeStereo(folder, QStringLiteral("dual.wav"), 1);
    EXPECT_EQ(run(QStringLiteral("clean"), {folder.path(QStringLiteral("dual.wav"))}).exitStatus, 0);
    const QStringList before = fingerprint(folder.path());
    const CliRun again = run(QStringLiteral("clean"), {folder.path(QStringLiteral("dual.wav"))});
    EXPECT_EQ(again.exitStatus, 1);
    EXPECT_TRUE(again.out.contains(QStringLiteral("File already exists: dual_mono.wav")));
    EXPECT_EQ(fingerprint(folder.path()), before);
}

TEST(Clean, ReplacesTheSourceOnlyWhenAskedTwiceOver) {
    const TestFolder folder;
    for (const QString& name : {QStringLiteral("dual.wav"), QStringLiteral("X.WAV")}) {
        const QString file = writeStereo(folder, name, 1);
        const Samples stereo = decodedByFfmpeg(file);
        const CliRun result =
            run(QStringLiteral("clean"),
                {QStringLiteral("--no-suffix"), QStringLiteral("--overwrite"), QStringLiteral("--json"), file});
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(namesIn(folder.path()), QStringList{name});
        EXPECT_EQ(decodedByFfmpeg(file), Samples{stereo[0]});
        const nlohmann::json item = result.json()["items"][0];
        EXPECT_EQ(text(item["outputs"][0]), file);
        EXPECT_EQ(item["fates"][0]["fate"], "replaced");
        QFile::remove(file);
    }
}

TEST(Clean, ReplacesNoSourceWhoseVerdictIsNotSure) {
    const TestFolder folder;
    const QString file = writeStereo(folder, QStringLiteral("a.wav"), -0.794);
    const QString before = fingerprintOf(file);
    const CliRun inPlace = run(QStringLiteral("clean"), {QStringLiteral("--no-suffix"), QStringLiteral("--overwrite"),
                                                         QStringLiteral("--json"), file});
    EXPECT_EQ(inPlace.exitStatus, 0);
    EXPECT_EQ(fingerprintOf(file), before);
    const nlohmann::json json = inPlace.json();
    EXPECT_EQ(json["results"][0]["trust"], "unsure");
    EXPECT_EQ(json["items"][0]["status"], "skipped");
    EXPECT_EQ(json["items"][0]["fates"][0]["fate"], "kept");
    EXPECT_TRUE(text(json["items"][0]["message"]).startsWith(QStringLiteral("Original kept: a.wav is not sure to be")));
    EXPECT_EQ(json["summary"], (nlohmann::json{{"success", 0}, {"skipped", 1}, {"errors", 0}}));

    EXPECT_EQ(run(QStringLiteral("clean"), {QStringLiteral("--sure-only"), file}).exitStatus, 0);
    EXPECT_EQ(namesIn(folder.path()), QStringList{QStringLiteral("a.wav")});
    EXPECT_EQ(run(QStringLiteral("clean"), {file}).exitStatus, 0); // a copy may be made of it
    EXPECT_EQ(namesIn(folder.path()).size(), 2);
}

TEST(Validate, TellsHowFarToTrustAVerdictWhereAsked) {
    const TestFolder folder;
    const QString file = writeStereo(folder, QStringLiteral("a.wav"), -0.794);
    const nlohmann::json bare = run(QStringLiteral("validate"), {QStringLiteral("--json"), file}).json()["results"][0];
    EXPECT_FALSE(bare.contains("trust") || bare.contains("why") || bare.contains("evidence"));
    const nlohmann::json judged =
        run(QStringLiteral("validate"), {QStringLiteral("--evidence"), QStringLiteral("--json"), file})
            .json()["results"][0];
    EXPECT_EQ(judged["classification"], bare["classification"]);
    EXPECT_EQ(judged["trust"], "unsure");
    EXPECT_EQ(text(judged["why"][0]), QStringLiteral("Same signal, inverted and 2.0 dB lower on the right"));
    EXPECT_NEAR(judged["evidence"]["balanceDb"].get<double>(), -2.0, 0.05);
    EXPECT_EQ(judged["evidence"]["strip"]["left"].size(), judged["evidence"]["strip"]["residual"].size());
    const QString shown = run(QStringLiteral("validate"), {QStringLiteral("--evidence"), file}).out;
    EXPECT_TRUE(shown.contains(QStringLiteral("Unsure  Same signal, inverted and 2.0 dB lower on the right")));
}

TEST(Clean, ReplacesNothingForWantOfASuffixAlone) {
    const TestFolder folder;
    const QString file = writeStereo(folder, QStringLiteral("dual.wav"), 1);
    const QString before = fingerprintOf(file);
    for (int number = 1; number <= 2; ++number) {
        const CliRun result =
            run(QStringLiteral("clean"), {QStringLiteral("--no-suffix"), QStringLiteral("--json"), file});
        EXPECT_EQ(result.exitStatus, 0);
        const nlohmann::json item = result.json()["items"][0];
        EXPECT_EQ(text(item["outputs"][0]), folder.path(QStringLiteral("dual_%1.wav").arg(number)));
        EXPECT_EQ(item["fates"][0]["fate"], "kept");
        EXPECT_EQ(fingerprintOf(file), before);
    }
    EXPECT_EQ(namesIn(folder.path()).size(), 3);
}

TEST(Clean, TellsAReplacementThatIsRefused) {
    const TestFolder folder;
    const QString file = writeStereo(folder, QStringLiteral("takes/dual.wav"), 1);
    ASSERT_EQ(::link(qPrintable(file), qPrintable(folder.path(QStringLiteral("second.wav")))), 0);
    const QStringList before = fingerprint(folder.path());
    const CliRun result = run(QStringLiteral("clean"), {QStringLiteral("--no-suffix"), QStringLiteral("--overwrite"),
                                                        QStringLiteral("--json"), file});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(fingerprint(folder.path()), before);
    const nlohmann::json json = result.json();
    EXPECT_EQ(json["items"][0]["status"], "failed");
    EXPECT_EQ(json["items"][0]["fates"][0]["fate"], "kept");
    EXPECT_TRUE(json["items"][0]["outputs"].empty());
    EXPECT_TRUE(text(json["items"][0]["message"]).contains(QStringLiteral("it has 2 hard links")));
    EXPECT_EQ(json["summary"], (nlohmann::json{{"success", 0}, {"skipped", 0}, {"errors", 1}}));
}

TEST(Clean, OverwritesItsOwnResultsASecondTime) {
    const TestFolder folder;
    const QString dual = writeStereo(folder, QStringLiteral("dual.wav"), 1);
    const Samples kept{decodedByFfmpeg(dual)[0]};
    for (int time = 1; time <= 3; ++time) {
        EXPECT_EQ(run(QStringLiteral("clean"), {QStringLiteral("--overwrite"), folder.path()}).exitStatus, 0);
        EXPECT_EQ(decodedByFfmpeg(folder.path(QStringLiteral("dual_mono.wav"))), kept);
        EXPECT_EQ(namesIn(folder.path()).size(), 2);
    }
    const QString other = folder.write(QStringLiteral("dual_mono.wav"), waveBytes({.channels = 1}));
    const QString before = fingerprintOf(other);
    const CliRun refused = run(QStringLiteral("clean"), {QStringLiteral("--overwrite"), folder.path()});
    EXPECT_EQ(refused.exitStatus, 1);
    EXPECT_TRUE(refused.out.contains(QStringLiteral("in the selection and no earlier output of this item")));
    EXPECT_EQ(fingerprintOf(other), before);
}

TEST(Clean, OnlyTellsInADryRun) {
    const TestFolder folder;
    writeStereo(folder, QStringLiteral("dual.wav"), 1);
    const QStringList before = fingerprint(folder.path());
    const CliRun result = run(QStringLiteral("clean"),
                              {QStringLiteral("--dry-run"), QStringLiteral("--json"), QStringLiteral("--csv"),
                               QStringLiteral("--output"), folder.path() + QStringLiteral("/out"), folder.path()});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.json()["items"][0]["status"], "ready");
    EXPECT_EQ(fingerprint(folder.path()), before);
    EXPECT_FALSE(QFile::exists(folder.path() + QStringLiteral("/out")));
}

TEST(Clean, TellsCollisionsInADryRun) {
    const TestFolder folder;
    writeStereo(folder, QStringLiteral("one/dual.wav"), 1);
    writeStereo(folder, QStringLiteral("two/dual.wav"), 1);
    const QStringList arguments{QStringLiteral("--overwrite"), QStringLiteral("--output"),
                                folder.path() + QStringLiteral("/out"), folder.path()};
    const QString why = QStringLiteral("Another item of this run already wrote dual_mono.wav");
    const CliRun told = run(QStringLiteral("clean"), QStringList{QStringLiteral("--dry-run")} + arguments);
    EXPECT_TRUE(told.out.contains(QStringLiteral("\ndual.wav: %1\n").arg(why))) << told.out.toStdString();
    const nlohmann::json items =
        run(QStringLiteral("clean"), QStringList{QStringLiteral("--dry-run"), QStringLiteral("--json")} + arguments)
            .json()["items"];
    EXPECT_EQ(text(items[0]["message"]), QStringLiteral("Ready"));
    EXPECT_EQ(text(items[1]["message"]), why);

    const CliRun done = run(QStringLiteral("clean"), arguments);
    EXPECT_EQ(done.exitStatus, 1);
    EXPECT_TRUE(done.out.contains(why));
}

TEST(Clean, RefusesAnOutputThatIsAFile) {
    const TestFolder folder;
    const QString file = writeStereo(folder, QStringLiteral("dual.wav"), 1);
    EXPECT_EQ(run(QStringLiteral("clean"), {QStringLiteral("--output"), file, file}).exitStatus, 2);
}

TEST(Clean, CarriesBextOverOnAFreshMachine) {
    const TestFolder folder;
    const QByteArray payload =
        bextPayload({.description = "SCENE=12A", .originator = "Recorder", .timeReference = 1632000000});
    WaveSpec spec{.channels = 2, .sampleRate = 8000, .frames = 16000, .before = {{"bext", payload}}};
    spec.signal = [](int, int frame) { return noise(0, frame, 24); };
    folder.write(QStringLiteral("take.wav"), waveBytes(spec));
    ASSERT_EQ(run(QStringLiteral("clean"), {folder.path()}).exitStatus, 0);
    EXPECT_EQ(chunkOf(readAll(folder.path(QStringLiteral("take_mono.wav"))), "bext").left(346), payload.left(346));
}

TEST(Samples, HoldAStereoFileOfEveryClassification) {
    const TestFolder folder;
    ASSERT_EQ(run(QStringLiteral("samples"), {folder.path()}).exitStatus, 0);
    const CliRun result =
        run(QStringLiteral("validate"), {QStringLiteral("--json"), folder.path(QStringLiteral("validator"))});
    QStringList found;
    const nlohmann::json json = result.json();
    for (const nlohmann::json& record : json["results"]) found << text(record["classification"]);
    found.sort();
    EXPECT_EQ(found.join(QLatin1Char(' ')),
              QStringLiteral("BROKEN DUAL_MONO DUAL_MONO_GAIN_MISMATCH NEAR_MONO ONE_SIDED_L "
                             "ONE_SIDED_R SILENT TRUE_MONO TRUE_STEREO UNSUPPORTED"));
}

} // namespace
} // namespace ostrel
