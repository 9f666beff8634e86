#include "polytools/join/iso_loading.h"

#include "platform/paths.h"
#include "polytools/records/iso_ordering.h"

#include <algorithm>

namespace ostrel {
namespace {

using Task = PolyToolsServices::Task;

void restoreParts(std::vector<ISOFile>& files, const std::vector<ISOFile>& known) {
    for (ISOFile& file : files) {
        const auto before = std::ranges::find(known, file.url, &ISOFile::url);
        if (before == known.end() || before->laterParts.isEmpty()) continue;
        file.laterParts = before->laterParts;
        file.duration = before->duration;
        file.fileSize = before->fileSize;
    }
}

} // namespace

void IsoLoading::start(const QStringList& urls, const std::vector<ISOFile>& known) {
    state_.isAnalyzing = true;
    if (!services_.requireFFprobe()) {
        state_.isAnalyzing = false;
        return;
    }
    services_.run(load(services_.eachOnce(urls), known, services_.begin(Task::isoAnalysis)));
}

QCoro::Task<> IsoLoading::load(QStringList urls, std::vector<ISOFile> known, TaskHandle handle) {
    const auto work = [urls, autoOrder = state_.autoOrderChannels.value(), tools = services_.engineTools(),
                       hooks = services_.hooks(handle)] { return loadISOs(urls, autoOrder, tools, hooks); };
    auto [loaded, failure] = co_await services_.attempt(work);
    if (handle.isCancelled()) co_return;
    state_.isAnalyzing = false;
    if (loaded) {
        restoreParts(loaded->files, known);
        showLoaded(*loaded);
    } else {
        services_.error(kScan, QStringLiteral("Analysis failed: ") + failure);
    }
}

void IsoLoading::showLoaded(const LoadedISOs& loaded) {
    join_.batchJoinMode = false;
    join_.showGroupReview = false;
    join_.usedSmartShortcut = false;
    publish(loaded.files);
    join_.isoOrderingMethod = loaded.ordering;
    validate();
    services_.success(kScan, QStringLiteral("Loaded %1 files for joining").arg(loaded.files.size()));
    logOrdering(loaded);
    onLoaded_();
}

void IsoLoading::logOrdering(const LoadedISOs& loaded) {
    switch (loaded.ordering) {
    case IsoOrdering::none: break;
    case IsoOrdering::metadata:
        services_.success(kScan,
                          QStringLiteral("✅ Sorted by INTERLEAVE_INDEX from iXML metadata (ground truth ordering)"));
        break;
    case IsoOrdering::manifest: services_.info(kScan, QStringLiteral("Sorted files by manifest track order")); break;
    case IsoOrdering::autoOrder:
        services_.info(kScan, loaded.moved ? QStringLiteral("Auto-ordered files by track name")
                                           : QStringLiteral("Auto-order enabled but files already in optimal order"));
        break;
    case IsoOrdering::selection:
        services_.warning(kScan, QStringLiteral("⚠️ No metadata found - preserving file selection order"));
        break;
    }
}

void IsoLoading::publish(std::vector<ISOFile> files) {
    numberChannels(files);
    join_.referenceISOIndex = 0;
    if (!files.empty() && join_.joinOutputFolder.value().isEmpty()) {
        join_.joinOutputFolder = paths::parent(files.front().url);
    }
    join_.isoFiles.assign(std::move(files));
}

void IsoLoading::validate() {
    const std::vector<ISOFile>& files = join_.isoFiles.rows();
    if (files.size() < 2) return;
    const QStringList mismatches = isoMismatches(files);
    for (const QString& mismatch : mismatches) services_.warning(kScan, mismatch);
    if (!mismatches.isEmpty()) return;
    const ISOFile& first = files.front();
    const auto seconds = static_cast<qlonglong>(first.duration);
    services_.success(kScan, QStringLiteral("All files validated: %1Hz, %2-bit, ~%3:%4")
                                 .arg(first.sampleRate)
                                 .arg(first.bitDepth)
                                 .arg(seconds / 60)
                                 .arg(seconds % 60, 2, 10, QLatin1Char('0')));
}

} // namespace ostrel
