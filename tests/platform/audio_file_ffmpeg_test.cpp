// Files that only ffmpeg opens.
#include "platform/audio/audio_file.h"

#include "platform/files/standard_folders.h"
#include "platform/processes/child_process.h"
#include "support/sound.h"
#include "support/test_folder.h"

#include <cmath>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using testing::TestFolder;
using testing::writeSound;

QString encoded(const TestFolder& folder, const QString& name, const QStringList& codec) {
    const QString source =
        writeSound(folder.path(QStringLiteral("source.wav")), 2, 96'000, [](int channel, qint64 frame) {
            return 0.4F * static_cast<float>(std::sin(static_cast<double>(frame) * (channel ? 0.05 : 0.02)));
        });
    const QString path = folder.path(name);
    const QStringList words =
        QStringList{QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-i"), source} + codec;
    EXPECT_TRUE(ChildProcess::runSilently(testing::installedTool(QStringLiteral("ffmpeg")), words + QStringList(path))
                    .succeeded());
    return path;
}

QString openingErrorOf(const QString& path, const QString& tool) {
    try {
        AudioFile(path, tool);
    } catch (const AudioFileError& error) {
        return error.errorDescription();
    }
    return QString();
}

QStringList leftBehind() {
    return QDir(cacheFolder() + QStringLiteral("/decoded")).entryList(QDir::Files | QDir::Hidden);
}

TEST(AudioFileThroughFfmpeg, ReadsAnM4AWithItsExactLength) {
    const TestFolder folder;
    AudioFile file(encoded(folder, QStringLiteral("-Tür.m4a"), {QStringLiteral("-c:a"), QStringLiteral("alac")}),
                   testing::installedTool(QStringLiteral("ffmpeg")));
    EXPECT_EQ(file.lengthInFrames(), 96'000);
    EXPECT_EQ(file.sampleRate(), 48000);
    EXPECT_EQ(file.channelCount(), 2);
    EXPECT_TRUE(leftBehind().isEmpty());
    AudioBuffer buffer;
    file.seek(50'000);
    EXPECT_EQ(file.read(buffer, 96'000), 46'000);
    EXPECT_NEAR(buffer.channel(0)[10], 0.4 * std::sin(50'010 * 0.02), 1e-6);
    EXPECT_NEAR(buffer.channel(1)[10], 0.4 * std::sin(50'010 * 0.05), 1e-6);
}

TEST(AudioFileThroughFfmpeg, ReadsAnMp3WithoutTheEncodersPadding) {
    const TestFolder folder;
    const QString path = encoded(folder, QStringLiteral("a.mp3"), {QStringLiteral("-b:a"), QStringLiteral("320k")});
    AudioFile file(path, testing::installedTool(QStringLiteral("ffmpeg")));
    EXPECT_EQ(file.lengthInFrames(), 96'000);
    AudioBuffer buffer;
    EXPECT_EQ(file.read(buffer, 96'000), 96'000);
    EXPECT_NEAR(buffer.channel(0)[48'000], 0.4 * std::sin(48'000 * 0.02), 0.02);
    EXPECT_EQ(openingErrorOf(path, QString()), QStringLiteral("MP3 files can't be read without ffmpeg"));
}

TEST(AudioFileThroughFfmpeg, IsNotOpenedAtOnce) {
    const TestFolder folder;
    EXPECT_FALSE(AudioFile::openAtOnce(
        encoded(folder, QStringLiteral("a.m4a"), {QStringLiteral("-c:a"), QStringLiteral("alac")})));
    EXPECT_FALSE(AudioFile::openAtOnce(encoded(folder, QStringLiteral("a.mp3"), {})));
    const auto flac = AudioFile::openAtOnce(encoded(folder, QStringLiteral("a.flac"), {}));
    ASSERT_TRUE(flac);
    EXPECT_EQ(flac->lengthInFrames(), 96'000);
    EXPECT_THROW(AudioFile::openAtOnce(folder.path(QStringLiteral("none.m4a"))), AudioFileError);
}

TEST(AudioFileThroughFfmpeg, SaysWhyFfmpegGaveUp) {
    const TestFolder folder;
    const QString text = folder.write(QStringLiteral("text.m4a"), QByteArrayLiteral("not a sound at all"));
    EXPECT_EQ(openingErrorOf(text, testing::installedTool(QStringLiteral("ffmpeg"))),
              QStringLiteral("Invalid data found when processing input"));
    EXPECT_EQ(openingErrorOf(text, folder.path(QStringLiteral("none"))),
              QStringLiteral("ffmpeg could not be started: No such file or directory"));
    const QString mute = folder.writeScript(QStringLiteral("mute"), QStringLiteral("exit 3"));
    EXPECT_EQ(openingErrorOf(text, mute), QStringLiteral("ffmpeg can't decode it (status 3)"));
    EXPECT_TRUE(leftBehind().isEmpty());
}

TEST(AudioFileThroughFfmpeg, IsNotAskedForWhatLibsndfileReads) {
    const TestFolder folder;
    const QString tool = folder.writeScript(QStringLiteral("tool"),
                                            QStringLiteral("touch '%1'").arg(folder.path(QStringLiteral("ran"))));
    AudioFile file(writeSound(folder.path(QStringLiteral("a.flac")), 1, 100), tool);
    EXPECT_FALSE(QFile::exists(folder.path(QStringLiteral("ran"))));
}

} // namespace
} // namespace ostrel
