#include "platform/audio/audio_file.h"

#include "platform/audio/audio_file_writer.h"
#include "support/sound.h"
#include "support/test_folder.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace ostrel {
namespace {

using testing::markedSample;
using testing::TestFolder;
using testing::writeSound;

QString audioErrorOf(const std::function<void()>& work) {
    try {
        work();
    } catch (const AudioFileError& error) {
        return error.errorDescription();
    }
    return QString();
}

void expectMarked(const AudioBuffer& buffer, qint64 firstFrame) {
    for (int channel = 0; channel < buffer.channels(); ++channel) {
        for (int frame = 0; frame < buffer.frames(); ++frame) {
            ASSERT_EQ(buffer.channel(channel)[frame], markedSample(channel, firstFrame + frame))
                << "channel " << channel << ", frame " << firstFrame + frame;
        }
    }
}

class AudioFileFormats : public ::testing::TestWithParam<const char*> {};

TEST_P(AudioFileFormats, GivesEverySampleOfEveryChannel) {
    const TestFolder folder;
    const QString path = writeSound(folder.path(QStringLiteral("take.") + QString::fromLatin1(GetParam())), 5, 10'001);
    AudioFile file(path);
    EXPECT_EQ(file.lengthInFrames(), 10'001);
    EXPECT_EQ(file.sampleRate(), 48000);
    EXPECT_EQ(file.channelCount(), 5);
    AudioBuffer buffer;
    EXPECT_EQ(file.read(buffer, 20'000), 10'001);
    ASSERT_EQ(buffer.frames(), 10'001);
    expectMarked(buffer, 0);
    EXPECT_EQ(file.read(buffer, 1), 0);
}

INSTANTIATE_TEST_SUITE_P(Containers, AudioFileFormats, ::testing::Values("wav", "aiff", "caf", "flac", "rf64", "w64"));

TEST(AudioFile, SeeksToTheExactFrame) {
    const TestFolder folder;
    AudioFile file(writeSound(folder.path(QStringLiteral("take.flac")), 2, 200'000));
    AudioBuffer buffer;
    for (const qint64 frame : {qint64{199'999}, qint64{0}, qint64{12'345}, qint64{4096}, qint64{150'001}}) {
        file.seek(frame);
        EXPECT_EQ(file.position(), frame);
        const int expected = static_cast<int>(std::min<qint64>(5000, 200'000 - frame));
        EXPECT_EQ(file.read(buffer, 5000), expected);
        EXPECT_EQ(file.position(), frame + expected);
        expectMarked(buffer, frame);
    }
    file.seek(200'000);
    EXPECT_EQ(file.read(buffer, 10), 0);
    EXPECT_FALSE(audioErrorOf([&] { file.seek(200'001); }).isEmpty());
    EXPECT_FALSE(audioErrorOf([&] { file.seek(-1); }).isEmpty());
}

TEST(AudioFile, SaysWhyAFileCannotBeOpened) {
    const TestFolder folder;
    EXPECT_EQ(audioErrorOf([&] { AudioFile(folder.path(QStringLiteral("none.wav"))); }),
              QStringLiteral("No such file or directory"));
    EXPECT_EQ(audioErrorOf([&] { AudioFile(folder.path()); }), QStringLiteral("Not a regular file"));
    const QString text = folder.write(QStringLiteral("text.wav"), QByteArrayLiteral("not a sound at all"));
    EXPECT_FALSE(audioErrorOf([&] { AudioFile{text}; }).isEmpty());
}

TEST(AudioFile, OpensNamesOfEveryKind) {
    const TestFolder folder;
    for (const QString& name :
         {QStringLiteral("-take.wav"), QStringLiteral("Tür & \"Ton\" 音.wav"), QStringLiteral("a\nb.wav")}) {
        EXPECT_EQ(AudioFile(writeSound(folder.path(name), 1, 10)).lengthInFrames(), 10) << name.toStdString();
    }
}

TEST(AudioFileWriter, WritesFloatsThatComeBackAsTheyWere) {
    const TestFolder folder;
    for (const QString& name :
         {QStringLiteral("a.wav"), QStringLiteral("a.aif"), QStringLiteral("a.caf"), QStringLiteral("a.w64")}) {
        const QString path = folder.path(name);
        AudioBuffer block(3, 5000);
        for (int channel = 0; channel < 3; ++channel) {
            for (int frame = 0; frame < 5000; ++frame)
                block.channel(channel)[frame] = 3.7F * markedSample(channel, frame);
        }
        AudioFileWriter writer(path, 96000, 3);
        writer.write(block);
        writer.write(block);
        writer.close();
        AudioFile file(path);
        ASSERT_EQ(file.lengthInFrames(), 10'000);
        EXPECT_EQ(file.sampleRate(), 96000);
        AudioBuffer back;
        file.seek(5000);
        ASSERT_EQ(file.read(back, 5000), 5000);
        for (int channel = 0; channel < 3; ++channel) {
            EXPECT_TRUE(std::ranges::equal(back.channel(channel), block.channel(channel)));
        }
    }
}

TEST(AudioFileWriter, TwoRunsGiveTheSameBytes) {
    const TestFolder folder;
    const auto write = [&](const QString& name) {
        AudioFileWriter writer(folder.path(name), 48000, 1);
        AudioBuffer block(1, 100);
        std::ranges::fill(block.channel(0), 0.25F);
        writer.write(block);
        writer.close();
        return testing::readAll(folder.path(name));
    };
    const QByteArray bytes = write(QStringLiteral("a.wav"));
    EXPECT_EQ(bytes, write(QStringLiteral("b.wav")));
    EXPECT_FALSE(bytes.contains("PEAK"));
}

TEST(AudioFileWriter, RefusesWhatCannotBeMade) {
    const TestFolder folder;
    EXPECT_FALSE(audioErrorOf([&] { AudioFileWriter(folder.path(QStringLiteral("a.mp3")), 48000, 1); }).isEmpty());
    EXPECT_FALSE(audioErrorOf([&] { AudioFileWriter(folder.path(QStringLiteral("b.wav")), 48000, 0); }).isEmpty());
    EXPECT_EQ(audioErrorOf([&] { AudioFileWriter(folder.path() + QStringLiteral("/none/c.wav"), 48000, 1); }),
              QStringLiteral("No such file or directory"));
    AudioFileWriter writer(folder.path(QStringLiteral("d.wav")), 48000, 1);
    EXPECT_FALSE(audioErrorOf([&] { writer.write(AudioBuffer(2, 10)); }).isEmpty());
}

TEST(AudioFileWriter, AFullDiskIsAnError) {
    const TestFolder folder;
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    AudioFileWriter writer(folder.path(QStringLiteral("a.wav")), 48000, 1);
    const rlimit small{100'000, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    const QString error = audioErrorOf([&] {
        writer.write(AudioBuffer(1, 100'000));
        writer.close();
    });
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, oldHandler);
    EXPECT_EQ(error, QStringLiteral("File too large"));
}

} // namespace
} // namespace ostrel
