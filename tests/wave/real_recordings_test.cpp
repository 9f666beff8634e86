// Recordings of many makers, and files that were made to be wrong: only those whose header lies are told of.
#include "foundation/proof/unexplained_bytes.h"
#include "support/test_folder.h"
#include "wave/wave_layout.h"

#include <QDirIterator>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

// "{name}: {sentence}" of every file with one.
QStringList toldOf(const QString& folder) {
    QStringList told;
    QDirIterator walk(folder, QDir::Files, QDirIterator::Subdirectories);
    while (walk.hasNext()) told << unexplainedBytesWarnings({walk.next()});
    told.sort();
    return told;
}

TEST(RealRecordings, OnlyHeadersThatLieAreToldOf) {
    const QString samples = samplesFolder();
    if (samples.isEmpty()) GTEST_SKIP() << "the folder of real recordings is not here";
    const QStringList told = toldOf(samples);
    const QStringList expected{
        // The first kilobytes of a long one.
        QStringLiteral("bext_rf64.wav: the header declares about 7796.1 s of audio more than the file holds"),
        // Written into a pipe: both sizes 0xFFFFFFFF.
        QStringLiteral("ffmpeg-missing-chunksize.wav: about 0.6 s of audio may lie behind the declared end"),
        // Cut after a kilobyte.
        QStringLiteral("test-44100Hz-le-1ch-4bytes-early-eof.wav: the header declares about 0.1 s of audio more than "
                       "the file holds"),
        // A size of 0, and silence.
        QStringLiteral("zero-size-chunk.wav: about 0.0 s of audio may lie behind the declared end"),
    };
    EXPECT_EQ(told, expected) << told.join(u'\n').toStdString();
}

TEST(RealRecordings, EveryWaveFileHasALayout) {
    const QString samples = samplesFolder();
    if (samples.isEmpty()) GTEST_SKIP() << "the folder of real recordings is not here";
    int waves = 0;
    QDirIterator walk(samples, QDir::Files, QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        const QString path = walk.next();
        const QByteArray start = readAll(path).first(std::min<qsizetype>(12, walk.fileInfo().size()));
        const bool isWave = start.mid(8) == "WAVE" &&
                            (start.startsWith("RIFF") || start.startsWith("RF64") || start.startsWith("BW64"));
        EXPECT_EQ(readWaveLayout(path.toStdString()).has_value(), isWave) << path.toStdString();
        if (isWave) ++waves;
    }
    EXPECT_GT(waves, 100);
}

} // namespace
} // namespace ostrel
