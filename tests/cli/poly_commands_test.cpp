// The Poly Tools commands from end to end: exit status, both outputs, files, and that no source is touched.
#include "cli/command.h"

#include "support/wave_file.h"

#include <csignal>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

QStringList wavesIn(const QString& folder) { return QDir(folder).entryList({"*.wav"_s}, QDir::Files, QDir::Name); }
// The demo recordings, written once.
const TestFolder& samples() {
    static const TestFolder folder;
    static const CliRun run = runCli({"samples"_s, folder.path()});
    EXPECT_EQ(run.exitStatus, 0);
    return folder;
}

// A copy of one of the sample folders, for a test of its own.
class PolyCommands : public ::testing::Test {
protected:
    QString copyOf(const QString& name) {
        const QString from = samples().path() + u'/' + name;
        for (const QString& file : namesIn(from)) QFile::copy(from + u'/' + file, folder_.path(name + u'/' + file));
        return folder_.path() + u'/' + name;
    }
    QString path(const QString& relative) const { return folder_.path() + u'/' + relative; }

    TestFolder folder_;
};

Samples samplesIn(const QString& path) { return decodedByFfmpeg(path); }

TEST_F(PolyCommands, HelpStandsOnEveryLevel) {
    for (const char* name : {"split", "group", "join", "edit"}) {
        const CliRun run = runCli({QString::fromLatin1(name), "--help"_s});
        EXPECT_EQ(run.exitStatus, 0);
        EXPECT_TRUE(run.out.contains("Examples:"_s)) << name;
    }
}

TEST_F(PolyCommands, BadUsageExitsWithTwoAndMakesNothing) {
    const QString poly = copyOf("polys"_s) + "/12AT3.wav"_s;
    const QStringList before = fingerprint(folder_.path());
    for (const QString& line :
         {"edit %1"_s, "edit --remove x,y %1"_s, "edit --remove-names ,, %1"_s, "edit --reorder 1,b %1"_s,
          "edit --rename Boom %1"_s, "edit --rename 0=Boom %1"_s, "edit --in-place --remove 1 %1"_s,
          "edit --in-place --rename 1=a --output /tmp %1"_s, "edit --name x --remove 1 %1 %1"_s, "split"_s,
          "split --naming loud %1"_s, "split --output %1 %1"_s, "join --single %1"_s, "join /nowhere"_s}) {
        QStringList arguments;
        for (const QString& word : line.split(u' ')) arguments << (word == "%1"_s ? poly : word);
        const CliRun run = runCli(arguments);
        EXPECT_EQ(run.exitStatus, 2) << line.toStdString();
        EXPECT_FALSE(run.err.isEmpty()) << line.toStdString();
    }
    EXPECT_EQ(fingerprint(folder_.path()), before);
}

TEST_F(PolyCommands, OnePolyIsSplitByItselfAndJoinsBackToTheSameSamples) {
    const QString polys = copyOf("polys"_s);
    const QStringList before = fingerprint(polys);
    const CliRun split =
        runCli({"split"_s, "--json"_s, "--csv"_s, "--output"_s, path("isos"_s), polys + "/12AT3.wav"_s});
    ASSERT_EQ(split.exitStatus, 0) << split.err.toStdString();
    const nlohmann::json document = split.json();
    EXPECT_EQ(document["job"], "split");
    EXPECT_EQ(document["items"].size(), 1u);
    EXPECT_EQ(document["items"][0]["status"], "completed");
    EXPECT_EQ(document["items"][0]["outputs"].size(), 4u);
    EXPECT_EQ(document["summary"]["success"], 4);
    EXPECT_TRUE(QFile::exists(text(document["csv"])));
    EXPECT_EQ(wavesIn(path("isos/12A-T3"_s)).join(u' '),
              "12AT3_Boom.wav 12AT3_Lav_Ann.wav 12AT3_Lav_Ben.wav 12AT3_Plant.wav"_s);
    EXPECT_EQ(fingerprint(polys), before);

    const CliRun join = runCli({"join"_s, "--json"_s, "--output"_s, path("back"_s), path("isos/12A-T3"_s)});
    ASSERT_EQ(join.exitStatus, 0) << join.err.toStdString();
    EXPECT_EQ(join.json()["items"][0]["name"], "12A-T3_poly");
    EXPECT_EQ(samplesIn(path("back/12A-T3_poly.wav"_s)), samplesIn(polys + "/12AT3.wav"_s));
    const QByteArray xml = chunkOf(readAll(path("back/12A-T3_poly.wav"_s)), "iXML");
    EXPECT_LT(xml.indexOf("Boom"), xml.indexOf("Lav Ann"));
    EXPECT_LT(xml.indexOf("Lav Ben"), xml.indexOf("Plant"));
    EXPECT_TRUE(xml.contains("<FAMILY_UID>DEMOFAMILY12A3</FAMILY_UID>"));
}

