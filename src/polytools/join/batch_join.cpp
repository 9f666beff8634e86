#include "polytools/join/batch_join.h"

#include "foundation/run/run_ledger.h"
#include "platform/paths.h"
#include "polytools/join/join_names.h"
#include "polytools/join/poly_join_engine.h"
#include "polytools/records/poly_names.h"

namespace ostrel {
namespace {

class BatchJoin {
public:
    BatchJoin(const PolyEngineTools& tools, const PolyEngineHooks& hooks, const std::vector<ISOGroupCandidate>& groups,
              const QString& outputFolder, const JoinOptions& options)
        : hooks_(withLedger(hooks, groups)), engine_(tools, hooks_), outputFolder_(outputFolder), options_(options),
          log_(hooks_, QStringLiteral("PolyJoinEngine"), QString()) {}

    BatchJoinResult run(const std::vector<ISOGroupCandidate>& groups,
                        const std::function<void(const BatchJoinProgress&)>& progress) {
        log_.debug(QStringLiteral("🔵 [BatchJoin] Starting batch join: %1 groups").arg(groups.size()));
        const auto report = [&](int index, const QString& group) {
            if (!progress) return;
            progress({index, static_cast<int>(groups.size()), group, result_.totalPolysCreated, result_.successCount,
                      result_.errorCount, result_.skipCount});
        };
        const auto names = joinNames(groups, outputFolder_, options_.keepOriginalName, *hooks_.ledger);
        for (std::size_t i = 0; i < groups.size() && !hooks_.stopped(); ++i) {
            const QString& name = names[i];
            report(static_cast<int>(i) + 1, name);
            joinOne(groups[i], name);
            append(result_.logMessages, log_.take());
            ++result_.processedGroups;
        }
        report(static_cast<int>(groups.size()), QStringLiteral("Complete"));
        log_.debug(QStringLiteral("✅ [BatchJoin] Batch complete: %1 groups → %2 polys created, %3 errors")
                       .arg(groups.size())
                       .arg(result_.totalPolysCreated)
                       .arg(result_.errorCount));
        return std::move(result_);
    }

private:
    // Every ISO of every group is a source: none becomes the poly of another group.
    static PolyEngineHooks withLedger(PolyEngineHooks hooks, const std::vector<ISOGroupCandidate>& groups) {
        QStringList sources;
        for (const ISOGroupCandidate& group : groups) sources << group.files();
        if (!hooks.ledger) hooks.ledger = std::make_shared<RunLedger>(sources);
        return hooks;
    }

    void joinOne(const ISOGroupCandidate& group, const QString& name) {
        const std::vector<ISOFile> isos = group.sortedISOs();
        GroupJoinResult row{group.id, name, static_cast<int>(isos.size())};
        row.outcome.sources = ItemOutcome::allKept(group.files());
        if (isos.size() < 2) {
            log_.debug(QStringLiteral("⚠️ [BatchJoin] Group '%1' has <2 files, skipping").arg(name));
            log_.warning(kProcess,
                         QStringLiteral("Group '%1' has only %2 file(s), need at least 2").arg(name).arg(isos.size()));
            row.outcome.message = QStringLiteral("need at least 2 files");
            row.outcome.status = ProcessingStatus::failed(row.outcome.message);
        } else {
            const QString own = groupOutputName(group, options_.keepOriginalName);
            if (own != name)
                log_.info(kProcess, QStringLiteral("The name %1.wav is taken, using %2.wav").arg(own, name));
            join(isos, row);
        }
        count(row.outcome);
        result_.groupResults.push_back(std::move(row));
    }

    void join(const std::vector<ISOFile>& isos, GroupJoinResult& row) {
        const QString output = paths::append(outputFolder_, polyFileName(row.outputName));
        if (!mayWrite(output, row)) return;
        JoinOptions options = options_;
        options.referenceISO = isos.front();
        row.isReported = true;
        try {
            JoinResult joined = engine_.join(isos, output, options);
            append(result_.logMessages, std::move(joined.logMessages));
            row.outcome = std::move(joined.outcome);
            if (row.outcome.failed()) {
                row.outcome.status = ProcessingStatus::failed(QStringLiteral("Join operation failed"));
            }
        } catch (const std::exception& error) {
            const QString reason = describe(error);
            log_.debug(QStringLiteral("❌ [BatchJoin] Error joining '%1': %2").arg(row.outputName, reason));
            log_.error(kProcess, QStringLiteral("Failed to join group '%1': %2").arg(row.outputName, reason));
            row.outcome.status = ProcessingStatus::failed(reason);
            row.outcome.message = reason;
        }
        if (row.outcome.succeeded()) {
            log_.debug(QStringLiteral("✅ [BatchJoin] Created: %1.wav (%2 channels)")
                           .arg(row.outputName)
                           .arg(row.channelCount));
        } else {
            log_.debug(QStringLiteral("❌ [BatchJoin] Failed: %1.wav").arg(row.outputName));
        }
    }

    bool mayWrite(const QString& output, GroupJoinResult& row) {
        const auto rule = existingOutputRule(options_.skipIfExists, options_.overwriteExisting);
        const WritePermission permission = hooks_.ledger->mayWrite(output, rule);
        const QString& name = row.outputName;
        if (permission.kind == WritePermission::Kind::exists) {
            log_.debug(QStringLiteral("⏭️ [BatchJoin] Skipping '%1' (exists)").arg(name));
            log_.info(kProcess, QStringLiteral("Skipped (exists): %1.wav").arg(name));
            row.outcome.message = QStringLiteral("exists");
            row.outcome.status = ProcessingStatus::skipped(row.outcome.message);
        } else if (!permission.isGranted()) {
            log_.debug(permission.kind == WritePermission::Kind::overwriteOff
                           ? QStringLiteral("❌ [BatchJoin] Output exists for '%1', overwrite disabled").arg(name)
                           : QStringLiteral("❌ [BatchJoin] ") + permission.reason);
            log_.error(kProcess, permission.reason);
            row.outcome.message = permission.reason;
            row.outcome.status = ProcessingStatus::failed(permission.reason);
        }
        return permission.isGranted();
    }

    void count(const ItemOutcome& outcome) {
        result_.successCount += outcome.succeeded() ? 1 : 0;
        result_.totalPolysCreated += outcome.succeeded() ? 1 : 0;
        result_.skipCount += outcome.skipped() ? 1 : 0;
        result_.errorCount += outcome.failed() ? 1 : 0;
    }

    PolyEngineHooks hooks_; // with the batch's ledger
    const PolyJoinEngine engine_;
    const QString outputFolder_;
    const JoinOptions& options_;
    EngineLog log_;
    BatchJoinResult result_;
};

} // namespace

BatchJoinResult batchJoin(const std::vector<ISOGroupCandidate>& groups, const QString& outputFolder,
                          const JoinOptions& options, const PolyEngineTools& tools, const PolyEngineHooks& hooks,
                          const std::function<void(const BatchJoinProgress&)>& progress) {
    return BatchJoin(tools, hooks, groups, outputFolder, options).run(groups, progress);
}

} // namespace ostrel
