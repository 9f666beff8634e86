#include "preview/playback_manager.h"

#include "platform/audio/audio_file.h"
#include "platform/files/process_folder.h"
#include "platform/files/standard_folders.h"
#include "platform/processes/child_process.h"
#include "preview/preview_folders.h"
#include "support/blocked_workers.h"
#include "support/sound.h"
#include "support/test_folder.h"

#include <QDirIterator>
#include <QSettings>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using testing::markedSample;
using testing::TestFolder;
using testing::waitUntil;
using testing::writeSound;

constexpr qint64 kFrames = 4800;

// ffmpeg of the resource folder is a script that counts its runs, and then runs the real one or fails.
struct PlaybackManagerTest : ::testing::Test {
    TestFolder folder;
    TestFolder temporary;
    QByteArray temporaryBefore = qgetenv("TMPDIR");
    AudioOutput output;

    void SetUp() override {
        qputenv("TMPDIR", temporary.path().toUtf8());
        qputenv("OSTREL_RESOURCE_FOLDER", folder.path(QStringLiteral("resources")).toUtf8());
        putFFmpeg(QStringLiteral("exec '%1' \"$@\"").arg(testing::installedTool(QStringLiteral("ffmpeg"))));
        QSettings().remove(QStringLiteral("previewRouting"));
    }
    void TearDown() override {
        qputenv("TMPDIR", temporaryBefore);
        qunsetenv("OSTREL_RESOURCE_FOLDER");
    }

    void putFFmpeg(const QString& body) {
        const QString count = QStringLiteral("echo run >> '%1'\n").arg(folder.path(QStringLiteral("runs")));
        folder.writeScript(QStringLiteral("resources/bin/ffmpeg"), count + body);
    }
    void breakFFmpeg() { putFFmpeg(QStringLiteral("echo no luck >&2\nexit 7")); }
    int runs() {
        const QString path = folder.path(QStringLiteral("runs"));
        return QFile::exists(path) ? static_cast<int>(testing::readAll(path).count('\n')) : 0;
    }

    InterleaveGroup group(const QStringList& tags, const QString& below = QString()) {
        InterleaveGroup result;
        result.baseName = QStringLiteral("My Take");
        for (int channel = 0; channel < tags.size(); ++channel) {
            const auto signal = [channel](int, qint64 frame) { return markedSample(channel, frame); };
            const QString path = folder.path(below + QStringLiteral("My Take.%1.wav").arg(tags[channel]));
            result.channelFiles.insert(tags[channel], writeSound(path, 1, kFrames, signal));
        }
        return result;
    }
    MultiChannelSource file(const ChannelLayout& layout) {
        const int channels = static_cast<int>(layout.channelTags.size());
        const QString path = writeSound(folder.path(QStringLiteral("My Poly.wav")), channels, kFrames);
        MultiChannelSource result = MultiChannelSource::make(path, layout);
        result.channels = channels;
        return result;
    }

    static void wait(PlaybackManager& manager) {
        EXPECT_TRUE(waitUntil(
            [&] { return !manager.isGeneratingStereoPreview.value() && !manager.isGeneratingWaveform.value(); }));
    }

