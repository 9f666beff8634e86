// The same recording given twice, to every job of the built program: by a folder and its subfolder, by a folder and a
// file of it, by another spelling, by links of both kinds. It is worked on once.
#include "cli/command.h"

#include "support/wave_file.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace ostrel {
namespace {

using namespace testing;

class DoubledSelections : public ::testing::Test {
protected:
    QString mono(const QString& name, int signal) const {
        WaveSpec spec;
        spec.firstSignal = signal;
        return folder_.write(name, waveBytes(spec));
    }
    QString poly(const QString& name, int channels = 2) const {
        WaveSpec spec;
        spec.channels = channels;
        return folder_.write(name, waveBytes(spec));
    }
    // Two seconds of the same noise on both sides.
    QString dualMono(const QString& name) const {
        WaveSpec spec{.channels = 2, .sampleRate = 8000, .frames = 16000};
        spec.signal = [](int, int frame) { return noise(0, frame, 24); };
        return folder_.write(name, waveBytes(spec));
    }
    QString path(const QString& relative) const { return folder_.path() + u'/' + relative; }
    QString hardLink(const QString& to, const QString& name) const {
        const QString link = folder_.path(name);
        EXPECT_EQ(::link(QFile::encodeName(to).constData(), QFile::encodeName(link).constData()), 0);
        return link;
    }
    QString softLink(const QString& to, const QString& name) const {
        const QString link = folder_.path(name);
        EXPECT_TRUE(QFile::link(to, link));
        return link;
    }
    QStringList wavesIn(const QString& relative) const {
        return QDir(path(relative)).entryList({"*.wav"_s}, QDir::Files, QDir::Name);
    }
    // Runs with --json, expects success; standard error holds the log.
    nlohmann::json job(const QStringList& arguments) {
        const CliRun run = runCli(QStringList{arguments.first(), "--json"_s} + arguments.mid(1));
        EXPECT_EQ(run.exitStatus, 0) << run.err.toStdString();
        log_ = run.err;
        return run.json();
    }
    bool toldOnce(const QString& name, const QString& first) const {
        return log_.count("%1 is the same file as %2 and taken once"_s.arg(name, first)) == 1;
    }

