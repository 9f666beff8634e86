// The controller of Poly Tools over real tools and a scripted desktop.
#pragma once

#include "platform/files/standard_folders.h"
#include "poly_fixture.h"
#include "polytools/poly_tools_view_model.h"
#include "support/scripted_desktop.h"

#include <gtest/gtest.h>

namespace ostrel::testing {

class PolyToolsController : public ::testing::Test {
protected:
    void SetUp() override { QDir(cacheFolder()).removeRecursively(); }

    bool settled() {
        return waitUntil([this] { return !controller_->hasRunningTask(); });
    }
    PolyFile poly(const QString& name, int channels = 2, const std::optional<IxmlSpec>& ixml = std::nullopt) {
        WaveSpec spec;
        spec.channels = channels;
        spec.frames = 480;
        return writePoly(folder_.path(name), spec, ixml);
    }
    ISOFile iso(const QString& name, int signal = 0, const std::optional<IxmlSpec>& ixml = std::nullopt) {
        WaveSpec spec;
        spec.firstSignal = signal;
        spec.frames = 480;
        return writeISO(folder_.path(name), spec, ixml);
    }
    QString path(const char* relative) const { return folder_.path() + QLatin1Char('/') + QString::fromUtf8(relative); }
    const ProcessingLogEntry* entry(const char* text) const {
        return entryWith(controller_->logEntries.rows(), QString::fromUtf8(text));
    }
    QString log() const { return messages(controller_->logEntries.rows()).join(u'\n'); }

    TestFolder folder_;
    ScriptedDesktop desktop_;
    std::unique_ptr<PolyToolsViewModel> controller_ = std::make_unique<PolyToolsViewModel>(desktop_);
};

} // namespace ostrel::testing