    QStringList previews() const {
        QStringList result;
        QDirIterator walk(temporary.path(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (walk.hasNext()) result << QFileInfo(walk.next()).fileName();
        return result;
    }

    // What a channel of the file that the player holds was made of, to 16 bits; -1 for silence, -2 for anything else.
    static int sourceChannel(PlaybackManager& manager, int channel, int most = 8) {
        AudioFile held(manager.currentFileURL.value());
        AudioBuffer samples;
        held.read(samples, kFrames);
        const auto heard = samples.channel(channel);
        const auto isSource = [&](int source) {
            for (std::size_t frame = 0; frame < heard.size(); ++frame) {
                if (std::abs(heard[frame] - markedSample(source, static_cast<qint64>(frame))) > 1e-4F) return false;
            }
            return true;
        };
        for (int source = 0; source < most; ++source) {
            if (isSource(source)) return source;
        }
        return std::ranges::all_of(heard, [](float sample) { return sample == 0.0F; }) ? -1 : -2;
    }

    static std::vector<int> sourceChannels(PlaybackManager& manager, int count) {
        std::vector<int> result;
        for (int channel = 0; channel < count; ++channel) result.push_back(sourceChannel(manager, channel));
        return result;
    }
};

using enum PreviewMode;

TEST_F(PlaybackManagerTest, APlainFileHasNoModesAndNoChannels) {
    PlaybackManager manager(output);
    manager.loadGroup(group({QStringLiteral("L"), QStringLiteral("R")}), ChannelLayout::stereo, AppMode::interleave,
                      48000, 24);
    const QString path = writeSound(folder.path(QStringLiteral("plain.wav")), 2, kFrames);
    manager.loadFile(path, 44100, 16);
    wait(manager);
    EXPECT_EQ(manager.currentFileURL.value(), path);
    EXPECT_EQ(manager.currentFileName.value(), QStringLiteral("plain.wav"));
    EXPECT_EQ(manager.currentFileInfo.value(), QStringLiteral("44.1 kHz, 16-bit"));
    EXPECT_FALSE(manager.canTogglePreviewMode.value());
    EXPECT_FALSE(manager.canAuditionChannels.value());
    EXPECT_TRUE(manager.engine().isLoaded.value());
    EXPECT_EQ(manager.waveformData.value().size(), 200U);
    EXPECT_TRUE(manager.multiChannelWaveformData.value().empty());
}

TEST_F(PlaybackManagerTest, AnLRPairGoesStraightToTheStereoResult) {
    PlaybackManager manager(output);
    manager.loadGroup(group({QStringLiteral("L"), QStringLiteral("R")}), ChannelLayout::stereo, AppMode::interleave,
                      48000, 24);
    EXPECT_EQ(manager.currentFileName.value(), QStringLiteral("My Take.L.wav (L)"));
    EXPECT_EQ(manager.currentFileInfo.value(), QStringLiteral("48 kHz, 24-bit"));
    EXPECT_EQ(manager.availablePreviewModes.value(), (std::vector{source, postInterleave}));
    EXPECT_TRUE(manager.canTogglePreviewMode.value());
    EXPECT_TRUE(manager.isGeneratingStereoPreview.value());
    ASSERT_TRUE(waitUntil([&] { return manager.previewMode.value() == postInterleave; }));
    wait(manager);
    EXPECT_EQ(sourceChannels(manager, 2), (std::vector{0, 1}));
    EXPECT_EQ(previews(), QStringList{QStringLiteral("My_Take_L_wav_My_Take_R_wav_stereo.wav")});
    EXPECT_EQ(manager.multiChannelWaveformData.value().size(), 2U);
}

TEST_F(PlaybackManagerTest, FlippingBackAndForthRunsFFmpegOnce) {
    PlaybackManager manager(output);
    manager.loadGroup(group({QStringLiteral("L"), QStringLiteral("R")}), ChannelLayout::stereo, AppMode::interleave,
                      48000, 24);
    ASSERT_TRUE(waitUntil([&] { return manager.previewMode.value() == postInterleave; }));
    for (int round = 0; round < 3; ++round) {
        manager.setPreviewMode(source);
        ASSERT_TRUE(waitUntil([&] { return manager.previewMode.value() == source; }));
        EXPECT_EQ(manager.currentFileName.value(), QStringLiteral("My Take.L.wav (L)"));
        manager.setPreviewMode(postInterleave);
        ASSERT_TRUE(waitUntil([&] { return manager.previewMode.value() == postInterleave; }));
    }
    EXPECT_EQ(runs(), 1);
    manager.setPreviewMode(postInterleave);
    EXPECT_EQ(manager.previewMode.value(), postInterleave);
}

TEST_F(PlaybackManagerTest, ANewSelectionKeepsTheCacheAndStopAndClearEmptiesIt) {
    PlaybackManager manager(output);
    const InterleaveGroup pair = group({QStringLiteral("L"), QStringLiteral("R")});
    for (int round = 0; round < 2; ++round) {
        manager.loadGroup(pair, ChannelLayout::stereo, AppMode::interleave, 48000, 24);
        ASSERT_TRUE(waitUntil([&] { return manager.previewMode.value() == postInterleave; }));
        manager.loadFile(pair.channelFiles.first(), 48000, 24);
    }
    EXPECT_EQ(runs(), 1);
    manager.stopAndClear();
    EXPECT_TRUE(previews().isEmpty());
    EXPECT_FALSE(QFile::exists(temporary.path() + QStringLiteral("/Tessarine_Preview")));
    EXPECT_TRUE(manager.currentFileURL.value().isEmpty());
    EXPECT_TRUE(manager.currentFileName.value().isEmpty());
    EXPECT_TRUE(manager.currentFileInfo.value().isEmpty());
    EXPECT_EQ(manager.previewMode.value(), source);
    EXPECT_FALSE(manager.canTogglePreviewMode.value());
    EXPECT_TRUE(manager.availablePreviewModes.value().empty());
    EXPECT_TRUE(manager.availableChannelTags.value().isEmpty());
    EXPECT_TRUE(manager.waveformData.value().empty());
    EXPECT_FALSE(manager.engine().isLoaded.value());
}

TEST_F(PlaybackManagerTest, CleaningUpLeavesWhatOthersPutBesideThePreviews) {
    PlaybackManager manager(output);
    const QString other =
        temporary.write(QStringLiteral("Tessarine_Preview/other/channel.wav"), QByteArrayLiteral("x"));
    manager.loadGroup(group({QStringLiteral("L"), QStringLiteral("R")}), ChannelLayout::stereo, AppMode::interleave,
                      48000, 24);
    ASSERT_TRUE(waitUntil([&] { return manager.previewMode.value() == postInterleave; }));
    manager.cleanupTempFiles();
    EXPECT_EQ(previews(), QStringList{QStringLiteral("channel.wav")});
    EXPECT_TRUE(QFile::exists(other));
}

TEST_F(PlaybackManagerTest, ASweepRemovesPreviewsOfRunsThatEndedAndLeavesThoseThatPlay) {
    PlaybackManager manager(output);
    manager.loadGroup(group({QStringLiteral("L"), QStringLiteral("R")}), ChannelLayout::stereo, AppMode::interleave,
                      48000, 24);
    ASSERT_TRUE(waitUntil([&] { return manager.previewMode.value() == postInterleave; }));
    const QStringList own = processFolderName().split(u'-');
    const QString ended = QStringLiteral("%1-%2-%3").arg(own[0], QString::number(own[1].toLongLong() - 1), own[2]);
    const QString dead = temporary.write(QStringLiteral("Tessarine_Preview/%1/a/b.wav").arg(ended), "x");
    const QString join = temporary.write(QStringLiteral("Tessarine_JoinPreview/%1/a/b.wav").arg(ended), "x");
    sweepDeadPreviews();
    EXPECT_FALSE(QFile::exists(dead));
    EXPECT_FALSE(QFile::exists(temporary.path() + QStringLiteral("/Tessarine_JoinPreview"))) << join.toStdString();
    EXPECT_TRUE(QFile::exists(manager.currentFileURL.value()));
    EXPECT_EQ(previews().size(), 1);
}

TEST_F(PlaybackManagerTest, AFolderThatSomebodyElsePlantedIsLeftAlone) {
    const TestFolder theirs;
    ASSERT_TRUE(QFile::link(theirs.path(), temporary.path() + QStringLiteral("/Tessarine_Preview")));
    PlaybackManager manager(output);
    manager.loadGroup(group({QStringLiteral("L"), QStringLiteral("R")}), ChannelLayout::stereo, AppMode::interleave,
                      48000, 24);
    ASSERT_TRUE(waitUntil([&] { return manager.previewMode.value() == postInterleave; }));
    const QString held = manager.currentFileURL.value();
    EXPECT_TRUE(held.startsWith(cacheFolder() + QStringLiteral("/Tessarine_Preview/"))) << held.toStdString();
    EXPECT_EQ(sourceChannels(manager, 2), (std::vector{0, 1}));
    EXPECT_TRUE(QDir(theirs.path()).isEmpty());
    wait(manager);
    manager.stopAndClear();
    EXPECT_FALSE(QFile::exists(held));
}

TEST_F(PlaybackManagerTest, AFileThatIsStillDecodedCountsAsTheSource) {
    PlaybackManager manager(output);
    InterleaveGroup pair = group({QStringLiteral("L"), QStringLiteral("R")});
    const QString left = folder.path(QStringLiteral("left.m4a"));
    ASSERT_TRUE(ChildProcess::runForResult(testing::installedTool(QStringLiteral("ffmpeg")),
                                           {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-i"),
                                            pair.channelFiles.value(QStringLiteral("L")), QStringLiteral("-c:a"),
                                            QStringLiteral("alac"), left})
                    .succeeded());
    pair.channelFiles.insert(QStringLiteral("L"), left);
    manager.loadGroup(pair, ChannelLayout::stereo, AppMode::interleave, 48000, 24);
    EXPECT_TRUE(manager.engine().isLoading.value());
    ASSERT_TRUE(waitUntil([&] { return manager.previewMode.value() == postInterleave; }));
    EXPECT_FALSE(manager.engine().isLoading.value()) << "the preview took its place";
    manager.setPreviewMode(source);
    EXPECT_EQ(manager.previewMode.value(), source);
    EXPECT_TRUE(manager.engine().isLoading.value());
    EXPECT_EQ(manager.currentFileURL.value(), left);
    EXPECT_TRUE(waitUntil([&] { return manager.engine().isLoaded.value(); }));
    wait(manager);
}

TEST_F(PlaybackManagerTest, TakesOfOneNameInTwoFoldersAreNotHeardForEachOther) {
    PlaybackManager manager(output);
    const QStringList tags{QStringLiteral("L"), QStringLiteral("R")};
    const InterleaveGroup first = group(tags);
    InterleaveGroup second = group(tags, QStringLiteral("day 2/"));
    writeSound(second.channelFiles.value(QStringLiteral("L")), 1, kFrames,
               [](int, qint64 frame) { return markedSample(5, frame); });
    manager.loadGroup(first, ChannelLayout::stereo, AppMode::interleave, 48000, 24);
    ASSERT_TRUE(waitUntil([&] { return manager.previewMode.value() == postInterleave; }));
    EXPECT_EQ(sourceChannels(manager, 2), (std::vector{0, 1}));
    manager.loadGroup(second, ChannelLayout::stereo, AppMode::interleave, 48000, 24);
    ASSERT_TRUE(waitUntil([&] { return manager.previewMode.value() == postInterleave; }));
    EXPECT_EQ(sourceChannels(manager, 2), (std::vector{5, 1}));
}

TEST_F(PlaybackManagerTest, AFailedStereoPreviewStaysInSourceWithTheToggleOn) {
    breakFFmpeg();
    PlaybackManager manager(output);
    manager.loadGroup(group({QStringLiteral("L"), QStringLiteral("R")}), ChannelLayout::stereo, AppMode::interleave,
                      48000, 24);
    manager.engine().play();
    wait(manager);
    EXPECT_EQ(runs(), 1);
    EXPECT_EQ(manager.previewMode.value(), source);
    EXPECT_TRUE(manager.canTogglePreviewMode.value());
    EXPECT_EQ(manager.currentFileName.value(), QStringLiteral("My Take.L.wav (L)"));
    EXPECT_TRUE(manager.engine().isLoaded.value()) << "what plays is left alone";
    EXPECT_TRUE(previews().isEmpty());
}

TEST_F(PlaybackManagerTest, APreviewThatComesTooLateLeavesTheNewSelectionAlone) {
    const QString go = folder.path(QStringLiteral("go"));
    putFFmpeg(QStringLiteral("until [ -e '%1' ]; do sleep 0.02; done\nexec '%2' \"$@\"")
                  .arg(go, testing::installedTool(QStringLiteral("ffmpeg"))));
    PlaybackManager manager(output);
    manager.loadGroup(group({QStringLiteral("L"), QStringLiteral("R")}), ChannelLayout::stereo, AppMode::interleave,
                      48000, 24);
    ASSERT_TRUE(waitUntil([&] { return runs() == 1; }));
    const QString path = writeSound(folder.path(QStringLiteral("plain.wav")), 1, kFrames);
    manager.loadFile(path, 48000, 24);
    EXPECT_TRUE(previews().isEmpty());
    folder.write(QStringLiteral("go"), QByteArray());
    backgroundPool().waitForDone();
    wait(manager);
    EXPECT_EQ(runs(), 1);
    EXPECT_FALSE(previews().isEmpty()) << "the preview was made";
    EXPECT_EQ(manager.currentFileURL.value(), path);
    EXPECT_EQ(manager.previewMode.value(), source);
}

TEST_F(PlaybackManagerTest, AManagerThatIsGoneIsNotResumedInto) {
    testing::BlockedWorkers workers; // so the preview can't be there ahead of the manager's end
    {
        PlaybackManager manager(output);
        manager.loadGroup(group({QStringLiteral("L"), QStringLiteral("R")}), ChannelLayout::stereo, AppMode::interleave,
                          48000, 24);
        EXPECT_TRUE(manager.isGeneratingStereoPreview.value());
    }
    workers.drain();
}

TEST_F(PlaybackManagerTest, ASurroundGroupBeginsWithTheCentreAndGoesToTheResult) {
    PlaybackManager manager(output);
    manager.loadGroup(group(ChannelLayout::film51.channelTags), ChannelLayout::film51, AppMode::interleave, 48000, 24);
    EXPECT_EQ(manager.currentFileName.value(), QStringLiteral("My Take.C.wav (C)"));
    EXPECT_EQ(manager.availablePreviewModes.value(), (std::vector{source, postInterleaveSurround}));
    ASSERT_TRUE(waitUntil([&] { return manager.previewMode.value() == postInterleaveSurround; }));
    // Film order is L C R Ls Rs LFE; the file's is L R C LFE and the surrounds.
    EXPECT_EQ(sourceChannels(manager, 6), (std::vector{0, 2, 1, 5, 3, 4}));
    EXPECT_EQ(previews(), QStringList{QStringLiteral("My_Take_5_1-film_v2_surround.wav")});
    wait(manager);
    EXPECT_EQ(manager.multiChannelWaveformData.value().size(), 6U);
}

TEST_F(PlaybackManagerTest, ASurroundGroupWithAMissingRsHasTheToggleOff) {
    PlaybackManager manager(output);
    QStringList tags = ChannelLayout::smpte51.channelTags;
    tags.removeAll(QStringLiteral("Rs"));
    manager.loadGroup(group(tags), ChannelLayout::smpte51, AppMode::interleave, 48000, 24);
    EXPECT_FALSE(manager.canTogglePreviewMode.value());
    EXPECT_EQ(manager.availablePreviewModes.value(), std::vector{source});
    EXPECT_EQ(manager.availableChannelTags.value(), tags);
    manager.setPreviewMode(postInterleaveSurround);
    wait(manager);
    EXPECT_EQ(runs(), 0);
    EXPECT_EQ(manager.previewMode.value(), source);
}

TEST_F(PlaybackManagerTest, AGroupWithoutLBeginsWithTheFirstInTagOrder) {
    PlaybackManager manager(output);
    manager.loadGroup(group({QStringLiteral("Rs"), QStringLiteral("R")}), ChannelLayout::smpte51, AppMode::interleave,
                      48000, 24);
    EXPECT_EQ(manager.currentFileName.value(), QStringLiteral("My Take.R.wav"));
}

TEST_F(PlaybackManagerTest, SettingSourceInSourceDoesNothing) {
    PlaybackManager manager(output);
    manager.loadStereoFile(file(ChannelLayout::stereo), AppMode::deinterleave, 48000, 24);
    int loads = 0;
    QObject::connect(&manager, &PlaybackManager::engineChanged, [&] { ++loads; });
    manager.setPreviewMode(source);
    EXPECT_EQ(loads, 0);
    EXPECT_EQ(manager.previewMode.value(), source);
}

TEST_F(PlaybackManagerTest, AStereoFileCanBeHeardBySides) {
    PlaybackManager manager(output);
    manager.loadStereoFile(file(ChannelLayout::stereo), AppMode::deinterleave, 48000, 24);
    EXPECT_EQ(manager.availablePreviewModes.value(), (std::vector{source, leftChannel, rightChannel}));
    EXPECT_EQ(manager.currentFileName.value(), QStringLiteral("My Poly.wav"));
    manager.setPreviewMode(rightChannel);
    ASSERT_TRUE(waitUntil([&] { return manager.previewMode.value() == rightChannel; }));
    EXPECT_EQ(sourceChannel(manager, 0), 1);
    EXPECT_EQ(manager.currentFileName.value(), QStringLiteral("My Poly.wav (R)"));
    EXPECT_EQ(previews(), QStringList{QStringLiteral("My_Poly_right.wav")});
    manager.setPreviewMode(source);
    ASSERT_TRUE(waitUntil([&] { return manager.previewMode.value() == source; }));
    EXPECT_EQ(manager.currentFileName.value(), QStringLiteral("My Poly.wav"));
}

TEST_F(PlaybackManagerTest, ModesOfTheOtherSelections) {
    PlaybackManager manager(output);
    manager.loadStereoFile(file(ChannelLayout::smpte51), AppMode::deinterleave, 48000, 24);
    EXPECT_EQ(manager.availablePreviewModes.value(), (std::vector{source, centerChannel}));
    EXPECT_TRUE(manager.canTogglePreviewMode.value());
    wait(manager);
    manager.loadStereoFile(file(ChannelLayout::smpte51), AppMode::interleave, 48000, 24);
    EXPECT_EQ(manager.availablePreviewModes.value(), std::vector{source});
    wait(manager);
    const ChannelLayout quad{QStringLiteral("quad"), QStringLiteral("Quad"), QStringLiteral("L R Ls Rs").split(u' ')};
    manager.loadStereoFile(file(quad), AppMode::deinterleave, 48000, 24);
    EXPECT_FALSE(manager.canTogglePreviewMode.value());
    EXPECT_TRUE(manager.canAuditionChannels.value());
    manager.loadGroup(group({QStringLiteral("L"), QStringLiteral("R")}), ChannelLayout::stereo, AppMode::deinterleave,
                      48000, 24);
    EXPECT_EQ(manager.availablePreviewModes.value(), std::vector{source});
    EXPECT_EQ(runs(), 0);
}

TEST_F(PlaybackManagerTest, AuditionInAGroupLoadsTheTagsFileAndASecondTimeTheDefault) {
    PlaybackManager manager(output);
    manager.loadGroup(group({QStringLiteral("L"), QStringLiteral("C"), QStringLiteral("Rs")}), ChannelLayout::smpte51,
                      AppMode::interleave, 48000, 24);
    manager.auditionChannel(QStringLiteral("Rs"));
    EXPECT_EQ(manager.selectedChannelTag.value(), QStringLiteral("Rs"));
    EXPECT_EQ(manager.currentFileName.value(), QStringLiteral("My Take.Rs.wav (Rs)"));
    EXPECT_EQ(manager.previewMode.value(), source);
    manager.auditionChannel(QStringLiteral("Rs"));
    EXPECT_TRUE(manager.selectedChannelTag.value().isEmpty());
    EXPECT_EQ(manager.currentFileName.value(), QStringLiteral("My Take.C.wav (C)"));
    manager.auditionChannel(QStringLiteral("L"));
    manager.auditionChannel(QStringLiteral("Lss"));
    EXPECT_TRUE(manager.selectedChannelTag.value().isEmpty()) << "not in the layout";
    EXPECT_EQ(manager.currentFileName.value(), QStringLiteral("My Take.C.wav (C)"));
    EXPECT_EQ(runs(), 0);
}

TEST_F(PlaybackManagerTest, ASpeakerRoutedChannelSoundsInItsPlaceAlone) {
    PlaybackManager manager(output);
    manager.loadGroup(group({QStringLiteral("L"), QStringLiteral("C"), QStringLiteral("Rs")}), ChannelLayout::smpte51,
                      AppMode::interleave, 48000, 24);
    manager.auditionChannel(QStringLiteral("Rs"));
    manager.previewRouting = PreviewRouting::speakerRouted;
    manager.reAuditionCurrentChannel();
    const QString routed = QStringLiteral("My Take.Rs.wav (Rs) [QC]");
    ASSERT_TRUE(waitUntil([&] { return manager.currentFileName.value() == routed; }));
    EXPECT_EQ(sourceChannels(manager, 6), (std::vector{-1, -1, -1, -1, -1, 2}));
    EXPECT_EQ(manager.selectedChannelTag.value(), QStringLiteral("Rs"));
    EXPECT_EQ(previews(), QStringList{QStringLiteral("My_Take_Rs_5_1-smpte_speakerRouted_v2_qc.wav")});
    EXPECT_EQ(PlaybackManager(output).previewRouting.value(), PreviewRouting::speakerRouted) << "kept";
}

TEST_F(PlaybackManagerTest, AFailedRoutingFallsBackToMono) {
    breakFFmpeg();
    PlaybackManager manager(output);
    manager.previewRouting = PreviewRouting::speakerRouted;
    manager.loadGroup(group({QStringLiteral("L"), QStringLiteral("C")}), ChannelLayout::smpte51, AppMode::interleave,
                      48000, 24);
    manager.auditionChannel(QStringLiteral("L"));
    ASSERT_TRUE(waitUntil([&] { return manager.selectedChannelTag.value() == QStringLiteral("L"); }));
    EXPECT_EQ(manager.currentFileName.value(), QStringLiteral("My Take.L.wav (L)"));
    EXPECT_EQ(runs(), 1);
}

TEST_F(PlaybackManagerTest, AuditionInAFileExtractsTheChannel) {
    PlaybackManager manager(output);
    manager.loadStereoFile(file(ChannelLayout::smpte51), AppMode::deinterleave, 48000, 24);
    manager.auditionChannel(QStringLiteral("LFE"));
    ASSERT_TRUE(waitUntil([&] { return manager.selectedChannelTag.value() == QStringLiteral("LFE"); }));
    EXPECT_EQ(sourceChannel(manager, 0), 3);
    EXPECT_EQ(manager.currentFileName.value(), QStringLiteral("My Poly.wav (LFE)"));
    manager.previewRouting = PreviewRouting::speakerRouted;
    manager.reAuditionCurrentChannel();
    const QString routed = QStringLiteral("My Poly.wav (LFE) [QC]");
    ASSERT_TRUE(waitUntil([&] { return manager.currentFileName.value() == routed; }));
    EXPECT_EQ(sourceChannels(manager, 6), (std::vector{-1, -1, -1, 3, -1, -1}));
    manager.auditionChannel(QString());
    EXPECT_EQ(manager.currentFileName.value(), QStringLiteral("My Poly.wav"));
    EXPECT_TRUE(manager.selectedChannelTag.value().isEmpty());
}

TEST_F(PlaybackManagerTest, ATagThatFFmpegRefusesLeavesWhatWasLoaded) {
    PlaybackManager manager(output);
    const ChannelLayout odd{QStringLiteral("odd"), QStringLiteral("Odd"), {QStringLiteral("L"), QStringLiteral("Lfe")}};
    manager.loadStereoFile(file(odd), AppMode::deinterleave, 48000, 24);
    manager.auditionChannel(QStringLiteral("Lfe"));
    wait(manager);
    EXPECT_EQ(runs(), 1);
    EXPECT_TRUE(manager.selectedChannelTag.value().isEmpty());
    EXPECT_EQ(manager.currentFileName.value(), QStringLiteral("My Poly.wav"));
    EXPECT_TRUE(manager.engine().isLoaded.value());
}

TEST_F(PlaybackManagerTest, NothingToAuditionNothingToReAudition) {
    PlaybackManager manager(output);
    manager.loadFile(writeSound(folder.path(QStringLiteral("plain.wav")), 1, kFrames), 48000, 24);
    manager.auditionChannel(QStringLiteral("L"));
    manager.reAuditionCurrentChannel();
    EXPECT_TRUE(manager.selectedChannelTag.value().isEmpty());
    EXPECT_EQ(runs(), 0);
}

TEST_F(PlaybackManagerTest, ReloadingTakesTheSurroundPreviewInPlace) {
    PlaybackManager manager(output);
    manager.loadGroup(group(ChannelLayout::smpte51.channelTags), ChannelLayout::smpte51, AppMode::interleave, 48000,
                      24);
    ASSERT_TRUE(waitUntil([&] { return manager.previewMode.value() == postInterleaveSurround; }));
    const QString preview = manager.currentFileURL.value();
    manager.reloadSourceFile();
    EXPECT_EQ(manager.currentFileURL.value(), preview);
    manager.setPreviewMode(source);
    manager.reloadSourceFile();
    EXPECT_EQ(manager.currentFileName.value(), QStringLiteral("My Take.C.wav (C)"));
    EXPECT_EQ(runs(), 1);
}

TEST_F(PlaybackManagerTest, AMissingFileIsAnErrorOfTheEngineAndTheWaveform) {
    PlaybackManager manager(output);
    manager.loadFile(folder.path(QStringLiteral("none.wav")), std::nullopt, std::nullopt);
    wait(manager);
    EXPECT_TRUE(manager.waveformError.value());
    EXPECT_FALSE(manager.engine().loadError.value().isEmpty());
    EXPECT_TRUE(manager.currentFileInfo.value().isEmpty());
}

TEST_F(PlaybackManagerTest, TogglesPlayAndPause) {
    PlaybackManager manager(output);
    manager.togglePlayPause();
    EXPECT_FALSE(manager.engine().isPlaying.value());
    manager.loadFile(writeSound(folder.path(QStringLiteral("plain.wav")), 1, 480'000), 48000, 24);
    manager.togglePlayPause();
    EXPECT_TRUE(manager.engine().isPlaying.value());
    manager.togglePlayPause();
    EXPECT_FALSE(manager.engine().isPlaying.value());
}

} // namespace
} // namespace ostrel
