#include "interleaver/item_job.h"

#include "foundation/run/source_steps.h"
#include "platform/paths.h"

namespace ostrel {
namespace {

std::vector<SourceOrder> ordersFor(Originals originals, const QStringList& sources) {
    const QString folder = paths::append(paths::parent(sources.value(0)), QStringLiteral("Originals"));
    std::vector<SourceOrder> orders;
    for (const QString& source : sources) {
        const bool moves = originals == Originals::move;
        orders.push_back({source, moves ? paths::append(folder, paths::lastComponent(source)) : QString()});
    }
    return orders;
}

void endWithWarning(const QString& sentence, const QString& item, ItemReport& report) {
    report.warn({sentence}, LogCategory::cleanup, item);
    report.outcome.status = ProcessingStatus::completedWithWarning(sentence);
    report.outcome.message = sentence;
}

} // namespace

void ItemReport::warn(const QStringList& sentences, LogCategory category, const QString& item) {
    for (const QString& sentence : sentences) say(LogLevel::warning, category, sentence, item);
    outcome.warnings << sentences;
}

void ItemReport::tellPreservation(const QString& item) {
    if (outcome.metadata.isWhole()) return;
    say(LogLevel::warning, LogCategory::metadata,
        QStringLiteral("⚠️ Partial metadata preservation: %1 (%2)").arg(item, outcome.metadata.missing()), item);
}

void ItemReport::tellProof(const QString& item) {
    if (!outcome.proof) return;
    say(levelOf(outcome.proof->audio()), kProcess, QStringLiteral("%1: %2").arg(item, outcome.proof->sentence()), item);
}

void ItemReport::say(LogLevel level, LogCategory category, const QString& message, const QString& item) {
    log.push_back(logEntry(level, category, message, item));
}

void settleOriginals(Originals originals, const QStringList& sources, const AudioProof& proof, const RunContext& run,
                     const QString& item, ItemReport& report) {
    if (originals == Originals::keep || sources.isEmpty()) return;
    const SourceStepsResult result = takeSourcesAway(ordersFor(originals, sources), proof, run.journal);
    report.outcome.sources = result.fates;
    report.warn(result.warnings, LogCategory::cleanup, item);
    if (!result.failure.isEmpty()) {
        const QString words =
            result.allKept() ? QStringLiteral("Originals kept: ") : QStringLiteral("Originals gone in part: ");
        return endWithWarning(words + result.failure, item, report);
    }
    const bool isOne = sources.size() == 1;
    if (originals == Originals::move) {
        // The folder is called "Originals" in either case; the words of sets are older than its name and stay.
        report.say(LogLevel::info, LogCategory::cleanup,
                   isOne ? QStringLiteral("Moved original to Originals/")
                         : QStringLiteral("Moved originals to ORIGINALS_MONO/"),
                   item);
    } else {
        report.say(LogLevel::warning, LogCategory::cleanup,
                   isOne ? QStringLiteral("Deleted original multichannel file")
                         : QStringLiteral("Deleted original mono files"),
                   item);
    }
}

} // namespace ostrel