TEST_F(PolyCommands, AFolderIsSplitAsABatchAndASecondRunSkips) {
    const QString polys = copyOf("polys"_s);
    QFile::remove(polys + "/Concert-T02.wav"_s);
    const CliRun first =
        runCli({"split"_s, "--folders"_s, "flat"_s, "--naming"_s, "number"_s, "--output"_s, path("out"_s), polys});
    EXPECT_EQ(first.exitStatus, 0) << first.out.toStdString();
    EXPECT_TRUE(first.out.contains("[OK] [PROCESS] Batch complete: 2 poly files → 12 ISOs\n"_s))
        << first.out.toStdString();
    EXPECT_EQ(namesIn(path("out"_s)).size(), 12);
    const CliRun second = runCli(
        {"split"_s, "--json"_s, "--folders"_s, "flat"_s, "--naming"_s, "number"_s, "--output"_s, path("out"_s), polys});
    EXPECT_EQ(second.exitStatus, 0);
    EXPECT_EQ(second.json()["summary"]["skipped"], 12);
    EXPECT_EQ(second.json()["items"].size(), 2u);
}

TEST_F(PolyCommands, WhatCannotBeSplitExitsWithOne) {
    const QString broken = folder_.write("broken.wav"_s, "no audio");
    EXPECT_EQ(runCli({"split"_s, broken}).exitStatus, 1);
    const QString mono = folder_.write("mono.wav"_s, waveBytes({}));
    EXPECT_EQ(runCli({"split"_s, mono}).exitStatus, 1);
    EXPECT_EQ(runCli({"split"_s, broken, mono}).exitStatus, 1);
    EXPECT_EQ(namesIn(folder_.path()).join(u' '), "broken.wav mono.wav"_s);
}

TEST_F(PolyCommands, GroupShowsThePileWithMethodConfidenceAndOrder) {
    const QString pile = copyOf("pile"_s);
    const CliRun json = runCli({"group"_s, "--json"_s, pile});
    ASSERT_EQ(json.exitStatus, 0) << json.err.toStdString();
    std::map<std::string, std::pair<std::string, std::size_t>> found;
    const nlohmann::json document = json.json();
    for (const auto& group : document["groups"])
        found[group["method"].get<std::string>() + " " + group["name"].get<std::string>()] = {group["confidence"],
                                                                                              group["isos"].size()};
    const std::map<std::string, std::pair<std::string, std::size_t>> expected{
        {"Metadata Scene/Take 21-T5_poly", {"High", 2}},
        {"Filename Pattern 22B-T1_poly", {"Medium", 2}},
        {"Metadata Timecode + Duration A0001", {"Medium", 2}},
        {"File Timestamp + Duration memo one", {"Medium", 2}},
        {"File Timestamp + Duration room tone", {"Low", 1}}};
    EXPECT_EQ(found, expected);
    EXPECT_EQ(json.json()["summary"]["grouping"], "Found 5 groups, (1 low-confidence)");
    const CliRun plain = runCli({"group"_s, pile});
    EXPECT_TRUE(plain.out.contains(
        "21-T5_poly  [High, Metadata Scene/Take]\n    1  %1/ZOOM0001_Tr1.wav  (channel 1, Boom)\n"_s.arg(pile)))
        << plain.out.toStdString();
}

