// What a tool sees that is asked for a recording's metadata, by one that writes anew whatever it displays.
#include "foundation/chunks/shown_recording.h"

#include "foundation/chunks/chunk_bytes.h"
#include "metadata/metadata_engine.h"
#include "metadata/universal_metadata_engine.h"
#include "platform/paths.h"
#include "support/test_folder.h"
#include "support/wave_file.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

class ShownRecordingTest : public ::testing::Test {
protected:
    QString file(const char* name, const QByteArray& description, bool isRf64 = false) {
        WaveSpec spec;
        spec.frames = 1000;
        spec.before = {{"bext", bextPayload({.description = description})}, {"iXML", "<BWFXML/>"}};
        spec.after = {{"cue ", "odd"}};
        QByteArray bytes = waveBytes(spec);
        if (isRf64) {
            bytes.insert(12, "ds64" + QByteArray("\x1c\0\0\0", 4) + QByteArray(28, '\0'));
            bytes.replace(0, 8, QByteArray("RF64") + QByteArray(4, '\xff'));
        }
        return folder_.write(QString::fromLatin1(name), bytes);
    }

    TestFolder folder_;
};

TEST_F(ShownRecordingTest, AHealthyRecordingIsShownItself) {
    const QString healthy = file("a.wav", "plain");
    EXPECT_EQ(ShownRecording(healthy).path(), healthy);
    const QString none = folder_.write(QStringLiteral("b.wav"), "no WAV file \xE9");
    EXPECT_EQ(ShownRecording(none).path(), none);
}

TEST_F(ShownRecordingTest, OfOneThatMayBeRewrittenTheHeadIsShownWithEveryChunkButTheAudio) {
    for (const QString& recording : {file("latin.wav", "Caf\xE9"), file("long.wav", "plain", true)}) {
        QString path;
        {
            const ShownRecording shown(recording);
            path = shown.path();
            ASSERT_NE(path, recording);
            EXPECT_EQ(paths::lastComponent(path), paths::lastComponent(recording));
            const WaveChunks head(path);
            const WaveChunks whole(recording);
            EXPECT_EQ(readAll(path).first(4), "RIFF");
            for (const char* id : {"fmt ", "bext", "iXML", "cue "}) EXPECT_EQ(head.bytes(id), whole.bytes(id)) << id;
            EXPECT_LT(head.find("data")->size, 16);
            EXPECT_FALSE(head.find("ds64"));
            const auto layout = readWaveLayout(QFile::encodeName(path).toStdString());
            EXPECT_TRUE(layout && layout->endsAsDeclared());
        }
        EXPECT_FALSE(QFile::exists(path));
    }
}

TEST_F(ShownRecordingTest, AToolThatRewritesWhatItDisplaysReachesNoSource) {
    const QString tool = folder_.writeScript(
        QStringLiteral("tools/bwfmetaedit"),
        QStringLiteral("for argument in \"$@\"; do file=$argument; done\nprintf rewritten >> \"$file\"\n"
                       "printf 'FileName,Description\\n%s,x\\n' \"$file\"\n"));
    for (const QString& recording : {file("latin.wav", "Caf\xE9"), file("long.wav", "plain", true)}) {
        const QString before = fingerprintOf(recording);
        const UniversalMetadataEngine engine(tool);
        engine.extractMetadata(recording, true);
        engine.extractTrackIndicesFromiXML(recording);
        MetadataEngine(tool, QStringLiteral("session")).readFields(recording);
        const QString target = file("target.wav", "plain");
        MetadataEngine(tool, QStringLiteral("session")).copyMetadata(recording, target);
        EXPECT_EQ(fingerprintOf(recording), before);
    }
}

} // namespace
} // namespace ostrel
