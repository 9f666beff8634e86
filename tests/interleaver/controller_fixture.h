// A controller of the Interleaver over a library and tools of a test's own, driven as a person drives it.
#pragma once

#include "interleaver/fixtures.h"
#include "platform/audio/audio_output.h"
#include "support/own_state.h"

#include <gtest/gtest.h>

namespace ostrel::testing {

class ControllerFixture : public ::testing::Test {
protected:
    ControllerFixture()
        : bwfmetaedit(fakeBwfmetaedit(tools)), controller(desktop, audio, detectorFor(tools.path("tools"_s))) {}

    void writeMono(const char* name, const WaveSpec& spec = {}) const {
        library.write(QString::fromUtf8(name), waveBytes(spec));
    }

    // With an identity, or no merge of it would ever be certified.
    void writePair(const char* base) const {
        BextSpec bext;
        bext.description = "a pair";
        bext.originatorReference = "Ref1";
        WaveSpec spec;
        spec.before = {{"bext", bextPayload(bext)}};
        writeMono((QByteArray(base) + ".L.wav").constData(), spec);
        spec.firstSignal = 1;
        writeMono((QByteArray(base) + ".R.wav").constData(), spec);
    }

    void useDeliveredBwfmetaedit() const {
        QFile::remove(bwfmetaedit);
        ASSERT_TRUE(QFile::link(deliveredBwfmetaedit(), bwfmetaedit));
    }

    // Selects, scans and waits; gives what the scan logged.
    QStringList scan(const QStringList& relative = {QString()}) {
        QStringList urls;
        for (const QString& item : relative)
            urls << (item.isEmpty() ? library.path() : paths::append(library.path(), item));
        controller.select(urls);
        EXPECT_TRUE(waitForTasks(controller));
        const auto before = static_cast<qsizetype>(controller.logEntries.size());
        controller.scan();
        EXPECT_TRUE(waitForTasks(controller));
        return messages(controller).mid(before);
    }

    // Runs and waits; gives what the job logged.
    QStringList run() {
        const auto before = static_cast<qsizetype>(controller.logEntries.size());
        controller.startProcessing();
        EXPECT_TRUE(waitForTasks(controller));
        return messages(controller).mid(before);
    }

    void setOptions(const std::function<void(ProcessingOptions&)>& change) {
        ProcessingOptions options = controller.options.value();
        change(options);
        controller.options = options;
    }

    QString output(const char* name) const { return library.path(QString::fromUtf8(name)); }
    QString statusOf(std::size_t row) const { return controller.interleaveGroups[row].status.displayText(); }

    OwnState state;
    TestFolder tools;
    TestFolder library;
    QString bwfmetaedit;
    ScriptedDesktop desktop;
    AudioOutput audio;
    AppViewModel controller;
};

} // namespace ostrel::testing
