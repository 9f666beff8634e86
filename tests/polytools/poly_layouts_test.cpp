// What ffmpeg would reorder, mix or refuse by the speakers that files name: samples must come through all the same.
#include "platform/paths.h"
#include "poly_fixture.h"
#include "polytools/edit/poly_channel_filter_engine.h"
#include "polytools/join/poly_join_engine.h"
#include "polytools/records/merge_graph.h"
#include "polytools/records/poly_track_reading.h"
#include "polytools/split/poly_split_engine.h"

#include <QCryptographicHash>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace ostrel {
namespace {

using testing::Samples;
using testing::TestFolder;
using testing::WaveSpec;

// A file of 24 bits that names its speakers (WAVEFORMATEXTENSIBLE with a mask).
QString writeMasked(const QString& path, int channels, quint32 mask, int firstSignal = 0) {
    WaveSpec spec;
    spec.channels = channels;
    spec.frames = 64;
    spec.firstSignal = firstSignal;
    const QByteArray plain = testing::waveBytes(spec);
    QByteArray format = testing::chunkOf(plain, "fmt ");
    format[0] = '\xFE';
    format[1] = '\xFF';
    format += testing::littleEndian16(22) + testing::littleEndian16(24) + testing::littleEndian32(mask) +
              QByteArray::fromHex("0100000000001000800000aa00389b71");
    const QByteArray body =
        "WAVE" + testing::chunkBytes("fmt ", format) + testing::chunkBytes("data", testing::chunkOf(plain, "data"));
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("RIFF" + testing::littleEndian32(static_cast<quint32>(body.size())) + body);
    return path;
}

Samples signalsOf(int channels) {
    WaveSpec spec;
    spec.channels = channels;
    spec.frames = 64;
    return testing::scaledTo32(testing::samplesOf(spec), 24);
}

// The samples as the bytes hold them: ffmpeg may mix while it decodes for us, too.
Samples rawSamples(const QString& path, int channels) {
    const QByteArray data = testing::chunkOf(testing::readAll(path), "data");
    Samples result(static_cast<std::size_t>(channels));
    for (qsizetype at = 0; at + 3 <= data.size(); at += 3) {
        const auto byte = [&](qsizetype i) { return static_cast<quint32>(static_cast<quint8>(data[at + i])); };
        result[static_cast<std::size_t>(at / 3 % channels)].push_back(
            static_cast<std::int32_t>(byte(0) << 8 | byte(1) << 16 | byte(2) << 24));
    }
    return result;
}

TEST(DeclaredSpeakers, MasksAreReadFromExtensibleFilesOnly) {
    const TestFolder folder;
    EXPECT_TRUE(anyNamesSpeakers({writeMasked(folder.path(QStringLiteral("a.wav")), 1, 2)}));
    EXPECT_FALSE(anyNamesSpeakers({folder.write(QStringLiteral("b.wav"), testing::waveBytes({}))}));
    EXPECT_FALSE(anyNamesSpeakers({folder.write(QStringLiteral("c.wav"), "RIFF")}));
    EXPECT_FALSE(anyNamesSpeakers({writeMasked(folder.path(QStringLiteral("d.wav")), 1, 4)}));
    EXPECT_EQ(mergeGraph({1, 1}, false), QStringLiteral("[0:a][1:a]amerge=inputs=2[aout]"));
    EXPECT_EQ(mergeGraph({1, 1}, true),
              QStringLiteral("[0:a]pan=mono|c0=c0[m0];[1:a]pan=mono|c0=c0[m1];[m0][m1]amerge=inputs=2[aout]"));
}

TEST(DeclaredSpeakers, IsosThatNameSpeakersKeepTheirOrderInTheJoin) {
    for (const std::vector<quint32>& masks : {std::vector<quint32>{2, 1}, {4, 2, 1}, {2, 4, 1, 8}, {2, 0}}) {
        const TestFolder folder;
        std::vector<ISOFile> isos;
        for (std::size_t i = 0; i < masks.size(); ++i) {
            ISOFile iso;
            iso.url = writeMasked(folder.path(QStringLiteral("%1.wav").arg(i)), 1, masks[i], static_cast<int>(i));
            iso.fileName = paths::lastComponent(iso.url);
            iso.bitDepth = 24;
            isos.push_back(iso);
        }
        const QString output = folder.path(QStringLiteral("out.wav"));
        ASSERT_TRUE(PolyJoinEngine(testing::toolsWithoutBwfmetaedit()).join(isos, output, {}).outcome.succeeded());
        const int channels = static_cast<int>(masks.size());
        EXPECT_EQ(rawSamples(output, channels), signalsOf(channels)) << channels;
    }
}

TEST(DeclaredSpeakers, EditsKeepTheSamplesWhateverTheLayout) {
    // Channels and mask: layouts without a name, the 5.1 of the sides, plain 10 tracks, 16 that are no hexadecagon.
    for (const auto& [channels, mask] :
         {std::pair(3, 0x7U), {5, 0x1FU}, {6, 0x60FU}, {8, 0xFFU}, {10, 0U}, {12, 0xFFFU}, {16, 0xFFFFU}, {17, 0U}}) {
        const TestFolder folder;
        const PolyEngineTools tools = testing::toolsWithoutBwfmetaedit();
        const PolyFile poly =
            readPolyFile(writeMasked(folder.path(QStringLiteral("P.wav")), channels, mask), tools.ffprobePath);
        const Samples signals = signalsOf(channels);
        const PolyChannelFilterEngine engine(tools);
        QDir().mkpath(folder.path(QStringLiteral("out/x")));
        const QString output = folder.path(QStringLiteral("out/P.wav"));

        Samples turned = signals;
        std::swap(turned[0], turned[1]);
        engine.removeChannelsFromPoly(poly, {}, paths::parent(output), {}, {}, std::vector<int>{2, 1});
        EXPECT_EQ(rawSamples(output, channels), turned) << channels << " channels, mask " << mask;

        ChannelFilterOptions filter;
        filter.selectedChannelIndices = {1};
        engine.removeChannelsFromPoly(poly, filter, paths::parent(output), {}, {}, std::nullopt);
        EXPECT_EQ(rawSamples(output, channels - 1), Samples(signals.begin() + 1, signals.end()))
            << channels << " less one";
    }
}

// Real recordings of recorders and workstations, their channels' checksums known from elsewhere.
class RealRecordings : public ::testing::Test {
protected:
    static QList<QByteArray> channelChecksums(const QString& file, int channels, int bytesPerSample) {
        const QByteArray data = testing::chunkOf(testing::readAll(file), "data");
        const qsizetype frame = static_cast<qsizetype>(channels) * bytesPerSample;
        QList<QByteArray> result;
        for (int channel = 0; channel < channels; ++channel) {
            QByteArray bytes;
            bytes.reserve(data.size() / channels);
            for (const char* at = data.constData() + channel * bytesPerSample;
                 at - channel * bytesPerSample + frame <= data.constData() + data.size(); at += frame)
                bytes.append(at, bytesPerSample);
            result << QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex();
        }
        return result;
    }
};

TEST_F(RealRecordings, PolyToIsosToPolyKeepsEveryChannel) {
    const QString samples = testing::samplesFolder();
    if (samples.isEmpty()) GTEST_SKIP() << "no real recordings here";
    const nlohmann::json document =
        nlohmann::json::parse(testing::readAll(samples + QStringLiteral("/samples.json")).toStdString());
    const PolyEngineTools tools = testing::realTools();
    int tried = 0;
    for (const auto& file : document["files"]) {
        const QString name = QString::fromStdString(file["file"].get<std::string>());
        const bool isRecording =
            name.startsWith(QStringLiteral("recorders/")) || name.startsWith(QStringLiteral("daw/"));
        if (!isRecording || !file.contains("channel_sha256") || file["channel_sha256"].size() < 2) continue;
        const int channels = static_cast<int>(file["channel_sha256"].size());
        const int bytes = file["fmt"]["bits_per_sample"].get<int>() / 8;
        QList<QByteArray> checksums;
        for (const auto& checksum : file["channel_sha256"]) {
            checksums << QByteArray::fromStdString(checksum.get<std::string>());
        }

        const TestFolder folder;
        const QString source = paths::append(samples, name);
        const QString before = testing::fingerprintOf(source);
        const PolyFile poly = readPolyFile(source, tools.ffprobePath);
        if (poly.codecName.contains(QStringLiteral("f32"))) continue; // a split writes integers
        SplitOptions options;
        options.namingPattern = SplitNamingPattern::channelNumber;
        PolyEngineTools quick = tools;
        quick.ffprobePath.clear(); // that an ISO is mono is seen below
        const SplitResult split = PolySplitEngine(quick).split(poly, folder.path(), options);
        ASSERT_EQ(split.outcome.outputs.size(), channels)
            << name.toStdString() << testing::messages(split.logEntries).join(u'\n').toStdString();
        std::vector<ISOFile> isos;
        for (int i = 0; i < channels; ++i) {
            EXPECT_EQ(testing::chunkOf(testing::readAll(split.outcome.outputs[i]), "fmt ").mid(2, 2),
                      QByteArray("\1\0", 2));
            EXPECT_EQ(channelChecksums(split.outcome.outputs[i], 1, bytes), QList{checksums[i]})
                << name.toStdString() << " channel " << i + 1;
            ISOFile iso;
            iso.url = split.outcome.outputs[i];
            iso.fileName = paths::lastComponent(iso.url);
            iso.bitDepth = poly.bitDepth;
            isos.push_back(iso);
        }
        const QString joined = folder.path(QStringLiteral("joined.wav"));
        ASSERT_TRUE(PolyJoinEngine(tools).join(isos, joined, {}).outcome.succeeded()) << name.toStdString();
        EXPECT_EQ(channelChecksums(joined, channels, bytes), checksums) << name.toStdString();

        const auto oldTracks = parseTrackBlocks(QString::fromUtf8(testing::ixmlOfFile(source)));
        const auto newTracks = parseTrackBlocks(QString::fromUtf8(testing::ixmlOfFile(joined)));
        if (testing::hasBwfmetaedit() && static_cast<int>(oldTracks.size()) == channels) {
            EXPECT_EQ(newTracks, oldTracks) << name.toStdString();
        }
        EXPECT_EQ(testing::fingerprintOf(source), before);
        ++tried;
    }
    EXPECT_GE(tried, 10);
}

} // namespace
} // namespace ostrel
