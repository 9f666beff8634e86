#include "polytools/edit/batch_edit.h"

#include "foundation/proof/output_proof.h"
#include "foundation/run/run_ledger.h"
#include "platform/files/files.h"
#include "platform/paths.h"
#include "polytools/edit/poly_channel_filter_engine.h"
#include "polytools/edit/track_rename.h"
#include "polytools/records/poly_track_reading.h"

#include <algorithm>

namespace ostrel {
namespace {

class BatchEdit {
public:
    BatchEdit(const BatchEditOptions& options, const PolyEngineTools& tools, const PolyEngineHooks& hooks)
        : options_(options), tools_(tools), hooks_(withLedger(hooks, options)), engine_(tools, hooks_),
          log_(hooks_, QStringLiteral("PolyToolsVM"), QString()) {}

    BatchSplitResult run(const std::function<void(const BatchProgress&)>& progress) {
        const int total = static_cast<int>(options_.files.size());
        const auto report = [&](int index, const QString& file, const QString& url) {
            const PolyFileResult ended = result_.fileResults.empty() ? PolyFileResult() : result_.fileResults.back();
            progress({index, total, file, result_.totalISOsCreated, result_.successCount, result_.errorCount,
                      result_.skipCount, url, ended.sourceURL, ended.outcome, ended.counts});
        };
        for (int i = 0; i < total && !hooks_.stopped(); ++i) {
            report(i + 1, paths::stem(options_.files[i]), options_.files[i]);
            editOne(options_.files[i]);
            ++result_.processedFiles;
        }
        report(total, QStringLiteral("Complete"), QString());
        result_.logMessages = log_.take();
        return std::move(result_);
    }

private:
    // Every file of the selection is a source: none is written over by the edit of another.
    static PolyEngineHooks withLedger(PolyEngineHooks hooks, const BatchEditOptions& options) {
        if (!hooks.ledger) hooks.ledger = std::make_shared<RunLedger>(options.files);
        return hooks;
    }

    void editOne(const QString& url) {
        PolyFileResult row;
        row.sourceURL = url;
        row.fileName = paths::lastComponent(url);
        try {
            row.poly = readPolyFile(url, tools_.ffprobePath, tools_.answers);
            row.channelCount = row.poly.channelCount;
        } catch (const std::exception& error) {
            log_.error(kProcess, QStringLiteral("❌ Failed to read: ") + row.fileName);
            fail(row, describe(error));
            return;
        }
        try {
            ChannelFilterResult edited =
                options_.inPlace ? renameTracksInPlace(row.poly, options_.renames, tools_, hooks_, options_.proves)
                                 : rebuild(row.poly);
            tellProof(row.fileName, edited.outcome, log_);
            succeed(row, edited);
        } catch (const ProofError& error) {
            row.outcome.proof = error.record;
            tellProof(row.fileName, row.outcome, log_);
            fail(row, describe(error));
        } catch (const std::exception& error) {
            const QString reason = describe(error);
            log_.error(kProcess, QStringLiteral("❌ Error processing %1: %2").arg(row.fileName, reason));
            fail(row, reason);
        }
    }

    ChannelFilterResult rebuild(const PolyFile& poly) {
        const QString folder = options_.outputFolder.isEmpty() ? paths::parent(poly.url) : options_.outputFolder;
        files::createFolder(folder);
        const QString name = options_.files.size() == 1 ? options_.customName : QString();
        return engine_.removeChannelsFromPoly(poly, options_.filter, folder, name, options_.renames, options_.reorder,
                                              existingOutputRule(options_.skipIfExists, options_.overwriteExisting),
                                              options_.proves, options_.conforms);
    }

    void succeed(PolyFileResult& row, const ChannelFilterResult& edited) {
        row.outcome = edited.outcome;
        row.resultChannels = edited.channelCount;
        row.trackNames = edited.trackNames;
        row.outcome.skipped() ? row.counts.skipped = 1 : row.counts.created = 1;
        row.outcome.skipped() ? ++result_.skipCount : ++result_.successCount;
        result_.fileResults.push_back(std::move(row));
    }

    void fail(PolyFileResult& row, const QString& reason) {
        ++result_.errorCount;
        const std::optional<ProofRecord> proof = row.outcome.proof;
        row.outcome = ItemOutcome::failure(reason, {row.sourceURL});
        row.outcome.proof = proof;
        row.counts.failed = 1;
        result_.fileResults.push_back(std::move(row));
    }

    const BatchEditOptions& options_;
    const PolyEngineTools& tools_;
    const PolyEngineHooks hooks_; // with the batch's ledger
    const PolyChannelFilterEngine engine_;
    EngineLog log_;
    BatchSplitResult result_;
};

} // namespace

BatchSplitResult batchEdit(const BatchEditOptions& options, const PolyEngineTools& tools, const PolyEngineHooks& hooks,
                           const std::function<void(const BatchProgress&)>& progress) {
    return BatchEdit(options, tools, hooks).run(progress);
}

} // namespace ostrel
