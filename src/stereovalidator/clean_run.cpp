#include "stereovalidator/clean_run.h"

#include "platform/paths.h"
#include "stereovalidator/mono_conversion.h"

#include <algorithm>
#include <new>

namespace ostrel {
namespace {

QStringList filesOf(const std::vector<StereoValidatorResult>& results) {
    QStringList files;
    for (const StereoValidatorResult& result : results) files << result.filepath;
    return files;
}

MonoRequest requestFor(const StereoValidatorResult& result, const CleanOptions& options) {
    return {
        .file = result.filepath,
        .outputFolder = options.outputFolder.isEmpty() ? paths::parent(result.filepath) : options.outputFolder,
        .useLeftChannel = keepsLeftChannel(result.classification, options.side, result.evidence.get()),
        .allowOverwrite = options.allowOverwrite,
        .addSuffix = options.addSuffix,
        .analyzed = result.stamp,
        .proves = options.proves,
    };
}

} // namespace

std::vector<StereoValidatorResult> convertible(const std::vector<StereoValidatorResult>& results,
                                               const ConversionToggles& toggles) {
    std::vector<StereoValidatorResult> kept;
    std::copy_if(results.begin(), results.end(), std::back_inserter(kept),
                 [&](const StereoValidatorResult& result) { return isConverted(result.classification, toggles); });
    return kept;
}

QString leftOutReason(const StereoValidatorResult& result, const CleanOptions& options) {
    if (result.trust == Trust::sure) return {};
    const bool isInPlace = monoTargetOf(requestFor(result, options)).kind == MonoTarget::Kind::source;
    if (!isInPlace && !options.sureOnly) return {};
    const QString why =
        result.why.isEmpty() ? QStringLiteral("no evidence was gathered") : result.why.join(QStringLiteral("; "));
    const QString text = isInPlace ? QStringLiteral("Original kept: %1 is not sure to be %2 (%3)")
                                   : QStringLiteral("Left out: %1 is not sure to be %2 (%3)");
    return text.arg(paths::lastComponent(result.filepath), displayName(result.classification), why);
}

int countLeftOut(const std::vector<StereoValidatorResult>& results, const CleanOptions& options) {
    return static_cast<int>(std::count_if(results.begin(), results.end(), [&](const StereoValidatorResult& result) {
        return !leftOutReason(result, options).isEmpty();
    }));
}

QHash<QUuid, QString> foreseenRefusals(const std::vector<StereoValidatorResult>& results, const CleanOptions& options) {
    std::vector<QStringList> outputs;
    QHash<QUuid, QString> refusals;
    for (const StereoValidatorResult& result : results) {
        const MonoTarget target = monoTargetOf(requestFor(result, options));
        if (target.kind == MonoTarget::Kind::source && result.stamp) {
            const QString why = replacementObjection(result.filepath, result.stamp);
            if (!why.isEmpty()) refusals.insert(result.id, why);
        }
        outputs.push_back(target.kind == MonoTarget::Kind::file ? QStringList(target.path) : QStringList());
    }
    const std::vector<QString> reasons = RunLedger(filesOf(results)).foresee(outputs);
    for (std::size_t i = 0; i < results.size(); ++i) {
        const QString output = outputs[i].value(0);
        if (const QString why = leftOutReason(results[i], options); !why.isEmpty()) {
            refusals.insert(results[i].id, why);
        } else if (!reasons[i].isEmpty()) {
            refusals.insert(results[i].id, reasons[i]);
        } else if (!options.allowOverwrite && !output.isEmpty() && paths::exists(output)) {
            refusals.insert(results[i].id, fileExistsSentence(output));
        }
    }
    return refusals;
}

CleanRun::CleanRun(const std::vector<StereoValidatorResult>& results, const QStringList& bystanders,
                   CleanOptions options, const QString& ffmpegPath)
    : options_(std::move(options)),
      engine_(ffmpegPath, StereoProcessingEngine::defaultBwfmetaeditPaths(), options_.engine),
      ledger_(filesOf(results), bystanders) {}

ItemOutcome CleanRun::convert(const StereoValidatorResult& result) {
    if (const QString why = leftOutReason(result, options_); !why.isEmpty()) {
        return {.status = ProcessingStatus::skipped(why),
                .message = why,
                .sources = ItemOutcome::allKept({result.filepath})};
    }
    try {
        return engine_.convertToMono(requestFor(result, options_), ledger_, journal_);
    } catch (const std::bad_alloc&) {
        return ItemOutcome::failure(QStringLiteral("Not enough memory"), {result.filepath});
    }
}

QString CleanCounts::sentence(std::size_t total) const {
    const QString end =
        stopped
            ? QStringLiteral("Clean & Export stopped after %1 of %2 files").arg(successes + errors + leftOut).arg(total)
            : QStringLiteral("Clean & Export complete");
    const QString sentence = QStringLiteral("%1: %2 successful, %3 errors").arg(end).arg(successes).arg(errors);
    return leftOut == 0 ? sentence : QStringLiteral("%1, %2 left out as not sure").arg(sentence).arg(leftOut);
}

AlertRequest CleanCounts::alert(const QString& outputFolder, const QString& report) const {
    AlertRequest alert;
    alert.style = errors == 0 ? AlertRequest::Style::informational : AlertRequest::Style::warning;
    alert.title = stopped ? QStringLiteral("Clean & Export Stopped") : QStringLiteral("Clean & Export Complete");
    alert.text = QStringLiteral("%1 file(s) converted successfully").arg(successes);
    if (errors > 0) alert.text += QStringLiteral("\n%1 error(s) occurred").arg(errors);
    if (leftOut > 0) alert.text += QStringLiteral("\n%1 file(s) left out, as they are not sure").arg(leftOut);
    if (!report.isEmpty()) alert.text += QStringLiteral("\n\nCSV report saved: ") + paths::lastComponent(report);
    alert.text += outputFolder.isEmpty() ? QStringLiteral("\n\nFiles saved next to source files")
                                         : QStringLiteral("\n\nSaved to:\n") + outputFolder;
    if (!outputFolder.isEmpty()) alert.buttons << QStringLiteral("Open Folder");
    alert.buttons << QStringLiteral("OK");
    return alert;
}

} // namespace ostrel
