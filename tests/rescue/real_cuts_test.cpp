// Real recordings as a loss of power leaves them: cut anywhere, with sizes that were never written.
#include "rescue/diagnosis.h"
#include "support/test_folder.h"
#include "support/wave_file.h"

#include <QDirIterator>
#include <QFile>
#include <algorithm>
#include <gtest/gtest.h>
#include <random>

namespace ostrel {
namespace {

using namespace testing;

struct Healthy {
    QString path;
    QByteArray bytes;
    WaveLayout layout;
};

QStringList sampleFiles() {
    QStringList files;
    QDirIterator walk(samplesFolder(), QDir::Files, QDirIterator::Subdirectories);
    while (walk.hasNext()) files << walk.next();
    files.sort();
    return files;
}

// Whole ones whose samples are no code of another kind.
std::vector<Healthy> healthySamples() {
    std::vector<Healthy> result;
    for (const QString& path : sampleFiles()) {
        const Diagnosis diagnosis = diagnose(path.toStdString());
        if (diagnosis.kind != Diagnosis::Kind::healthy || diagnosis.audioBytes == 0) continue;
        if (diagnosis.format->tag != WaveFormat::pcm && diagnosis.format->tag != WaveFormat::ieeeFloat) continue;
        result.push_back({path, readAll(path), *readWaveLayout(path.toStdString())});
    }
    return result;
}

enum class Sizes { asTheyStand, zero, unknown, stale, large };

// The file with other sizes in its head.
QByteArray withSizes(const Healthy& file, Sizes sizes) {
    QByteArray bytes = file.bytes;
    if (sizes == Sizes::asTheyStand) return bytes;
    const auto put = [&](quint64 at, quint32 low, quint32 high, bool isLong) {
        bytes.replace(static_cast<qsizetype>(at), 4, littleEndian32(low));
        if (isLong) bytes.replace(static_cast<qsizetype>(at) + 4, 4, littleEndian32(high));
    };
    const auto half = static_cast<quint32>(file.layout.data->size / 4 * 2);
    const quint32 size = sizes == Sizes::zero    ? 0
                         : sizes == Sizes::large ? 0x00FFFFFF
                         : sizes == Sizes::stale ? half
                                                 : ~0U;
    put(4, size, 0, false);
    put(file.layout.data->payload - 4, file.layout.hasLongSizes ? ~0U : size, 0, false);
    const bool isUnknown = sizes == Sizes::unknown;
    if (file.layout.hasLongSizes) put(28, size, isUnknown ? ~0U : 0, true);
    return bytes;
}

std::vector<quint64> placesIn(const Healthy& file, int inAudio) {
    const quint64 begin = file.layout.data->payload;
    const quint64 size = file.layout.audioBytes();
    std::vector<quint64> places;
    std::mt19937_64 random(1);
    for (int i = 0; i < inAudio; ++i) places.push_back(begin + random() % size);
    for (const WaveChunk& chunk : file.layout.chunks) {
        if (chunk.header() < begin) places.push_back(chunk.header());
    }
    std::sort(places.rbegin(), places.rend());
    return places;
}

// What is wrong with the diagnosis of the recording's first `cut` bytes; empty: nothing.
std::string faultAt(const Healthy& file, const Diagnosis& told, quint64 cut) {
    const WaveChunk& data = *file.layout.data;
    if (cut <= data.payload) {
        return told.kind != Diagnosis::Kind::unclosed && told.frames() == 0 ? "" : "audio was found in a head";
    }
    const quint64 there = cut - data.payload;
    const quint64 whole = there - there % file.layout.format->blockAlign;
    if (whole == 0) return told.frames() == 0 ? "" : "frames without a frame";
    if (told.kind != Diagnosis::Kind::unclosed) return "not found to be unclosed: " + told.reason;
    if (told.audio != data.payload) return "the audio begins elsewhere";
    return told.audioBytes == whole ? "" : "other audio: " + std::to_string(told.audioBytes) + " bytes";
}

TEST(RealCuts, AudioIsTheBeginningOfTheOriginalWhereverItIsCut) {
    if (samplesFolder().isEmpty()) GTEST_SKIP() << "the folder of real recordings is not here";
    const TestFolder folder;
    int cuts = 0;
    for (const Healthy& file : healthySamples()) {
        const bool isRecorder = file.path.contains(QStringLiteral("/recorders/"));
        for (const Sizes sizes : {Sizes::asTheyStand, Sizes::zero, Sizes::unknown, Sizes::large}) {
            if (sizes == Sizes::large && file.bytes.size() > 0x00FFFFFF) continue;
            const QString path = folder.write(QStringLiteral("cut.wav"), withSizes(file, sizes));
            for (const quint64 cut : placesIn(file, isRecorder ? 50 : 12)) {
                ASSERT_TRUE(QFile::resize(path, static_cast<qint64>(cut)));
                const std::string fault = faultAt(file, diagnose(path.toStdString()), cut);
                EXPECT_EQ(fault, "") << file.path.toStdString() << " at " << cut << ", sizes " << int(sizes);
                ++cuts;
            }
        }
    }
    EXPECT_GT(cuts, 3000);
    RecordProperty("cuts", cuts);
}

// Nothing is cut, but the head tells other sizes: the chunks behind the audio are found from the end.
TEST(RealCuts, AWholeFileWithoutItsSizesHasItsAudioBack) {
    if (samplesFolder().isEmpty()) GTEST_SKIP() << "the folder of real recordings is not here";
    const TestFolder folder;
    int files = 0;
    for (const Healthy& file : healthySamples()) {
        if (!file.layout.fault().empty() || file.layout.format->blockAlign < 2) continue;
        if (file.layout.audioBytes() < 64) continue; // half of a few zeros is nothing to find
        const bool isKnownTail =
            std::all_of(file.layout.chunks.begin(), file.layout.chunks.end(), [](const WaveChunk& chunk) {
                return chunk.id == "LIST" || chunk.id == "bext" || chunk.id == "iXML" || chunk.id == "fmt " ||
                       chunk.id == "data";
            });
        if (!isKnownTail) continue;
        for (const Sizes sizes : {Sizes::zero, Sizes::unknown, Sizes::stale}) {
            const QString path = folder.write(QStringLiteral("open.wav"), withSizes(file, sizes));
            const Diagnosis told = diagnose(path.toStdString());
            ASSERT_EQ(told.kind, Diagnosis::Kind::unclosed) << file.path.toStdString() << told.reason;
            const quint64 align = file.layout.format->blockAlign;
            EXPECT_EQ(told.audioBytes, file.layout.audioBytes() / align * align)
                << file.path.toStdString() << ", sizes " << int(sizes);
            ++files;
        }
    }
    EXPECT_GT(files, 40);
}

TEST(RealCuts, HealthyRecordingsRaiseNoAlarm) {
    if (samplesFolder().isEmpty()) GTEST_SKIP() << "the folder of real recordings is not here";
    QStringList alarms;
    for (const QString& path : sampleFiles()) {
        const Diagnosis told = diagnose(path.toStdString());
        if (told.kind == Diagnosis::Kind::unclosed) alarms << path.section(u'/', -1);
        const bool isNoWave = told.reason.starts_with("no WAV file");
        if (told.kind == Diagnosis::Kind::refused && !isNoWave) {
            alarms << path.section(u'/', -1) + QStringLiteral(": refused");
        }
    }
    alarms.sort();
    const QStringList expected{
        QStringLiteral("bext_rf64.wav"), // the first kilobytes of a long one
        // Made to crash readers: their heads end in the middle.
        QStringLiteral("crash-24728523ef4be15c838293b676f6853e73723bf4.wav: refused"),
        QStringLiteral("crash-cbd757427cea12bd8a21f86cd8cf74d98ce56bee.wav: refused"),
        QStringLiteral("crash-e5471f5b58397287b509db7d026e95f1724454f5.wav: refused"),
        QStringLiteral("ffmpeg-missing-chunksize.wav"),             // written into a pipe
        QStringLiteral("test-44100Hz-le-1ch-4bytes-early-eof.wav"), // cut after a kilobyte
        QStringLiteral("test-44100Hz-le-1ch-4bytes-incomplete-chunk.wav: refused"),
        QStringLiteral("wf-pcm-44khz-8bit-mono-chunk-size-larger-than-bytes-remaining.wav: refused"),
        QStringLiteral("zero-size-chunk.wav"), // a size of 0
    };
    EXPECT_EQ(alarms, expected) << alarms.join(u'\n').toStdString();
}

} // namespace
} // namespace ostrel
