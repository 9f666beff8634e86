// What the tests of conversions to mono share: marked sources, one conversion as a run of its own, and results read
// back through libsndfile alone.
#pragma once

#include "platform/paths.h"
#include "stereovalidator/stereo_processing_engine.h"
#include "support/sound.h"
#include "support/test_folder.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>
#include <sndfile.h>
#include <vector>

namespace ostrel::testing {

struct Decoded {
    SF_INFO info{};
    std::vector<float> samples;
};

inline Decoded decoded(const QString& file) {
    Decoded result;
    SNDFILE* reader = sf_open(QFile::encodeName(file).constData(), SFM_READ, &result.info);
    EXPECT_NE(reader, nullptr) << file.toStdString();
    if (!reader) return result;
    result.samples.resize(std::size_t(result.info.frames * result.info.channels));
    sf_readf_float(reader, result.samples.data(), result.info.frames);
    sf_close(reader);
    return result;
}

class ConversionTest : public ::testing::Test {
protected:
    static constexpr qint64 kFrames = 20000; // more than two blocks, and not a whole number of them

    QString writeSource(const QString& name = QStringLiteral("a.wav"), int channels = 2) {
        return writeSound(folder_.path(name), channels, kFrames);
    }
    static bool holdsChannel(const QString& file, int channel) {
        const Decoded result = decoded(file);
        if (result.info.channels != 1 || result.info.frames != kFrames) return false;
        for (qint64 i = 0; i < kFrames; ++i) {
            if (result.samples[std::size_t(i)] != markedSample(channel, i)) return false;
        }
        return true;
    }
    MonoRequest request(const QString& source) const { return {.file = source, .outputFolder = paths::parent(source)}; }
    MonoRequest inPlace(const QString& source) const {
        MonoRequest result = request(source);
        result.addSuffix = false;
        result.allowOverwrite = true;
        return result;
    }
    // A run of one item. Without any bwfmetaedit unless a test brings one.
    static ItemOutcome convert(const MonoRequest& asked, const QStringList& tools = {},
                               const QStringList& others = {}) {
        RunLedger ledger({asked.file}, others);
        Journal journal(QStringLiteral("clean"));
        return StereoProcessingEngine(QString(), tools).convertToMono(asked, ledger, journal);
    }
    static QString resultOf(const MonoRequest& asked, const QStringList& tools = {}) {
        const ItemOutcome outcome = convert(asked, tools);
        EXPECT_TRUE(outcome.succeeded()) << outcome.message.toStdString();
        return outcome.outputs.value(0);
    }
    // The reason, if the outcome of a failure is what it has to be: no output, and the source where it was.
    static QString failure(const MonoRequest& asked, const QStringList& tools = {}) {
        const ItemOutcome outcome = convert(asked, tools);
        EXPECT_EQ(outcome, ItemOutcome({ProcessingStatus::failed(outcome.message),
                                        {},
                                        outcome.warnings,
                                        outcome.message,
                                        ItemOutcome::allKept({asked.file})}));
        return outcome.message;
    }
    static QString wrapped(const QString& reason) {
        return QStringLiteral("The operation couldn’t be completed. (%1)").arg(reason);
    }

    TestFolder folder_;
};

} // namespace ostrel::testing
