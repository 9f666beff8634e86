#include "cli/delivery/fix_run.h"

#include "cli/job_format.h"
#include "custody/seal_renewal.h"

#include <algorithm>

namespace ostrel::cli {
namespace {

nlohmann::json documentOf(const FixedRecording& fixed) {
    nlohmann::json list = nlohmann::json::array();
    for (const HeaderFix& fix : fixed.plan.fixes) {
        list.push_back({{"id", fix.rule->id},
                        {"field", jsonText(fix.field)},
                        {"before", jsonText(fix.before)},
                        {"after", jsonText(fix.after)}});
    }
    nlohmann::json entry{{"path", jsonText(fixed.path)},
                         {"fixes", list},
                         {"left", jsonList(fixed.plan.left)},
                         {"status", jsonText(fixed.status)}};
    if (!fixed.output.isEmpty()) entry["output"] = jsonText(fixed.output);
    if (fixed.hasFailed) entry["error"] = jsonText(fixed.error);
    return entry;
}

void tell(const FixedRecording& fixed, Terminal& terminal) {
    for (const QString& sentence : fixed.remarks) terminal.error(sentence);
    if (fixed.plan.fixes.empty() && fixed.plan.left.isEmpty()) return;
    terminal.line(QStringLiteral("%1  %2").arg(fixed.path, fixed.status));
    for (const HeaderFix& fix : fixed.plan.fixes) {
        terminal.line(QStringLiteral("  %1: %2 -> %3").arg(fix.field, fix.before, fix.after));
    }
    for (const QString& sentence : fixed.plan.left) terminal.line(QStringLiteral("  ") + sentence);
    if (fixed.hasFailed) terminal.error(fixed.error);
}

// Whether each sealed folder has a generation of what was corrected in it.
bool tellRenewals(const std::vector<RunSeal>& seals, Terminal& terminal) {
    for (const RunSeal& seal : seals) tellSealFaults(terminal, seal);
    tellSeals(terminal, seals);
    return std::all_of(seals.begin(), seals.end(), [](const RunSeal& seal) { return seal.isWhole(); });
}

} // namespace

bool fixRecordings(const QStringList& recordings, const FixOptions& options, Terminal& terminal,
                   const std::function<bool()>& isStopped) {
    FixRun run(recordings, options);
    nlohmann::json files = nlohmann::json::array();
    bool isWhole = true;
    QStringList corrected;
    for (const QString& recording : recordings) {
        if (isStopped()) break;
        const FixedRecording fixed = run.take(recording);
        tell(fixed, terminal);
        files.push_back(documentOf(fixed));
        if (fixed.isCorrected) corrected << fixed.path;
        isWhole = isWhole && !fixed.hasFailed;
    }
    const std::vector<RunSeal> seals = renewSeals(QStringLiteral("check --fix"), corrected);
    isWhole = tellRenewals(seals, terminal) && isWhole;
    if (terminal.isJson()) {
        nlohmann::json document{{"files", std::move(files)}};
        if (!seals.empty()) document["seals"] = sealsDocument(seals);
        if (isStopped()) document["stopped"] = true;
        terminal.document(document);
    }
    return isWhole;
}

} // namespace ostrel::cli
