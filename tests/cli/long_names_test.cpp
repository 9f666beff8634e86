// Names that are longer than a file system takes, from end to end: what the built program makes of them, read back from
// the disk.
#include "cli/command.h"

#include "support/wave_file.h"

#include <QDirIterator>
#include <QSet>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

// Files below a folder, every name checked for half letters and its length.
QStringList filesBelow(const QString& folder) {
    QStringList files;
    QDirIterator all(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (all.hasNext()) {
        const QString path = all.next();
        const QString name = all.fileName();
        EXPECT_LE(name.toUtf8().size(), 255);
        EXPECT_FALSE(name.contains(QChar::ReplacementCharacter)) << name.toStdString();
        files << path;
    }
    files.sort();
    return files;
}

QByteArray ixml(const QList<QByteArray>& tracks) {
    QByteArray xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<BWFXML>\n<SCENE>" + QByteArray(300, 's') +
                     "</SCENE>\n<TAKE>3</TAKE>\n<TRACK_LIST>\n<TRACK_COUNT>" + QByteArray::number(tracks.size()) +
                     "</TRACK_COUNT>\n";
    for (int i = 0; i < tracks.size(); ++i) {
        const QByteArray number = QByteArray::number(i + 1);
        xml += "<TRACK>\n<CHANNEL_INDEX>" + number + "</CHANNEL_INDEX>\n<INTERLEAVE_INDEX>" + number +
               "</INTERLEAVE_INDEX>\n<NAME>" + tracks[i] + "</NAME>\n</TRACK>\n";
    }
    return xml + "</TRACK_LIST>\n</BWFXML>\n";
}

class LongNames : public ::testing::Test {
protected:
    static WaveSpec spec(int channels) {
        WaveSpec result;
        result.channels = channels;
        return result;
    }
    nlohmann::json job(const QStringList& arguments) {
        const CliRun run = runCli(QStringList{arguments.first(), "--json"_s} + arguments.mid(1));
        EXPECT_EQ(run.exitStatus, 0) << run.err.toStdString();
        return run.json();
    }
    QString path(const QString& relative) const { return folder_.path() + u'/' + relative; }
    // The outputs that the items tell, all of which stand on the disk, and nothing else does.
    QStringList outputsOf(const nlohmann::json& document, const QString& folder) const {
        QStringList told;
        for (const auto& item : document["items"]) {
            for (const auto& output : item["outputs"]) told << text(output);
        }
        told.sort();
        EXPECT_EQ(told, filesBelow(path(folder)));
        return told;
    }

    TestFolder folder_;
    // 62 emoji of four bytes and three letters: with ".wav" the longest name there is.
    const QString longest_ = "🎙"_s.repeated(62) + "xyz"_s;
};

TEST_F(LongNames, ASplitMakesEveryIsoOfTracksThatNoFileSystemTakes) {
    const QByteArray beginning(299, 'x');
    WaveSpec poly = spec(4);
    poly.before.emplace_back(
        "iXML", ixml({"🎙"_s.repeated(150).toUtf8(), beginning + "1", beginning + "2", "a\u0301"_s.toUtf8()}));
    const QString source = folder_.write("in/T1.wav"_s, waveBytes(poly));
    const QStringList outputs = outputsOf(job({"split"_s, "--output"_s, path("out"_s), source}), "out"_s);
    const QString folder = path("out/"_s + QString(252, u's') + "-T3/"_s);
    const QStringList expected{folder + "T1_"_s + "🎙"_s.repeated(62) + ".wav"_s,
                               folder + "T1_"_s + QString(248, u'x') + ".wav"_s,
                               folder + "T1_"_s + QString(246, u'x') + "_3.wav"_s, folder + "T1_a\u0301.wav"_s};
    EXPECT_EQ(QSet<QString>(outputs.begin(), outputs.end()), QSet<QString>(expected.begin(), expected.end()))
        << outputs.join(u'\n').toStdString();
    const Samples samples = scaledTo32(samplesOf(poly), 24);
    for (qsizetype channel = 0; channel < expected.size(); ++channel) {
        EXPECT_EQ(decodedByFfmpeg(expected[channel]), (Samples{samples[static_cast<std::size_t>(channel)]}));
    }

    const nlohmann::json again = job({"split"_s, "--output"_s, path("out"_s), source});
    EXPECT_EQ(again["summary"]["skipped"], 4) << "a second run finds the same names";
}

TEST_F(LongNames, APolyOfTheLongestNameIsSplitJoinedAndEdited) {
    const QString source = folder_.write("in/%1.wav"_s.arg(longest_), waveBytes(spec(3)));
    const QStringList isos = outputsOf(
        job({"split"_s, "--folders"_s, "flat"_s, "--naming"_s, "number"_s, "--output"_s, path("isos"_s), source}),
        "isos"_s);
    EXPECT_EQ(isos, (QStringList{path("isos/%1_ch1.wav"_s.arg("🎙"_s.repeated(61))),
                                 path("isos/%1_ch2.wav"_s.arg("🎙"_s.repeated(61))),
                                 path("isos/%1_ch3.wav"_s.arg("🎙"_s.repeated(61)))}));
    const QStringList kept = outputsOf(
        job({"split"_s, "--folders"_s, "flat"_s, "--keep-original-name"_s, "--output"_s, path("kept"_s), source}),
        "kept"_s);
    EXPECT_EQ(kept.size(), 3);
    const QStringList joined =
        outputsOf(job(QStringList{"join"_s, "--single"_s, "--output"_s, path("joined"_s)} + isos), "joined"_s);
    ASSERT_EQ(joined.size(), 1);
    EXPECT_TRUE(joined.first().endsWith("_poly.wav"_s));
    EXPECT_EQ(decodedByFfmpeg(joined.first()), decodedByFfmpeg(source));
    const QStringList named = outputsOf(
        job(QStringList{"join"_s, "--single"_s, "--name"_s, "録"_s.repeated(150), "--output"_s, path("named"_s)} +
            isos),
        "named"_s);
    EXPECT_EQ(named, QStringList{path("named/%1.wav"_s.arg("録"_s.repeated(83)))});
    const QStringList edited = outputsOf(
        job({"edit"_s, "--remove"_s, "1"_s, "--name"_s, "録"_s.repeated(150), "--output"_s, path("edited"_s), source}),
        "edited"_s);
    EXPECT_EQ(edited, QStringList{path("edited/%1.wav"_s.arg("録"_s.repeated(83)))});
    job({"edit"_s, "--remove"_s, "1"_s, source}); // beside the source: with "_2ch"
    EXPECT_TRUE(QFile::exists(path("in/%1_2ch.wav"_s.arg("🎙"_s.repeated(61)))));
}

TEST_F(LongNames, AStereoFileOfTheLongestNameIsDeinterleavedAndCleaned) {
    WaveSpec dual{.channels = 2, .sampleRate = 8000, .frames = 16000};
    dual.signal = [](int, int frame) { return noise(0, frame, 24); };
    const QString source = folder_.write("in/%1.wav"_s.arg(longest_), waveBytes(dual));
    const QStringList monos = outputsOf(job({"deinterleave"_s, "--output"_s, path("out"_s), source}), "out"_s);
    EXPECT_EQ(monos, (QStringList{path("out/De-interleaved/%1.L.wav"_s.arg("🎙"_s.repeated(62) + u'x')),
                                  path("out/De-interleaved/%1.R.wav"_s.arg("🎙"_s.repeated(62) + u'x'))}));
    const QStringList cleaned = outputsOf(job({"clean"_s, "--output"_s, path("clean"_s), path("in"_s)}), "clean"_s);
    EXPECT_EQ(cleaned, QStringList{path("clean/%1_mono.wav"_s.arg("🎙"_s.repeated(61)))});
    const nlohmann::json back = job({"interleave"_s, "--output"_s, path("back"_s), path("out/De-interleaved"_s)});
    EXPECT_EQ(outputsOf(back, "back"_s), QStringList{path("back/%1.wav"_s.arg("🎙"_s.repeated(62) + u'x'))});
}

} // namespace
} // namespace ostrel
