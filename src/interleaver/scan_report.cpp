#include "interleaver/scan_report.h"

#include "interleaver/library_safety.h"

#include <algorithm>

namespace ostrel {

void sayWhatWasGrouped(const std::vector<InterleaveGroup>& groups, const ChannelLayout& layout, const SayLine& say) {
    const QString& layoutName = layout.displayName;
    // Hand-picked groups stay pending: a run takes them like the others.
    const auto isReady = [](const InterleaveGroup& group) { return group.status.isProcessable(); };
    const auto ready = std::count_if(groups.begin(), groups.end(), isReady);
    const auto sayNothingFound = [&] {
        say(LogLevel::info, QStringLiteral("No channel groups found - This folder appears to contain only interleaved "
                                           "files or mono files without matching channel tags for %1. Nothing to "
                                           "process in Interleave mode.")
                                .arg(layoutName));
    };
    const auto total = groups.size();
    const auto sayNothingReady = [&] {
        say(LogLevel::warning, QStringLiteral("Found %1 groups, but 0 ready to process. Check for mismatches or "
                                              "missing channels for %2.")
                                   .arg(total)
                                   .arg(layoutName));
    };
    if (total == 0) return sayNothingFound();
    const auto saySomeReady = [&] {
        say(LogLevel::success, QStringLiteral("Found %1 groups, %2 ready").arg(total).arg(ready));
    };
    if (layout != ChannelLayout::stereo) return ready == 0 ? sayNothingReady() : saySomeReady();
    const LRScanSummary summary = LRScanSummary::generate(groups);
    const int held = summary.protectedSurround + summary.protectedAmbisonics + summary.incomplete;
    if (summary.readyPairs == 0 && held < 1) return ready == 0 ? sayNothingReady() : saySomeReady();
    say(LogLevel::success, QStringLiteral("L/R Scan Summary:"));
    const auto sayCount = [&](const char16_t* words, int number) {
        if (number > 0) say(LogLevel::info, QString::fromUtf16(words) + QString::number(number));
    };
    say(LogLevel::info, QStringLiteral("  ✅ Safe L/R pairs (ready): %1").arg(summary.readyPairs));
    sayCount(u"  🛡️ Surround sets protected: ", summary.protectedSurround);
    sayCount(u"  🛡️ Ambisonics protected: ", summary.protectedAmbisonics);
    sayCount(u"  ⚠️ Incomplete pairs: ", summary.incomplete);
    sayCount(u"  ⚠️ Mismatches (SR/BD/Dur): ", summary.mismatches());
    say(LogLevel::success, QStringLiteral("Ready to process: %1 pairs → %1 stereo files").arg(summary.readyPairs));
}

void sayWhatWasFound(const std::vector<MultiChannelSource>& sources, const ChannelLayout& layout, const SayLine& say) {
    if (sources.empty()) {
        say(LogLevel::info,
            QStringLiteral("No multichannel files found matching the selected layout (%1). This folder may contain "
                           "only mono files or files with different channel counts. Nothing to process in "
                           "De-interleave mode.")
                .arg(layout.displayName));
        return;
    }
    say(LogLevel::success, QStringLiteral("Found %1 multichannel files").arg(sources.size()));
}

} // namespace ostrel
