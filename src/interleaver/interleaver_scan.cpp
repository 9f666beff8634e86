#include "interleaver/interleaver_scan.h"

#include "interleaver/direct_pairing.h"
#include "interleaver/whole_sets.h"
#include "platform/paths.h"

#include <algorithm>

namespace ostrel {

QCoro::Task<std::vector<InterleaveGroup>> InterleaverScan::groups() {
    return holdsFolders() ? groupsOfFolders() : pairHandPicked();
}

QCoro::Task<std::vector<MultiChannelSource>> InterleaverScan::sources() {
    if (!holdsFolders()) co_return co_await handPickedSources();
    const auto work = [scanner = scanner_, request = scanRequest(), layout = request_.layout] {
        return scanner.scanForDeinterleave(request, layout);
    };
    co_return co_await inBackground(owner_, work);
}

QCoro::Task<std::vector<InterleaveGroup>> InterleaverScan::pairHandPicked() {
    hooks_.log(LogLevel::info,
               QStringLiteral("Direct file pairing: %1 manually selected files for %2")
                   .arg(request_.selection.size())
                   .arg(request_.layout.displayName),
               QString());
    DirectPairing pairing = DirectPairing::of(request_.selection);
    for (const DirectPairing::Line& line : pairing.log) hooks_.log(line.level, line.text, QString());

    std::vector<InterleaveGroup> complete;
    for (const InterleaveGroup& candidate : pairing.groups) {
        const QStringList missing = candidate.missingChannels(request_.layout);
        if (!missing.isEmpty()) {
            hooks_.log(LogLevel::warning,
                       QStringLiteral("⚠️ Incomplete: %1 - Missing channels: %2")
                           .arg(candidate.baseName, missing.join(QStringLiteral(", "))),
                       QString());
            continue;
        }
        if (handle_.isCancelled()) break;
        const auto probe = [scanner = scanner_, candidate] { return scanner.probed(candidate); };
        try {
            InterleaveGroup group = co_await inBackground(owner_, probe);
            hooks_.log(LogLevel::info,
                       QStringLiteral("✅ Complete: %1 (%2 channels, %3Hz, %4-bit)")
                           .arg(group.baseName)
                           .arg(group.channelFiles.size())
                           .arg(group.sampleRate.value_or(0))
                           .arg(group.bitDepth.value_or(0)),
                       QString());
            complete.push_back(std::move(group));
        } catch (const FFProbeError& error) {
            hooks_.log(LogLevel::error,
                       QStringLiteral("Cannot use %1: %2").arg(candidate.baseName, error.errorDescription()),
                       candidate.baseName);
        }
    }
    co_return complete;
}

QCoro::Task<std::vector<InterleaveGroup>> InterleaverScan::groupsOfFolders() {
    const bool librarySafe = request_.layout == ChannelLayout::stereo;
    if (librarySafe) {
        hooks_.log(LogLevel::info, QStringLiteral("Using library-safe L/R scanner with pristine stereo gates"),
                   QString());
    }
    struct Found {
        std::vector<InterleaveGroup> groups;
        int leftOut = 0;
    };
    const auto work = [scanner = scanner_, request = scanRequest(), layout = request_.layout, librarySafe] {
        const WholeSets whole = wholeSetsOf(request.items, layout);
        ScanRequest within = request;
        within.items = whole.items;
        return Found{librarySafe ? scanner.scanForLibrarySafeLRMerge(within)
                                 : scanner.scanForInterleave(within, layout),
                     whole.leftOut};
    };
    const Found found = co_await inBackground(owner_, work);
    if (found.leftOut > 0) {
        hooks_.log(LogLevel::info,
                   QStringLiteral("Filtered to %1 groups from %2 selected files")
                       .arg(found.groups.size())
                       .arg(request_.selection.size()),
                   QString());
    }
    co_return found.groups;
}

QCoro::Task<std::vector<MultiChannelSource>> InterleaverScan::handPickedSources() {
    hooks_.log(LogLevel::info,
               QStringLiteral("Processing %1 specific files (not scanning folder)").arg(request_.selection.size()),
               QString());
    std::vector<MultiChannelSource> sources;
    for (const QString& file : request_.selection) {
        if (handle_.isCancelled()) break;
        if (paths::lowerExtension(file) != QStringLiteral("wav")) continue;
        const auto analyze = [scanner = scanner_, file, layout = request_.layout] {
            return scanner.analyzed(file, layout);
        };
        try {
            std::optional<MultiChannelSource> source = co_await inBackground(owner_, analyze);
            if (source) sources.push_back(std::move(*source));
        } catch (const FFProbeError& error) {
            hooks_.log(LogLevel::error,
                       QStringLiteral("Cannot use %1: %2").arg(paths::lastComponent(file), error.errorDescription()),
                       QString());
        }
    }
    co_return sources;
}

// Folders of the selection are walked and its files taken as they are.
ScanRequest InterleaverScan::scanRequest() const {
    const QStringList& files = request_.selection;
    ScanRequest request;
    request.items = files;
    request.root = files.size() == 1 && paths::isFolder(files.first()) ? files.first() : paths::parent(files.first());
    request.includeSubfolders = request_.includeSubfolders;
    request.isCancelled = [handle = handle_] { return handle.isCancelled(); };
    const MainThreadHop hop(owner_);
    request.progress = [hop, handle = handle_, tell = hooks_.status](const QString& text) {
        hop([handle, tell, text] {
            if (!handle.isCancelled()) tell(text);
        });
    };
    request.share = [hop, handle = handle_, tell = hooks_.share](double share) {
        hop([handle, tell, share] {
            if (!handle.isCancelled()) tell(share);
        });
    };
    request.warn = [hop, tell = hooks_.log](const QString& text) {
        hop([tell, text] { tell(LogLevel::warning, text, QString()); });
    };
    return request;
}

bool InterleaverScan::holdsFolders() const {
    return std::any_of(request_.selection.begin(), request_.selection.end(), paths::isFolder);
}

} // namespace ostrel
