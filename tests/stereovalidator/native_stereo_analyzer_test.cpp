#include "foundation/tools/external_tool_detector.h"
#include "platform/audio/audio_file.h"
#include "platform/paths.h"
#include "platform/processes/child_process.h"
#include "stereovalidator/measures/stereo_sums.h"
#include "stereovalidator/native_stereo_analyzer.h"
#include "stereovalidator/stereo_reference.h"
#include "support/sound.h"
#include "support/test_folder.h"
#include "support/wave_file.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <nlohmann/json.hpp>
#include <sndfile.h>

namespace ostrel {
namespace {

using Class = StereoClassification;
using testing::kRate;
using testing::SampleFormat;
using testing::scaled;
using testing::StereoFrame;
using testing::StereoSignal;
using testing::TestFolder;

QString writeStereo(const QString& path, const StereoSignal& signal, double seconds = 3,
                    SampleFormat format = SampleFormat::float32, int rate = kRate) {
    const auto sample = [&](int channel, qint64 frame) {
        return channel == 0 ? signal(frame).left : signal(frame).right;
    };
    return testing::writeSound(path, 2, qint64(seconds * rate), sample, rate, format);
}

StereoValidatorResult analyze(const QString& file, const QString& ffmpegPath = QString()) {
    const AnalysisResult batch = NativeStereoAnalyzer(ffmpegPath).analyzeFiles({file}, StereoValidatorOptions());
    EXPECT_EQ(batch.results.size(), 1u);
    for (const double number :
         {batch.results[0].correlation, batch.results[0].confidence, batch.results[0].midSideRatio,
          batch.results[0].rmsDiff, batch.results[0].durationSeconds}) {
        EXPECT_TRUE(std::isfinite(number));
    }
    return batch.results.at(0);
}

class AnalyzerTest : public ::testing::Test {
protected:
    StereoValidatorResult analyzed(const StereoSignal& signal, double seconds = 3) {
        return analyze(writeStereo(folder_.path(QStringLiteral("a.wav")), signal, seconds));
    }

