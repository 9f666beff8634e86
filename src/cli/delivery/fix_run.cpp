#include "cli/delivery/fix_run.h"

#include "delivery/header_fixes.h"
#include "platform/files/files.h"
#include "platform/paths.h"

namespace ostrel::cli {
namespace {

class FixRun {
public:
    FixRun(const QStringList& recordings, const FixOptions& options, Terminal& terminal)
        : options_(options), terminal_(terminal), ledger_(recordings) {}

    bool take(const QString& recording) {
        const std::optional<FileStamp> seen = FileStamp::of(recording);
        const HeaderFixes plan = planFixes(recording, options_.reader);
        nlohmann::json entry{
            {"path", jsonText(recording)}, {"fixes", fixesDocument(plan)}, {"left", jsonList(plan.left)}};
        QString status = QStringLiteral("nothing to correct");
        QString error;
        try {
            if (!plan.edits.empty() && seen) status = carryOut(recording, plan, *seen, entry);
        } catch (const FileError& failure) {
            status = QStringLiteral("failed");
            error = failure.description;
            entry["error"] = jsonText(error);
        }
        entry["status"] = jsonText(status);
        tell(recording, plan, status, error);
        files_.push_back(std::move(entry));
        return status != QStringLiteral("failed");
    }

    nlohmann::json document() const { return {{"files", files_}}; }

private:
    // The word of what happened.
    QString carryOut(const QString& recording, const HeaderFixes& plan, const FileStamp& seen, nlohmann::json& entry) {
        if (options_.dryRun) return QStringLiteral("would be corrected");
        if (options_.inPlace) {
            for (const QString& sentence : ledger_.prepareFolder(paths::parent(recording))) terminal_.error(sentence);
            fixInPlace(recording, plan, seen, journal_);
            return QStringLiteral("corrected");
        }
        const QString folder = options_.output.isEmpty()
                                   ? paths::append(paths::parent(recording), QStringLiteral("Corrected"))
                                   : options_.output;
        const QString output = paths::append(folder, paths::lastComponent(recording));
        for (const QString& sentence : ledger_.prepareFolder(folder)) terminal_.error(sentence);
        const WritePermission permission = ledger_.mayWrite(output, ExistingOutput::skipped);
        if (permission.kind == WritePermission::Kind::exists)
            return QStringLiteral("skipped: ") + output + QStringLiteral(" is there already");
        if (!permission.isGranted()) throw FileError(permission.reason);
        writeFixedCopy(recording, plan, output);
        ledger_.noteWritten(output);
        entry["output"] = jsonText(output);
        return QStringLiteral("corrected copy");
    }

    static nlohmann::json fixesDocument(const HeaderFixes& plan) {
        nlohmann::json list = nlohmann::json::array();
        for (const HeaderFix& fix : plan.fixes) {
            list.push_back({{"id", fix.rule->id},
                            {"field", jsonText(fix.field)},
                            {"before", jsonText(fix.before)},
                            {"after", jsonText(fix.after)}});
        }
        return list;
    }

    void tell(const QString& recording, const HeaderFixes& plan, const QString& status, const QString& error) {
        if (plan.fixes.empty() && plan.left.isEmpty()) return;
        terminal_.line(QStringLiteral("%1  %2").arg(recording, status));
        for (const HeaderFix& fix : plan.fixes) {
            terminal_.line(QStringLiteral("  %1: %2 -> %3").arg(fix.field, fix.before, fix.after));
        }
        for (const QString& sentence : plan.left) terminal_.line(QStringLiteral("  ") + sentence);
        if (!error.isEmpty()) terminal_.error(error);
    }

    const FixOptions& options_;
    Terminal& terminal_;
    RunLedger ledger_;
    Journal journal_{QStringLiteral("check --fix")};
    nlohmann::json files_ = nlohmann::json::array();
};

} // namespace

bool fixRecordings(const QStringList& recordings, const FixOptions& options, Terminal& terminal,
                   const std::function<bool()>& isStopped) {
    FixRun run(recordings, options, terminal);
    bool isWhole = true;
    for (const QString& recording : recordings) {
        if (isStopped()) break;
        isWhole = run.take(recording) && isWhole;
    }
    if (terminal.isJson()) {
        nlohmann::json document = run.document();
        if (isStopped()) document["stopped"] = true;
        terminal.document(document);
    }
    return isWhole;
}

} // namespace ostrel::cli