    TestFolder folder_;
    QString log_;
};

TEST_F(DoubledSelections, JoinTakesAFolderAndItsSubfolderOnce) {
    mono("in/12AT3_Boom.wav"_s, 0);
    mono("in/12AT3_Lav.wav"_s, 1);
    mono("in/sub/12AT4_Boom.wav"_s, 2);
    mono("in/sub/12AT4_Lav.wav"_s, 3);
    const nlohmann::json document = job({"join"_s, "--output"_s, path("out"_s), path("in"_s), path("in/sub"_s)});
    EXPECT_EQ(document["summary"]["files"], 4);
    ASSERT_EQ(document["items"].size(), 2u);
    for (const auto& item : document["items"]) EXPECT_EQ(item["sources"].size(), 2u) << item.dump();
    ASSERT_EQ(wavesIn("out"_s).join(u' '), "12A-T3_poly.wav 12A-T4_poly.wav"_s);
    EXPECT_EQ(decodedByFfmpeg(path("out/12A-T3_poly.wav"_s)).size(), 2u);
    EXPECT_EQ(decodedByFfmpeg(path("out/12A-T4_poly.wav"_s)).size(), 2u);
}

TEST_F(DoubledSelections, JoinTakesAFileByTwoLinksOnce) {
    const QString boom = mono("in/12AT3_Boom.wav"_s, 0);
    const QString copy = hardLink(boom, "in/12AT3_Copy.wav"_s);
    const QString lav = mono("in/12AT3_Lav.wav"_s, 1);
    const nlohmann::json grouped = job({"join"_s, "--output"_s, path("out"_s), path("in"_s)});
    EXPECT_EQ(grouped["summary"]["files"], 2);
    EXPECT_EQ(decodedByFfmpeg(path("out/12A-T3_poly.wav"_s)).size(), 2u);
    EXPECT_TRUE(toldOnce(copy, boom)) << log_.toStdString();

    const QString link = softLink(boom, "elsewhere/boom.wav"_s);
    const QString spelled = path("in/../in/./12AT3_Lav.wav"_s);
    const nlohmann::json single = job(
        {"join"_s, "--single"_s, "--name"_s, "one"_s, "--output"_s, path("single"_s), boom, lav, copy, spelled, link});
    EXPECT_EQ(single["items"][0]["sources"].size(), 2u);
    EXPECT_EQ(decodedByFfmpeg(path("single/one.wav"_s)).size(), 2u);
    EXPECT_TRUE(toldOnce(copy, boom) && toldOnce(link, boom)) << log_.toStdString();
}

TEST_F(DoubledSelections, CleanTakesAFileAndItsFolderOnce) {
    const QString a = dualMono("in/a.wav"_s);
    dualMono("in/b.wav"_s);
    const QString copy = hardLink(a, "in/copy.wav"_s);
    const nlohmann::json document = job({"clean"_s, a, path("in"_s)});
    EXPECT_EQ(document["items"].size(), 2u) << document["items"].dump();
    EXPECT_EQ(document["summary"], (nlohmann::json{{"success", 2}, {"skipped", 0}, {"errors", 0}}));
    EXPECT_EQ(wavesIn("in"_s).join(u' '), "a.wav a_mono.wav b.wav b_mono.wav copy.wav"_s);
    EXPECT_TRUE(toldOnce(copy, a)) << log_.toStdString();
}

TEST_F(DoubledSelections, ALinkGivenByHandIsUsable) {
    const QString a = dualMono("in/a.wav"_s);
    const QString link = softLink(a, "links/door.wav"_s);
    const nlohmann::json document = job({"clean"_s, link, path("in"_s)});
    ASSERT_EQ(document["items"].size(), 1u);
    EXPECT_EQ(text(document["items"][0]["outputs"][0]), path("links/door_mono.wav"_s));
    EXPECT_EQ(wavesIn("in"_s).join(u' '), "a.wav"_s);
}

TEST_F(DoubledSelections, ValidateShowsARecordingOnce) {
    const QString a = dualMono("in/a.wav"_s);
    dualMono("in/sub/b.wav"_s);
    const nlohmann::json document = job({"validate"_s, path("in"_s), path("in/sub"_s), a, path("in/sub/../a.wav"_s)});
    EXPECT_EQ(document["results"].size(), 2u);
    EXPECT_EQ(document["summary"]["success"], 2);
}

TEST_F(DoubledSelections, SplitTakesAPolyOnce) {
    const QString one = poly("in/one.wav"_s);
    const QString two = poly("in/sub/two.wav"_s, 3);
    const nlohmann::json folders =
        job({"split"_s, "--folders"_s, "flat"_s, "--output"_s, path("out"_s), path("in"_s), path("in/sub"_s)});
    EXPECT_EQ(folders["items"].size(), 2u);
    EXPECT_EQ(wavesIn("out"_s).size(), 5);
    EXPECT_EQ(folders["summary"]["skipped"], 0);

    const QString link = hardLink(one, "in/three.wav"_s);
    const nlohmann::json files = job({"split"_s, "--folders"_s, "flat"_s, "--output"_s, path("again"_s), one, two, link,
                                      path("in/sub/./two.wav"_s)});
    EXPECT_EQ(files["items"].size(), 2u);
    EXPECT_EQ(wavesIn("again"_s).size(), 5);
    EXPECT_TRUE(toldOnce(link, one)) << log_.toStdString();

    const nlohmann::json folder =
        job({"split"_s, "--folders"_s, "flat"_s, "--output"_s, path("third"_s), path("in"_s)});
    EXPECT_EQ(folder["items"].size(), 2u);
    EXPECT_EQ(wavesIn("third"_s).size(), 5);
    EXPECT_TRUE(toldOnce(link, one)) << log_.toStdString();
}

TEST_F(DoubledSelections, EditTakesAPolyOnce) {
    const QString one = poly("in/one.wav"_s, 3);
    const QString link = softLink(one, "links/door.wav"_s);
    const nlohmann::json files =
        job({"edit"_s, "--remove"_s, "1"_s, "--output"_s, path("out"_s), one, link, path("in/./one.wav"_s)});
    EXPECT_EQ(files["items"].size(), 1u);
    EXPECT_EQ(wavesIn("out"_s).join(u' '), "one.wav"_s);
    EXPECT_TRUE(toldOnce(link, one)) << log_.toStdString();

    poly("in/sub/two.wav"_s, 3);
    const nlohmann::json folders =
        job({"edit"_s, "--remove"_s, "1"_s, "--output"_s, path("again"_s), path("in"_s), path("in/sub"_s)});
    EXPECT_EQ(folders["items"].size(), 2u);
    EXPECT_EQ(wavesIn("again"_s).join(u' '), "one.wav two.wav"_s);

    const QString hard = hardLink(one, "in/zzz.wav"_s);
    const nlohmann::json folder = job({"edit"_s, "--remove"_s, "1"_s, "--output"_s, path("third"_s), path("in"_s)});
    EXPECT_EQ(folder["items"].size(), 2u);
    EXPECT_EQ(wavesIn("third"_s).join(u' '), "one.wav two.wav"_s);
    EXPECT_TRUE(toldOnce(hard, one)) << log_.toStdString();
}

TEST_F(DoubledSelections, InterleaveTakesAPairOnce) {
    const QString left = mono("in/sub/Rain.L.wav"_s, 0);
    const QString right = mono("in/sub/Rain.R.wav"_s, 1);
    const QString door = softLink(path("in/sub"_s), "door"_s);
    const nlohmann::json folders =
        job({"interleave"_s, "--output"_s, path("out"_s), path("in"_s), door, path("in/sub"_s), left});
    ASSERT_EQ(folders["items"].size(), 1u) << folders["items"].dump();
    EXPECT_EQ(folders["items"][0]["status"], "completed");
    EXPECT_EQ(wavesIn("out"_s).join(u' '), "Rain.wav"_s);

    const nlohmann::json files = job({"interleave"_s, "--output"_s, path("again"_s), left, right,
                                      path("door/Rain.L.wav"_s), path("in/./sub/Rain.R.wav"_s)});
    ASSERT_EQ(files["items"].size(), 1u);
    EXPECT_EQ(text(files["items"][0]["sources"][0]), left) << "the name that came first";
    EXPECT_TRUE(toldOnce(path("door/Rain.L.wav"_s), left)) << log_.toStdString();
    WaveSpec both;
    both.channels = 2;
    EXPECT_EQ(decodedByFfmpeg(path("again/Rain.wav"_s)), scaledTo32(samplesOf(both), 24));
}

TEST_F(DoubledSelections, DeinterleaveTakesAFileOnceAndStillFindsItsLayout) {
    const QString surround = poly("in/take.wav"_s, 6);
    const QString link = hardLink(surround, "in/other.wav"_s);
    const nlohmann::json document = job({"deinterleave"_s, "--output"_s, path("out"_s), surround, link, surround});
    ASSERT_EQ(document["items"].size(), 1u) << document.dump();
    EXPECT_EQ(wavesIn("out/De-interleaved"_s).size(), 6);
    EXPECT_TRUE(toldOnce(link, surround)) << log_.toStdString();
}

} // namespace
} // namespace ostrel