    TestFolder folder_;
};

TEST_F(AnalyzerTest, FindsIdenticalChannelsToBeDualMono) {
    const StereoValidatorResult result = analyzed(scaled(1, 1));
    EXPECT_EQ(result.classification, Class::dualMono);
    EXPECT_EQ(result.correlation, 1.0);
    EXPECT_EQ(result.midSideRatio, 0.0);
    EXPECT_EQ(result.rmsDiff, 0.0);
    EXPECT_EQ(result.lagMs, 0.0);
    EXPECT_EQ(result.confidence, 100.0);
    EXPECT_EQ(result.durationSeconds, 3.0);
    EXPECT_EQ(result.sampleRate, kRate);
    EXPECT_TRUE(result.error.isEmpty());
}

TEST_F(AnalyzerTest, FindsAGainMismatchOf6Decibels) {
    const StereoValidatorResult result = analyzed(scaled(1, std::pow(10, -6.0 / 20)));
    EXPECT_EQ(result.classification, Class::dualMonoGainMismatch);
    EXPECT_NEAR(result.midSideRatio, 0.110409, 1e-6); // ((1 - g) / (1 + g)) squared, g = 0.501187
    EXPECT_NEAR(result.confidence, 85.0, 1e-9);
}

TEST_F(AnalyzerTest, FindsOneDecibelOfDifferenceToBePlainDualMono) {
    const StereoValidatorResult result = analyzed(scaled(1, std::pow(10, -1.0 / 20)));
    EXPECT_EQ(result.classification, Class::dualMono);
    EXPECT_NEAR(result.midSideRatio, 0.0033064, 1e-6);
    EXPECT_NEAR(result.confidence, 100 * (0.7 + 0.3 * (1 - 0.33064)), 1e-3);
}

TEST_F(AnalyzerTest, FindsInvertedChannelsToBeBroken) {
    const StereoValidatorResult result = analyzed(scaled(1, -1));
    EXPECT_EQ(result.classification, Class::broken);
    EXPECT_EQ(result.correlation, -1.0);
    EXPECT_EQ(result.confidence, 100.0);
    EXPECT_EQ(result.formattedMidSideRatio(), QStringLiteral("Mid≈0 (Anti-Phase)"));
    EXPECT_EQ(result.smartDisplayName(), QStringLiteral("Broken: Polarity-Inverted Dual Mono (Will Null in Mono)"));
}

TEST_F(AnalyzerTest, FindsDigitalSilence) {
    const StereoValidatorResult result = analyzed(scaled(0, 0));
    EXPECT_EQ(result.classification, Class::silent);
    EXPECT_EQ(result.confidence, 100.0);
}

TEST_F(AnalyzerTest, FindsOneSidedFiles) {
    EXPECT_EQ(analyzed(scaled(1, 0)).classification, Class::oneSidedL);
    EXPECT_EQ(analyzed(scaled(1, 0)).confidence, 85.0);
    EXPECT_EQ(analyzed(scaled(0, 1)).classification, Class::oneSidedR);
}

TEST_F(AnalyzerTest, TakesAQuietChannelAgainstSilenceThroughTheCorrelationTests) {
    const double minus95 = std::pow(10, -95.0 / 20) * std::sqrt(3.0) / 0.5; // noise has an RMS of 1/sqrt(3)
    EXPECT_EQ(analyzed(scaled(minus95, 0)).classification, Class::trueStereo);
}

TEST_F(AnalyzerTest, FindsNearMonoAndTrueStereoWithTheirConfidence) {
    const StereoValidatorResult near = analyzed(testing::correlatedTones(0.97, kRate));
    EXPECT_EQ(near.classification, Class::nearMono);
    EXPECT_NEAR(near.correlation, 0.97, 1e-6);
    EXPECT_NEAR(near.confidence, 60.0, 1e-3);
    const StereoValidatorResult stereo = analyzed(testing::correlatedTones(0.5, kRate));
    EXPECT_EQ(stereo.classification, Class::trueStereo);
    EXPECT_NEAR(stereo.midSideRatio, 1.0 / 3, 1e-6);
    EXPECT_NEAR(stereo.confidence, 100.0, 1e-3);
}

TEST_F(AnalyzerTest, MeasuresNothingInLessThanASecond) {
    const StereoValidatorResult result = analyzed(scaled(1, 1), 0.9);
    EXPECT_EQ(result.classification, Class::trueStereo);
    EXPECT_EQ(result.correlation, 0.0);
    EXPECT_EQ(result.rmsDiff, 0.0);
    EXPECT_EQ(result.midSideRatio, 0.0);
    EXPECT_EQ(result.confidence, 0.0);
    EXPECT_EQ(analyzed(scaled(0, 0), 0.9).classification, Class::silent);
    EXPECT_EQ(analyzed(scaled(1, 0), 0.9).classification, Class::oneSidedL);
}

TEST_F(AnalyzerTest, MeasuresASingleFrame) {
    EXPECT_EQ(analyzed(scaled(1, 1), 1.0 / kRate).classification, Class::trueStereo);
}

TEST_F(AnalyzerTest, CallsAMonoFileTrueMonoWithoutReadingIt) {
    const StereoValidatorResult result = analyze(testing::writeSound(folder_.path(QStringLiteral("m.wav")), 1, 96000));
    EXPECT_EQ(result.classification, Class::trueMono);
    EXPECT_EQ(result.confidence, 100.0);
    EXPECT_EQ(result.correlation, 0.0);
    EXPECT_EQ(result.durationSeconds, 2.0);
    EXPECT_EQ(result.bitDepth, 32);
}

TEST_F(AnalyzerTest, RefusesOtherChannelCountsAndKeepsTheirFacts) {
    for (const int channels : {6, 8}) {
        const QString file = testing::writeSound(folder_.path(QStringLiteral("poly.wav")), channels, 96000);
        const AnalysisResult batch = NativeStereoAnalyzer().analyzeFiles({file}, {});
        const StereoValidatorResult& result = batch.results.at(0);
        EXPECT_EQ(result.classification, Class::unsupported);
        EXPECT_EQ(result.error, QStringLiteral("Unsupported format (channels: %1)").arg(channels));
        EXPECT_EQ(result.durationSeconds, 2.0);
        EXPECT_EQ(result.sampleRate, 48000);
        EXPECT_EQ(result.bitDepth, 32);
        EXPECT_EQ(batch.errorCount, 1);
        EXPECT_EQ(batch.skippedCount, 0);
    }
}

TEST_F(AnalyzerTest, Reads32BitSamplesWhateverTheFileHolds) {
    for (const SampleFormat format : {SampleFormat::pcm16, SampleFormat::pcm24, SampleFormat::float32}) {
        const QString file = writeStereo(folder_.path(QStringLiteral("a.wav")), scaled(1, 1), 2, format);
        EXPECT_EQ(analyze(file).bitDepth, 32);
        EXPECT_EQ(analyze(file).classification, Class::dualMono);
    }
}

TEST_F(AnalyzerTest, MeasuresEveryContainer) {
    for (const char* name : {"a.aif", "a.caf", "a.flac", "a.w64", "a.wav"}) {
        const QString file =
            writeStereo(folder_.path(QString::fromLatin1(name)), scaled(1, -1), 2, SampleFormat::pcm24);
        EXPECT_EQ(analyze(file).classification, Class::broken) << name;
    }
}

TEST_F(AnalyzerTest, Measures192KilohertzDoubles) {
    const QString file = folder_.path(QStringLiteral("a.wav"));
    SF_INFO info{};
    info.samplerate = 192000;
    info.channels = 2;
    info.format = SF_FORMAT_WAV | SF_FORMAT_DOUBLE;
    SNDFILE* writer = sf_open(QFile::encodeName(file).constData(), SFM_WRITE, &info);
    ASSERT_NE(writer, nullptr);
    const StereoSignal signal = testing::correlatedTones(0.97, 192000);
    std::vector<double> samples;
    for (qint64 i = 0; i < 2 * 192000; ++i) {
        samples.push_back(signal(i).left);
        samples.push_back(signal(i).right);
    }
    sf_writef_double(writer, samples.data(), 2 * 192000);
    sf_close(writer);
    const StereoValidatorResult result = analyze(file);
    EXPECT_EQ(result.classification, Class::nearMono);
    EXPECT_EQ(result.sampleRate, 192000);
    EXPECT_NEAR(result.correlation, 0.97, 1e-6);
}

TEST_F(AnalyzerTest, SaysWhatIsWrongWithDamagedFiles) {
    EXPECT_FALSE(analyze(folder_.write(QStringLiteral("text.wav"), "These are notes, not audio.\n")).error.isEmpty());
    EXPECT_FALSE(analyze(folder_.write(QStringLiteral("empty.wav"), "")).error.isEmpty());
    EXPECT_FALSE(analyze(folder_.path(QStringLiteral("missing.wav"))).error.isEmpty());
    EXPECT_FALSE(analyze(folder_.path()).error.isEmpty());

    const StereoValidatorResult nothing = analyze(writeStereo(folder_.path(QStringLiteral("0.wav")), scaled(1, 1), 0));
    EXPECT_EQ(nothing.classification, Class::unsupported);
    EXPECT_EQ(nothing.error, QStringLiteral("Unsupported audio format: the file holds no audio"));

    QByteArray zeroHertz = testing::waveBytes({.channels = 2, .frames = 100});
    zeroHertz.replace(24, 4, QByteArray(4, '\0'));
    EXPECT_FALSE(analyze(folder_.write(QStringLiteral("0hz.wav"), zeroHertz)).error.isEmpty());
}

TEST_F(AnalyzerTest, MeasuresWhatIsLeftOfATruncatedFile) {
    const QString file = writeStereo(folder_.path(QStringLiteral("a.wav")), scaled(1, -1), 4, SampleFormat::pcm24);
    QFile(file).resize(QFileInfo(file).size() / 2);
    const StereoValidatorResult result = analyze(file);
    EXPECT_TRUE(result.error.isEmpty());
    EXPECT_EQ(result.classification, Class::broken);
    EXPECT_NEAR(result.durationSeconds, 2.0, 0.01);
}

TEST_F(AnalyzerTest, SaysWhereSamplesAreNotNumbers) {
    for (const float bad : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
        const auto damaged = [=](qint64 frame) {
            return frame == 65 * kRate ? StereoFrame{bad, 0} : StereoFrame{0.1f, 0.2f};
        };
        const StereoValidatorResult result = analyzed(damaged, 70);
        EXPECT_EQ(result.classification, Class::unsupported);
        EXPECT_EQ(result.error,
                  QStringLiteral("Unsupported audio format: samples that are infinite or not numbers, near 1:03"));
        EXPECT_EQ(result.sampleRate, 0) << "a failed file's record holds no numbers";
    }
}

TEST_F(AnalyzerTest, ReportsProgressAndLogsTheBatch) {
    const QStringList files{writeStereo(folder_.path(QStringLiteral("one.wav")), scaled(1, 1)),
                            folder_.write(QStringLiteral("two.wav"), "text"),
                            testing::writeSound(folder_.path(QStringLiteral("three.wav")), 1, 100),
                            testing::writeSound(folder_.path(QStringLiteral("four.wav")), 6, 100)};
    QStringList progress;
    const AnalysisResult batch =
        NativeStereoAnalyzer().analyzeFiles(files, StereoValidatorOptions(), [&](const AnalysisProgress& step) {
            progress << QStringLiteral("%1/%2 %3 %4")
                            .arg(step.currentIndex)
                            .arg(step.totalFiles)
                            .arg(step.currentFile)
                            .arg(step.percentComplete);
        });
    EXPECT_EQ(progress, (QStringList{QStringLiteral("1/4 one.wav 0"), QStringLiteral("2/4 two.wav 0.25"),
                                     QStringLiteral("3/4 three.wav 0.5"), QStringLiteral("4/4 four.wav 0.75"),
                                     QStringLiteral("4/4 Complete 1")}));
    EXPECT_EQ(batch.totalFiles, 4);
    EXPECT_EQ(batch.successCount, 1);
    EXPECT_EQ(batch.errorCount, 2);
    EXPECT_EQ(batch.skippedCount, 1);
    ASSERT_EQ(batch.logEntries.size(), 2u);
    EXPECT_EQ(batch.logEntries[0].message, QStringLiteral("Starting native analysis of 4 file(s)"));
    EXPECT_EQ(batch.logEntries[0].level, LogLevel::info);
    EXPECT_EQ(batch.logEntries[1].message, QStringLiteral("Analysis complete: 1 successful, 2 errors, 1 skipped"));
    EXPECT_EQ(batch.logEntries[1].level, LogLevel::success);
    EXPECT_EQ(batch.logEntries[1].category, LogCategory::process);
}

TEST_F(AnalyzerTest, StopsBeforeTheNextFile) {
    const QString file = writeStereo(folder_.path(QStringLiteral("a.wav")), scaled(1, 1));
    int asked = 0;
    const AnalysisResult batch =
        NativeStereoAnalyzer().analyzeFiles({file, file, file}, {}, {}, [&] { return ++asked > 1; });
    EXPECT_EQ(batch.results.size(), 1u);
    EXPECT_TRUE(batch.stopped);
    EXPECT_TRUE(batch.summary().startsWith(QStringLiteral("Analyzed: 1 of 3 files, stopped")));
    EXPECT_EQ(batch.logEntries.back().message,
              QStringLiteral("Analysis stopped after 1 of 3 files: 1 successful, 0 errors, 0 skipped"));
    EXPECT_EQ(batch.logEntries.back().level, LogLevel::warning);
}

TEST_F(AnalyzerTest, IsNotStoppedByARequestBehindTheLastFile) {
    const QString file = writeStereo(folder_.path(QStringLiteral("a.wav")), scaled(1, 1));
    int asked = 0;
    const AnalysisResult batch = NativeStereoAnalyzer().analyzeFiles({file, file}, {}, {}, [&] { return ++asked > 2; });
    EXPECT_FALSE(batch.stopped);
    EXPECT_TRUE(batch.summary().startsWith(QStringLiteral("Analyzed: 2 files •")));
}

TEST_F(AnalyzerTest, DecodesWhatLibsndfileCannotWithFfmpeg) {
    const ExternalToolDetector tools;
    const StereoSignal tone = testing::correlatedTones(1, 48000);
    const QString source = writeStereo(folder_.path(QStringLiteral("a.wav")), tone, 2, SampleFormat::pcm16, 48000);
    const QString m4a = folder_.path(QStringLiteral("a.m4a"));
    const QStringList encode{QStringLiteral("-i"), source, QStringLiteral("-c:a"), QStringLiteral("aac"), m4a};
    ASSERT_TRUE(ChildProcess::runSilently(tools.ffmpegPath.value(), encode).succeeded());
    EXPECT_EQ(analyze(m4a, tools.ffmpegPath.value()).classification, Class::dualMono);
    EXPECT_FALSE(analyze(m4a).error.isEmpty());
}

// Real recordings. Where the facts and the records define a measure differently:
// - The facts' correlation and levels are those of the whole file, a record's correlation is a median over windows. So
//   whole-file sums are held against the facts, and the classification against what follows from them.
// - The facts' correlation takes the samples as they are, Pearson's is relative to the mean; they part where there is
// DC.
// - The facts were decoded by ffmpeg, which takes what follows an empty data chunk for audio, and 24-bit integers in
// four
//   bytes for floats. Such files are left out here.
class RealRecordings : public ::testing::Test {
protected:
    void SetUp() override {
        if (testing::samplesFolder().isEmpty()) GTEST_SKIP() << "the folder of real recordings is not there";
        const QByteArray json = testing::readAll(testing::samplesFolder() + QStringLiteral("/samples.json"));
        const nlohmann::json facts = nlohmann::json::parse(json.begin(), json.end());
        for (const auto& file : facts.at("files")) {
            if (file.contains("stereo_measured") && isDecodedRight(file)) files_.push_back(file);
        }
        EXPECT_GT(files_.size(), 40u);
    }

