#include "interleaver/interleave_job.h"

#include "foundation/proof/audio_proof.h"
#include "foundation/tools/ffprobe_parser.h"
#include "interleaver/lr_cleanup_engine.h"
#include "metadata/bext_identity.h"
#include "metadata/metadata_comparison.h"
#include "metadata/metadata_completion.h"
#include "platform/paths.h"

namespace ostrel {

QString libraryRootOf(const QString& file, const QStringList& selection) {
    QString root;
    for (const QString& item : selection) {
        if (paths::isFolder(item) && file.startsWith(item + QLatin1Char('/')) && item.size() > root.size()) root = item;
    }
    return root.isEmpty() ? paths::parent(file) : root;
}

InterleaveJob::InterleaveJob(const RunContext& run, const InterleaveGroup& group,
                             InterleaveEngine::StatusUpdate onStatusUpdate)
    : run_(run), group_(group), sources_(filesInOrder(group, run.layout)),
      engine_(run.ffmpegPath, run.bwfmetaeditPath, std::move(onStatusUpdate), run.options.engine) {
    report_.outcome.sources = ItemOutcome::allKept(sources_);
}

ItemReport InterleaveJob::run() {
    const QString output = outputOf(group_, run_);
    if (output.isEmpty()) {
        const auto status = ProcessingStatus::failed(QStringLiteral("Invalid output path"));
        end(status, LogLevel::error, QStringLiteral("Invalid output path for: ") + group_.baseName);
        return std::move(report_);
    }
    InterleaveResult result = makeOutput(output);
    report_.outcome = result.outcome;
    if (!result.detour.isEmpty()) say(LogLevel::info, kProcess, result.detour);
    if (result.outcome.succeeded()) report_.outcome.metadata = compared_; // of files that stand
    for (const QString& warning : result.outcome.warnings) say(LogLevel::warning, kProcess, warning);
    report_.warn(bextWarnings_, LogCategory::metadata, group_.baseName);
    report_.tellPreservation(group_.baseName);
    report_.tellProof(group_.baseName);
    if (!result.outcome.succeeded()) {
        say(LogLevel::error, kProcess, QStringLiteral("%1: %2").arg(group_.baseName, result.outcome.message));
    } else if (!isUnderCleanup()) {
        finishPlainly(output);
    } else if (run_.ffprobePath.isEmpty() && run_.options.engine == EngineChoice::ffmpeg) {
        end(ProcessingStatus::completedWithWarning(QStringLiteral("Cannot verify: ffprobe missing")), LogLevel::warning,
            group_.baseName + QStringLiteral(" - Created but cannot verify"));
    } else if (!result.isFaithful) {
        // Audio that differs from its sources can't stand in for them, whatever its length and metadata say.
        const auto status = ProcessingStatus::completedUncertified(QStringLiteral("Samples differ from the sources"));
        end(status, LogLevel::success, QStringLiteral("✅ %1 - %2").arg(group_.baseName, status.displayText()));
    } else {
        finishVerified(output);
    }
    return std::move(report_);
}

bool InterleaveJob::isUnderCleanup() const {
    return run_.layout == ChannelLayout::stereo && run_.options.lrCleanupMode != LRCleanupMode::none;
}

bool InterleaveJob::mayTakeSourcesAway() const {
    return isUnderCleanup() || run_.options.moveOriginalsInterleave || run_.options.deleteOriginalsInterleave;
}

// A custom folder always gives ".wav", whatever the policy says: meant.
QString InterleaveJob::outputOf(const InterleaveGroup& group, const RunContext& run) {
    return run.outputFolder.isEmpty() ? InterleaveEngine::generateOutputURL(group, run.options)
                                      : paths::append(run.outputFolder, group.baseName + QStringLiteral(".wav"));
}

InterleaveResult InterleaveJob::makeOutput(const QString& output) {
    try {
        return engine_.interleave(
            group_, run_.layout, output, run_.options, run_.ledger.get(),
            [&](const QString& unfinished, bool isWhole) {
                copyMetadata(unfinished, paths::lastComponent(output), isWhole);
            },
            mayTakeSourcesAway());
    } catch (const InterleaveError& error) {
        return {ItemOutcome::failure(error.errorDescription(), sources_)};
    } catch (const std::exception& error) { // memory, most likely: this item fails, the batch goes on
        return {ItemOutcome::failure(QString::fromUtf8(error.what()), sources_)};
    }
}

void InterleaveJob::copyMetadata(const QString& unfinished, const QString& name, bool isWhole) {
    const QString source = isWhole ? metadataSource(group_) : group_.channelFiles.value(QStringLiteral("L"));
    if (!isWhole && !copyByTool(source, unfinished)) return;
    // Whatever the tool refused or rewrote; what it lost beside bext is told with the item's status all the same.
    bextWarnings_ << completeMetadata(source, unfinished, SourceUmid::kept, name).warnings;
    compared_ = compareMetadata(source, unfinished, SourceUmid::kept, name);
}

// Whether there was something to copy, and something to copy it with.
bool InterleaveJob::copyByTool(const QString& left, const QString& unfinished) {
    if (!run_.metadataEngine || left.isEmpty() || (isUnderCleanup() && run_.ffprobePath.isEmpty())) return false;
    try {
        metadata_ = run_.metadataEngine->copyMetadata(left, unfinished);
    } catch (const MetadataError&) {
        metadataFailed_ = true; // told with the item's status
    }
    return true;
}

void InterleaveJob::finishPlainly(const QString& output) {
    ProcessingStatus status = ProcessingStatus::completed();
    QString suffix;
    if (metadataFailed_) {
        status = ProcessingStatus::completedWithWarning(QStringLiteral("Metadata failed"));
        suffix = QStringLiteral(" (metadata failed)");
    } else if (metadata_ && !metadata_->success) {
        status = ProcessingStatus::completedWithWarning(QStringLiteral("Metadata: ") + metadata_->message);
        suffix = QStringLiteral(" (metadata warning: %1)").arg(metadata_->message);
    } else if (metadata_) {
        suffix = QStringLiteral(" (audio+bwf ok)");
    }
    end(status, LogLevel::success, QStringLiteral("Created: %1%2").arg(paths::lastComponent(output), suffix));
    if (!mayTakeSourcesAway()) return;
    const Originals originals = run_.options.moveOriginalsInterleave ? Originals::move : Originals::remove;
    settleOriginals(originals, sources_, proofOf(output), run_, group_.baseName, report_);
}

void InterleaveJob::finishVerified(const QString& output) {
    const ProcessingStatus status = verified(output);
    if (status == ProcessingStatus::completedCarbonCopyCertified()) return cleanUp(output);
    end(status, LogLevel::success, QStringLiteral("✅ %1 - %2").arg(group_.baseName, status.displayText()));
}

// A merge whose metadata could not be copied is never certified, however much ffmpeg carried over by itself.
ProcessingStatus InterleaveJob::verified(const QString& output) const {
    const auto couldNotVerify = [](const QString& why) {
        return ProcessingStatus::failed(QStringLiteral("Verification failed: ") + why);
    };
    if (metadataFailed_) return couldNotVerify(QStringLiteral("bwfmetaedit could not be started"));
    if (metadata_ && !metadata_->success) {
        return ProcessingStatus::completedUncertified(QStringLiteral("Metadata: ") + metadata_->message);
    }
    try {
        const ProcessingStatus status = engine_.verifyInterleavedOutput(output, 2, group_.duration, run_.ffprobePath);
        return status == ProcessingStatus::completedCarbonCopyCertified() ? certified(output) : status;
    } catch (const FFProbeError& error) {
        return couldNotVerify(error.errorDescription());
    } catch (const InterleaveError& error) {
        return couldNotVerify(error.errorDescription());
    }
}

// The identity is there; is it the source's?
ProcessingStatus InterleaveJob::certified(const QString& output) const {
    const auto differing = engine_.differingIdentity(group_.channelFiles.value(QStringLiteral("L")), output);
    if (!differing) return ProcessingStatus::completedUncertified(QStringLiteral("Metadata verification uncertain"));
    if (!differing->isEmpty()) {
        return ProcessingStatus::completedUncertified(QStringLiteral("Metadata differs from the source: ") +
                                                      differing->join(QStringLiteral(", ")));
    }
    return ProcessingStatus::completedCarbonCopyCertified();
}

void InterleaveJob::cleanUp(const QString& output) {
    const AudioProof proof = proofOf(output);
    if (const QString objection = proof.objection(); !objection.isEmpty()) {
        const QString why = QStringLiteral("Originals kept: ") + objection;
        report_.outcome.warnings << why;
        const auto status = ProcessingStatus::completedUncertified(why);
        return end(status, LogLevel::warning, QStringLiteral("%1 - %2").arg(group_.baseName, status.displayText()));
    }
    const bool moves = run_.options.lrCleanupMode == LRCleanupMode::verifiedConsolidation;
    const QString left = group_.channelFiles.value(QStringLiteral("L"));
    const QString right = group_.channelFiles.value(QStringLiteral("R"));
    const SourceStepsResult result =
        moves
            ? LRCleanupEngine::moveToBackupFolder(left, right, libraryRootOf(left, run_.selection), proof, run_.journal)
            : LRCleanupEngine::deleteFiles(left, right, proof, run_.journal);
    report_.outcome.sources = result.fates;
    report_.warn(result.warnings, LogCategory::cleanup, group_.baseName);
    if (!result.failure.isEmpty()) {
        return end(ProcessingStatus::completedWithWarning(QStringLiteral("Cleanup failed: ") + result.failure),
                   LogLevel::warning,
                   QStringLiteral("✅ %1 - Merge OK, cleanup failed: %2").arg(group_.baseName, result.failure));
    }
    end(ProcessingStatus::completedCarbonCopyCertified(), LogLevel::success,
        QStringLiteral("✅ %1 - Interleaved, L/R %2")
            .arg(group_.baseName, moves ? QStringLiteral("moved to backup") : QStringLiteral("DELETED")));
}

AudioProof InterleaveJob::proofOf(const QString& output) const {
    return AudioProof::of(sources_, channelPairs(sources_, output));
}

void InterleaveJob::say(LogLevel level, LogCategory category, const QString& message) {
    report_.say(level, category, message, group_.baseName);
}

void InterleaveJob::end(const ProcessingStatus& status, LogLevel level, const QString& message) {
    report_.outcome.status = status;
    report_.outcome.message = message;
    say(level, kProcess, message);
}

} // namespace ostrel