TEST_F(PolyCommands, ThreeTakesOfIsosBecomeThreePolys) {
    const QString isos = copyOf("isos"_s);
    const QStringList before = fingerprint(isos);
    const CliRun dry = runCli({"join"_s, "--dry-run"_s, "--output"_s, path("out"_s), isos});
    EXPECT_EQ(dry.exitStatus, 0);
    EXPECT_FALSE(QFile::exists(path("out"_s)));
    const CliRun run =
        runCli({"join"_s, "--json"_s, "--csv"_s, "--keep-original-name"_s, "--output"_s, path("out"_s), isos});
    ASSERT_EQ(run.exitStatus, 0) << run.err.toStdString();
    EXPECT_EQ(run.json()["items"].size(), 3u);
    EXPECT_EQ(run.json()["summary"]["success"], 3);
    EXPECT_EQ(wavesIn(path("out"_s)).join(u' '), "14A-T1.wav 14A-T2.wav 14A-T3.wav"_s);
    for (const char* take : {"1", "2", "3"}) {
        const Samples poly = samplesIn(path("out/14A-T%1.wav"_s.arg(QString::fromLatin1(take))));
        ASSERT_EQ(poly.size(), 4u);
        EXPECT_EQ(poly[0], samplesIn(isos + "/14A-T%1_MixL.wav"_s.arg(QString::fromLatin1(take)))[0]) << take;
        EXPECT_EQ(poly[1], samplesIn(isos + "/14A-T%1_MixR.wav"_s.arg(QString::fromLatin1(take)))[0]) << take;
    }
    EXPECT_EQ(fingerprint(isos), before);
}

TEST_F(PolyCommands, SingleJoinsExactlyTheGivenFiles) {
    WaveSpec spec;
    const QString a = folder_.write("a.wav"_s, waveBytes(spec));
    spec.firstSignal = 1;
    const QString b = folder_.write("b.wav"_s, waveBytes(spec));
    const CliRun run = runCli({"join"_s, "--single"_s, "--name"_s, "Kitchen"_s, "--output"_s, path("out"_s), b, a});
    EXPECT_EQ(run.exitStatus, 0) << run.out.toStdString();
    EXPECT_EQ(samplesIn(path("out/Kitchen.wav"_s)), (Samples{samplesIn(b)[0], samplesIn(a)[0]}));
    EXPECT_EQ(runCli({"join"_s, "--single"_s, a, folder_.write("c.wav"_s, "x")}).exitStatus, 1);
}

