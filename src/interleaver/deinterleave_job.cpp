#include "interleaver/deinterleave_job.h"

#include "foundation/proof/audio_proof.h"
#include "interleaver/interleave_command.h"
#include "metadata/metadata_comparison.h"
#include "metadata/metadata_completion.h"
#include "platform/paths.h"

#include <algorithm>

namespace ostrel {

DeinterleaveJob::DeinterleaveJob(const RunContext& run, const MultiChannelSource& source,
                                 DeinterleaveEngine::StatusUpdate onStatusUpdate)
    : run_(run), source_(source), name_(paths::lastComponent(source.sourceURL)),
      engine_(run.ffmpegPath, run.ffprobePath, std::move(onStatusUpdate), run.options.engine) {}

ItemReport DeinterleaveJob::run() {
    const DeinterleaveResult result = makeOutputs();
    report_.outcome = result.outcome;
    if (result.outcome.succeeded()) report_.outcome.metadata = compared_; // of files that stand
    const auto say = [this](LogLevel level, const QString& message) {
        report_.say(level, LogCategory::process, message, name_);
    };
    if (!result.detour.isEmpty()) say(LogLevel::info, result.detour);
    for (const QString& warning : result.outcome.warnings) say(LogLevel::warning, warning);
    report_.warn(bextWarnings_, LogCategory::metadata, name_);
    report_.tellPreservation(name_);
    report_.tellProof(name_);
    if (!result.outcome.succeeded()) {
        say(LogLevel::error, QStringLiteral("%1: %2").arg(name_, result.outcome.message));
        return std::move(report_);
    }
    if (metadataFailures_ > 0) {
        report_.outcome.status =
            ProcessingStatus::completedWithWarning(QStringLiteral("%1 metadata failures").arg(metadataFailures_));
    }
    judgeByLayout(result);
    say(LogLevel::success, result.outcome.message);
    if (originals() != Originals::keep) settle(result);
    return std::move(report_);
}

Originals DeinterleaveJob::originals() const {
    if (run_.options.moveOriginalsDeinterleave) return Originals::move;
    return run_.options.deleteOriginalsDeinterleave ? Originals::remove : Originals::keep;
}

DeinterleaveResult DeinterleaveJob::makeOutputs() {
    try {
        return engine_.deinterleave(
            source_, run_.options, run_.outputFolder, run_.ledger.get(),
            [this](const QMap<QString, QString>& names, bool isWhole) { copyMetadata(names, isWhole); },
            originals() != Originals::keep);
    } catch (const DeinterleaveError& error) {
        return {ItemOutcome::failure(error.errorDescription(), {source_.sourceURL})};
    } catch (const std::exception& error) { // memory, most likely: this item fails, the batch goes on
        return {ItemOutcome::failure(QString::fromUtf8(error.what()), {source_.sourceURL})};
    }
}

void DeinterleaveJob::copyMetadata(const QMap<QString, QString>& names, bool isWhole) {
    if (names.isEmpty() || (!isWhole && !run_.metadataEngine)) return;
    if (!isWhole) copyByTool(names.keys());
    for (auto file = names.begin(); file != names.end(); ++file) {
        const SourceUmid umid = SourceUmid::cleared;
        bextWarnings_ << completeMetadata(source_.sourceURL, file.key(), umid, file.value()).warnings;
        compared_.add(compareMetadata(source_.sourceURL, file.key(), umid, file.value()));
    }
    bextWarnings_.removeDuplicates();
}

void DeinterleaveJob::copyByTool(const QStringList& unfinished) {
    const QMap<QString, MetadataResult> copied =
        run_.metadataEngine->copyMetadataToMultiple(source_.sourceURL, unfinished);
    metadataFailures_ =
        std::count_if(copied.begin(), copied.end(), [](const MetadataResult& one) { return !one.success; });
    for (const MetadataResult& one : copied) {
        if (!one.refused.isEmpty()) bextWarnings_ << refusedSentence(one, paths::lastComponent(source_.sourceURL));
    }
}

// ffmpeg knows one order of eight channels, and goes by it whatever the file was made in.
void DeinterleaveJob::judgeByLayout(const DeinterleaveResult& result) {
    const bool isAmbiguous = source_.layout == ChannelLayout::smpte71 || source_.layout == ChannelLayout::film71;
    if (result.isWhole || !isAmbiguous) return;
    const QString why = source_.layout == ChannelLayout::smpte71
                            ? QStringLiteral("Side and rear pairs may be swapped: ffmpeg takes rear channels to stand "
                                             "ahead of side channels")
                            : QStringLiteral("ffmpeg remixes this layout: channels may not be those of the source");
    report_.outcome.status = ProcessingStatus::completedWithWarning(why);
    report_.warn({QStringLiteral("%1: %2 - the direct engine keeps the channels as they are").arg(name_, why)},
                 LogCategory::process, name_);
}

void DeinterleaveJob::settle(const DeinterleaveResult& result) {
    const AudioProof proof = AudioProof::of({source_.sourceURL}, channelPairs(source_, result.order, result.outputURLs),
                                            {{source_.sourceURL, result.order}});
    settleOriginals(originals(), {source_.sourceURL}, proof, run_, name_, report_);
}

} // namespace ostrel
