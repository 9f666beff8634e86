// Real recordings cut into 2 to 9 parts, over midnight too: what is stitched is what was recorded.
#include "cut_recording.h"
#include "foundation/proof/audio_hashes.h"
#include "stitch/stitch_file.h"

#include <QDirIterator>
#include <QFile>
#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <set>

namespace ostrel {
namespace {

using namespace testing;

QStringList stitchableSamples() {
    QStringList files;
    QDirIterator walk(samplesFolder(), QDir::Files, QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        const Part part = readPart(walk.next());
        const bool lacksOnlyAStart = part.fault == u"it tells no start time"_s;
        if ((part.fault.isEmpty() || lacksOnlyAStart) && part.frames() >= 2) files << part.path;
    }
    files.sort();
    return files;
}

std::vector<quint64> cutsOf(quint64 frames, std::size_t parts, std::mt19937_64& random) {
    std::set<quint64> cuts;
    while (cuts.size() + 1 < parts) cuts.insert(1 + random() % (frames - 1));
    return {cuts.begin(), cuts.end()};
}

std::vector<Part> shuffled(const QStringList& paths, std::mt19937_64& random) {
    std::vector<Part> parts;
    for (const QString& path : paths) parts.push_back(readPart(path));
    std::shuffle(parts.begin(), parts.end(), random);
    return parts;
}

TEST(RealParts, AnyRecordingInAnyPartsIsWholeAgain) {
    if (samplesFolder().isEmpty()) GTEST_SKIP() << "no real recordings here";
    std::mt19937_64 random(18);
    std::size_t count = 0;
    for (const QString& sample : stitchableSamples()) {
        SCOPED_TRACE(sample.toStdString());
        const TestFolder folder;
        const Recording whole = recordingAt(sample);
        const quint64 frames = whole.layout.frames();
        const auto parts = static_cast<std::size_t>(std::min<quint64>(2 + count % 8, frames));
        const quint64 day = 86'400ULL * whole.layout.format->sampleRate;
        const quint64 start = count++ % 2 ? day - frames / 2 : 1'000'000;
        const auto cuts = cutsOf(frames, parts, random);
        const QStringList paths = writeParts(folder, u"P%1.wav"_s, whole, start, cuts, day);
        const std::vector<Series> series = seriesOf(shuffled(paths, random));
        ASSERT_EQ(series.size(), 1U) << parts;
        ASSERT_TRUE(series.front().isExact()) << series.front().ambiguity.toStdString();
        RunLedger ledger(paths);
        const StitchItem item = stitchSeries(series.front(), {}, {.proves = true}, ledger);
        ASSERT_EQ(item.status, StitchStatus::stitched) << item.reason.toStdString();
        EXPECT_EQ(item.sources, paths);
        const Recording made = recordingAt(item.output);
        EXPECT_EQ(made.audio(), whole.audio());
        EXPECT_TRUE(made.layout.endsAsDeclared());
        const AudioHashes hashes = hashAudio(sample);
        EXPECT_EQ(hashAudio(item.output).md5, hashes.md5);
        ASSERT_EQ(item.proof->channels.size(), static_cast<std::size_t>(hashes.channels.size()));
        for (const ChannelProof& channel : item.proof->channels) {
            EXPECT_EQ(channel.hash, hashes.channels[channel.outputChannel]);
        }
    }
    EXPECT_GT(count, 90U);
}

TEST(RealParts, ASampleMoreOrLessIsRefused) {
    if (samplesFolder().isEmpty()) GTEST_SKIP() << "no real recordings here";
    std::mt19937_64 random(19);
    for (const QString& sample : stitchableSamples()) {
        SCOPED_TRACE(sample.toStdString());
        const Recording whole = recordingAt(sample);
        const quint64 half = whole.layout.frames() / 2;
        if (half < 2) continue; // where a sample is the whole part
        for (const int off : {-1, 1}) {
            const TestFolder folder;
            const QStringList paths{
                folder.write(u"A1.wav"_s, partOf(whole, 0, half, 1000)),
                folder.write(u"A2.wav"_s, partOf(whole, half, whole.layout.frames() - half, 1000 + half + off))};
            const std::vector<Series> series = seriesOf(shuffled(paths, random));
            ASSERT_EQ(series.size(), 1U);
            RunLedger ledger(paths);
            const StitchItem item = stitchSeries(series.front(), {}, {}, ledger);
            EXPECT_EQ(item.status, StitchStatus::refused);
            EXPECT_TRUE(item.reason.startsWith(off > 0 ? u"gap of 1 sample"_s : u"overlap of 1, "_s))
                << item.reason.toStdString();
            EXPECT_EQ(namesIn(folder.path()), (QStringList{u"A1.wav"_s, u"A2.wav"_s}));
        }
    }
}

} // namespace
} // namespace ostrel