    static bool isDecodedRight(const nlohmann::json& file) {
        return file.value("frames_in_data_chunk", 1) > 0 &&
               file.at("ffprobe").at("stream").at("codec_name") != "pcm_f24le";
    }

    static QString pathOf(const nlohmann::json& file) {
        return paths::append(testing::samplesFolder(), QString::fromStdString(file.at("file").get<std::string>()));
    }

    std::vector<nlohmann::json> files_;
    const ExternalToolDetector tools_;
};

double level(double rms) { return 20 * std::log10(rms); }

double correlationAroundZero(const StereoSums& sums) {
    const double products = sums.coDeviation + sums.frames * sums.leftMean * sums.rightMean;
    return products / (sums.frames * sums.leftRms() * sums.rightRms());
}

TEST_F(RealRecordings, HaveTheMeasuredLevelsAndCorrelation) {
    for (const nlohmann::json& file : files_) {
        SCOPED_TRACE(file.at("file").get<std::string>());
        const nlohmann::json& facts = file.at("stereo_measured");
        AudioFile audio(pathOf(file), tools_.ffmpegPath.value());
        EXPECT_EQ(audio.lengthInFrames(), facts.at("frames").get<qint64>());
        std::vector<float> block(8192);
        StereoSums sums;
        while (const int frames = audio.readInterleaved(block)) {
            sums.add(StereoSums::ofInterleaved(std::span(block).first(2 * std::size_t(frames))));
        }
        const auto expectLevel = [](const nlohmann::json& fact, double rms) {
            if (fact.is_null()) {
                EXPECT_EQ(rms, 0.0);
            } else {
                EXPECT_NEAR(level(rms), fact.get<double>(), 0.0051);
            }
        };
        expectLevel(facts.at("rms_left_dbfs"), sums.leftRms());
        expectLevel(facts.at("rms_right_dbfs"), sums.rightRms());
        if (!facts.at("correlation").is_null()) {
            EXPECT_NEAR(correlationAroundZero(sums), facts.at("correlation").get<double>(), 1e-6);
        }
        if (facts.at("channels_identical").get<bool>()) {
            EXPECT_EQ(sums.differenceSquares, 0.0);
        }
    }
}

TEST_F(RealRecordings, AreClassifiedAsTheirFactsSay) {
    for (const nlohmann::json& file : files_) {
        SCOPED_TRACE(file.at("file").get<std::string>());
        const nlohmann::json& facts = file.at("stereo_measured");
        const StereoValidatorResult result = analyze(pathOf(file), tools_.ffmpegPath.value());
        ASSERT_TRUE(result.error.isEmpty()) << result.error.toStdString();
        const bool windows = facts.at("frames").get<qint64>() >= result.sampleRate;
        const auto quiet = [](const nlohmann::json& fact) { return fact.is_null() || fact.get<double>() <= -100; };
        if (quiet(facts.at("rms_left_dbfs")) && quiet(facts.at("rms_right_dbfs"))) {
            EXPECT_EQ(result.classification, Class::silent);
        } else if (!windows) {
            EXPECT_NE(result.classification, Class::dualMono);
            EXPECT_EQ(result.correlation, 0.0);
        } else if (facts.at("channels_identical").get<bool>()) {
            EXPECT_EQ(result.classification, Class::dualMono);
            EXPECT_EQ(result.confidence, 100.0);
        } else if (facts.at("channels_exact_inverse").get<bool>()) {
            EXPECT_EQ(result.classification, Class::broken);
        }
    }
}

} // namespace
} // namespace ostrel
