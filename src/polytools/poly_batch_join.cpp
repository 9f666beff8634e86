// The batch layer of the join: one poly a group.
#include "platform/paths.h"
#include "polytools/poly_join_engine.h"

namespace ostrel {
namespace {

constexpr LogCategory kProcess = LogCategory::process;

class BatchJoin {
public:
    BatchJoin(const PolyJoinEngine& engine, const PolyEngineHooks& hooks, const QString& outputFolder,
              const JoinOptions& options)
        : engine_(engine), hooks_(hooks), outputFolder_(outputFolder), options_(options),
          log_(hooks, QStringLiteral("PolyJoinEngine"), QString()) {}

    BatchJoinResult run(const std::vector<ISOGroupCandidate>& groups, const PolyJoinEngine::OnBatchProgress& progress) {
        log_.debug(QStringLiteral("🔵 [BatchJoin] Starting batch join: %1 groups").arg(groups.size()));
        const auto report = [&](int index, const QString& group) {
            if (!progress) return;
            progress({index, static_cast<int>(groups.size()), group, result_.totalPolysCreated, result_.successCount,
                      result_.errorCount, result_.skipCount});
        };
        for (std::size_t i = 0; i < groups.size() && !hooks_.stopped(); ++i) {
            const QString name = groupOutputName(groups[i], options_.keepOriginalName);
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
    void joinOne(const ISOGroupCandidate& group, const QString& name) {
        const std::vector<ISOFile> isos = group.sortedISOs();
        if (isos.size() < 2) {
            log_.debug(QStringLiteral("⚠️ [BatchJoin] Group '%1' has <2 files, skipping").arg(name));
            log_.warning(kProcess,
                         QStringLiteral("Group '%1' has only %2 file(s), need at least 2").arg(name).arg(isos.size()));
            ++result_.errorCount;
            return;
        }
        const QString output = paths::append(outputFolder_, name + QStringLiteral(".wav"));
        if (!mayWrite(output, name)) return;

        GroupJoinResult row{group.id, name, static_cast<int>(isos.size())};
        JoinOptions options = options_;
        options.referenceISO = isos.front();
        try {
            JoinResult joined = engine_.join(isos, output, options);
            append(result_.logMessages, std::move(joined.logMessages));
            joined.success ? succeed(row, output) : fail(row, QStringLiteral("Join operation failed"));
        } catch (const std::exception& error) {
            const QString reason = describe(error);
            log_.debug(QStringLiteral("❌ [BatchJoin] Error joining '%1': %2").arg(name, reason));
            log_.error(kProcess, QStringLiteral("Failed to join group '%1': %2").arg(name, reason));
            fail(row, reason);
        }
        result_.groupResults.push_back(std::move(row));
    }

    bool mayWrite(const QString& output, const QString& name) {
        if (!paths::exists(output)) return true;
        if (options_.skipIfExists) {
            log_.debug(QStringLiteral("⏭️ [BatchJoin] Skipping '%1' (exists)").arg(name));
            log_.info(kProcess, QStringLiteral("Skipped (exists): %1.wav").arg(name));
            ++result_.skipCount;
            return false;
        }
        // Two groups of one name: overwriting is for what earlier runs left, not for the poly made a moment ago.
        if (options_.overwriteExisting && !madeHere_.contains(output)) return true;
        log_.debug(QStringLiteral("❌ [BatchJoin] Output exists for '%1', overwrite disabled").arg(name));
        log_.error(kProcess, QStringLiteral("Output exists, overwrite disabled: %1.wav").arg(name));
        ++result_.errorCount;
        return false;
    }

    void succeed(GroupJoinResult& row, const QString& output) {
        log_.debug(
            QStringLiteral("✅ [BatchJoin] Created: %1.wav (%2 channels)").arg(row.outputName).arg(row.channelCount));
        row.status = ProcessingStatus::completed();
        row.outputURL = output;
        madeHere_.insert(output);
        ++result_.successCount;
        ++result_.totalPolysCreated;
    }

    void fail(GroupJoinResult& row, const QString& reason) {
        log_.debug(QStringLiteral("❌ [BatchJoin] Failed: %1.wav").arg(row.outputName));
        row.status = ProcessingStatus::failed(reason);
        row.errorMessage = reason;
        ++result_.errorCount;
    }

    const PolyJoinEngine& engine_;
    const PolyEngineHooks& hooks_;
    const QString outputFolder_;
    const JoinOptions& options_;
    QSet<QString> madeHere_;
    EngineLog log_;
    BatchJoinResult result_;
};

} // namespace

QString safeFileName(const QString& name) {
    QString result = name;
    result.replace(u'/', u'-').remove(QChar(u'\0'));
    if (result.startsWith(u'.')) result[0] = u'-';
    return result;
}

QString groupOutputName(const ISOGroupCandidate& group, bool keepOriginalName) {
    QString name = group.suggestedOutputName();
    if (keepOriginalName && name.endsWith(QStringLiteral("_poly"))) name.chop(5);
    return safeFileName(name);
}

BatchJoinResult PolyJoinEngine::batchJoin(const std::vector<ISOGroupCandidate>& groups, const QString& outputFolder,
                                          const JoinOptions& options, const OnBatchProgress& progress) const {
    return BatchJoin(*this, hooks_, outputFolder, options).run(groups, progress);
}

} // namespace ostrel