TEST_F(PolyCommands, EditRemovesRenamesAndReorders) {
    const QString polys = copyOf("polys"_s);
    const QStringList before = fingerprint(polys);
    const CliRun run = runCli({"edit"_s, "--json"_s, "--remove"_s, "2-3"_s, "--rename"_s, "1=A & B"_s, "--rename"_s,
                               "2=Plant=1"_s, "--output"_s, path("out"_s), polys + "/12AT3.wav"_s});
    ASSERT_EQ(run.exitStatus, 0) << run.err.toStdString();
    EXPECT_EQ(run.json()["items"][0]["status"], "completed");
    const Samples source = samplesIn(polys + "/12AT3.wav"_s);
    EXPECT_EQ(samplesIn(path("out/12AT3.wav"_s)), (Samples{source[0], source[3]}));
    const QByteArray xml = chunkOf(readAll(path("out/12AT3.wav"_s)), "iXML");
    EXPECT_TRUE(xml.contains("<NAME>A &amp; B</NAME>") && xml.contains("<NAME>Plant=1</NAME>")) << xml.toStdString();

    const CliRun named = runCli({"edit"_s, "--remove-names"_s, "Mix, Spot"_s, "--output"_s, path("named"_s), polys});
    EXPECT_EQ(named.exitStatus, 0) << named.out.toStdString();
    EXPECT_EQ(samplesIn(path("named/Concert-T02.wav"_s)).size(), 2u);
    EXPECT_FALSE(QFile::exists(path("named/12AT3.wav"_s))) << "no track matched";

    const CliRun reordered = runCli({"edit"_s, "--reorder"_s, "3,1,2"_s, "--name"_s, "Turned"_s, "--output"_s,
                                     path("out"_s), polys + "/12AT3.wav"_s});
    EXPECT_EQ(reordered.exitStatus, 0) << reordered.out.toStdString();
    EXPECT_EQ(samplesIn(path("out/Turned.wav"_s)), (Samples{source[2], source[0], source[1], source[3]}));
    EXPECT_EQ(fingerprint(polys), before);
}

TEST_F(PolyCommands, InPlaceChangesTheNamesAlone) {
    const QString file = copyOf("polys"_s) + "/12AT3.wav"_s;
    const QByteArray before = readAll(file);
    const CliRun run = runCli({"edit"_s, "--in-place"_s, "--rename"_s, "2=Radio"_s, file});
    EXPECT_EQ(run.exitStatus, 0) << run.out.toStdString();
    const QByteArray after = readAll(file);
    EXPECT_EQ(chunkOf(after, "iXML").replace('\0', ""),
              QByteArray(chunkOf(before, "iXML")).replace("Lav Ann", "Radio"));
    EXPECT_EQ(chunkOf(after, "data"), chunkOf(before, "data"));
    EXPECT_EQ(chunkOf(after, "SMED"), chunkOf(before, "SMED"));
    QByteArray description = chunkOf(before, "bext").first(256);
    description.replace("sTRK2=Lav Ann\r\n", "sTRK2=Radio\r\n");
    EXPECT_EQ(chunkOf(after, "bext").first(256), description.leftJustified(256, '\0'));
    EXPECT_EQ(chunkOf(after, "bext").mid(256), chunkOf(before, "bext").mid(256));
    EXPECT_EQ(namesIn(path("polys"_s)).size(), 3);
}

TEST_F(PolyCommands, MissingToolsExitWithThree) {
    const QString poly = copyOf("polys"_s) + "/12AT3.wav"_s;
    EXPECT_EQ(runCli({"split"_s, poly}, {"PATH=/nowhere"_s, "OSTREL_RESOURCE_FOLDER=/nowhere"_s}).exitStatus,
              QFile::exists("/usr/bin/ffmpeg"_s) ? 0 : 3);
    const CliRun inPlace =
        runCli({"edit"_s, "--in-place"_s, "--rename"_s, "1=x"_s, poly}, {"OSTREL_RESOURCE_FOLDER=/nowhere"_s});
    EXPECT_EQ(inPlace.exitStatus, QFile::exists("/usr/bin/bwfmetaedit"_s) ? 0 : 3);
}

TEST_F(PolyCommands, ControlCStopsAheadOfTheNextFile) {
    const QString polys = copyOf("polys"_s);
    QProcess process;
    process.start(builtProgram("ostrel-cli"_s), {"split"_s, "--json"_s, "--output"_s, path("out"_s), polys});
    process.setReadChannel(QProcess::StandardError); // where the log goes beside a document
    ASSERT_TRUE(process.waitForStarted());
    QByteArray log;
    while (!log.contains("Created: ") && process.waitForReadyRead(30'000)) log += process.readAllStandardError();
    pressCtrlC(process);
    ASSERT_TRUE(process.waitForFinished(30'000));
    EXPECT_EQ(process.exitCode(), 130);
}

} // namespace
} // namespace ostrel
