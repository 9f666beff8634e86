#include "interleaver/interleaver_run.h"

#include "interleaver/deinterleave_job.h"
#include "interleaver/interleave_job.h"
#include "platform/files/files.h"
#include "platform/paths.h"

#include <algorithm>

namespace ostrel {
namespace {

// What jobs of earlier runs made in folders of their own is no recording of the selection. The folder that was selected
// may lie in such a one: its own files are recordings.
bool isOutputOfOurs(const QString& file, const QString& selected) {
    const QStringView below = QStringView(file).mid(selected.size());
    return below.contains(u"/Interleaved/") || below.contains(u"/De-interleaved/");
}

QStringList filesOf(const QStringList& selection, bool recursive) {
    QStringList result;
    for (const QString& item : selection) {
        if (!paths::isFolder(item)) {
            result << item;
        } else if (const auto listing = files::list(item, recursive, {}, files::HiddenEntries::included)) {
            for (const QString& file : listing->files) {
                if (!isOutputOfOurs(file, item)) result << file;
            }
        }
    }
    return result;
}

QString nameOf(const InterleaveGroup& group) { return group.baseName; }
QString nameOf(const MultiChannelSource& source) { return paths::lastComponent(source.sourceURL); }

// The rows that a run takes, in list order.
template <class Rows>
std::vector<std::size_t> processableRows(const Rows& rows) {
    std::vector<std::size_t> result;
    for (std::size_t row = 0; row < rows.size(); ++row) {
        if (rows[row].include && rows[row].status.isProcessable()) result.push_back(row);
    }
    return result;
}

template <class Rows, class OutputsOf>
std::vector<QString> foreseen(const Rows& rows, const QStringList& sources, OutputsOf outputsOf) {
    std::vector<QStringList> outputs;
    for (const auto& row : rows) {
        const bool isTaken = row.include && row.status.isProcessable();
        outputs.push_back(isTaken ? outputsOf(row) : QStringList());
    }
    return RunLedger(sources).foresee(outputs);
}

template <class Job, class Rows>
QCoro::Task<> carryOutRows(std::shared_ptr<InterleaverRun> run, Rows& rows, QObject* owner,
                           InterleaverRun::Hooks hooks) {
    const std::vector<std::size_t> taken = processableRows(rows);
    for (std::size_t position = 0; position < taken.size() && !run->handle.isCancelled(); ++position) {
        const std::size_t row = taken[position];
        const auto item = rows[row];
        hooks.onBegin(row, item.id, nameOf(item));
        const MainThreadHop hop(owner);
        const auto onStatus = [hop, row, tell = hooks.onStatus](const QUuid& id, const ProcessingStatus& status) {
            hop([tell, row, id, status] { tell(row, id, status); });
        };
        const auto work = [run, item, onStatus] { return Job(run->context, item, onStatus).run(); };
        const ItemReport report = co_await inBackground(owner, work);
        rows[row].status = report.outcome.status;
        rows[row].outcome = report.outcome;
        hooks.onEnd(row, item.id, report);
        if (!run->handle.isCancelled()) {
            hooks.onProgress(static_cast<double>(position + 1) / static_cast<double>(taken.size()));
        }
    }
}

template <class Rows>
InterleaverReport countsOf(const Rows& rows) {
    const auto count = [&](auto matches) { return static_cast<int>(std::count_if(rows.begin(), rows.end(), matches)); };
    InterleaverReport report;
    report.total = static_cast<int>(rows.size());
    report.successes = count([](const auto& item) { return item.status.stands(); });
    report.skipped = count(isLeftOut<typename Rows::value_type>);
    report.errors = count(hasFailed<typename Rows::value_type>);
    return report;
}

} // namespace

InterleaverRun::InterleaverRun(AppMode runMode)
    : mode(runMode),
      context(runMode == AppMode::interleave ? QStringLiteral("interleave") : QStringLiteral("deinterleave")) {}

QString InterleaverRun::outputOf(const InterleaveGroup& group) const { return InterleaveJob::outputOf(group, context); }

QStringList InterleaverRun::sourceFiles() const {
    QStringList files;
    for (const InterleaveGroup& group : groups) files << group.channelFiles.values();
    for (const MultiChannelSource& source : sources) files << source.sourceURL;
    return files;
}

std::vector<QString> InterleaverRun::foreseenOfGroups() const {
    return foreseen(groups, sourceFiles(),
                    [this](const InterleaveGroup& group) { return QStringList(outputOf(group)); });
}

std::vector<QString> InterleaverRun::foreseenOfSources() const {
    const QString separator = rawText(context.options.channelSeparator);
    return foreseen(sources, sourceFiles(), [&](const MultiChannelSource& source) {
        const QString format = source.outputFormat(context.options.outputFormatPolicy);
        return source.outputURLs(separator, context.outputFolder, format).values();
    });
}

QCoro::Task<> InterleaverRun::carryOut(std::shared_ptr<InterleaverRun> run, QObject* owner, Hooks hooks) {
    const auto openLedger = [run] {
        const QStringList selection = filesOf(run->context.selection, run->context.options.includeSubfolders);
        run->context.ledger = std::make_unique<RunLedger>(run->sourceFiles(), selection);
    };
    co_await inBackground(owner, openLedger);
    if (run->mode == AppMode::interleave) {
        co_await carryOutRows<InterleaveJob>(run, run->groups, owner, hooks);
    } else {
        co_await carryOutRows<DeinterleaveJob>(run, run->sources, owner, hooks);
    }
    if (run->context.metadataEngine) run->context.metadataEngine->cleanup();
}

InterleaverReport InterleaverRun::report() const {
    InterleaverReport report = mode == AppMode::interleave ? countsOf(groups) : countsOf(sources);
    report.mode = mode;
    report.sourcePath = sourceFolder;
    report.customFolder = context.outputFolder;
    report.layout = context.layout;
    report.options = context.options;
    return report;
}

ReportTable InterleaverRun::table() const {
    const bool proves = context.options.proves;
    return mode == AppMode::interleave ? interleaveTable(groups, context.layout, proves)
                                       : deinterleaveTable(sources, proves);
}

} // namespace ostrel
