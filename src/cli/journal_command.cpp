// journal: what earlier runs moved, deleted and replaced, and moves taken back.
#include "cli/command.h"
#include "cli/commands.h"
#include "foundation/run/source_steps.h"
#include "platform/files/files.h"

#include <map>

namespace ostrel::cli {
namespace {

struct JournalOptions {
    TerminalOptions terminal;
    std::string run;
};

// Steps of one run stand together, runs in the order in which they began.
std::vector<std::pair<QString, std::vector<JournalStep>>> byRun(const std::vector<JournalStep>& steps) {
    std::vector<std::pair<QString, std::vector<JournalStep>>> runs;
    std::map<QString, std::size_t> places;
    for (const JournalStep& step : steps) {
        const auto [place, isNew] = places.emplace(step.run, runs.size());
        if (isNew) runs.push_back({step.run, {}});
        runs[place->second].second.push_back(step);
    }
    return runs;
}

nlohmann::json stepDocument(const JournalStep& step) {
    return {{"operation", jsonText(rawText(step.operation))},
            {"state", jsonText(rawText(step.state))},
            {"from", jsonText(step.from)},
            {"to", jsonTextOrNull(step.to)},
            {"time", jsonText(step.begunAt.toString(Qt::ISODateWithMs))},
            {"detail", jsonTextOrNull(step.detail)}};
}

QString stepLine(const JournalStep& step) {
    QString line =
        QStringLiteral("  %1 %2  %3").arg(rawText(step.operation), -7).arg(rawText(step.state), -6).arg(step.from);
    if (!step.to.isEmpty() && step.to != step.from) line += QStringLiteral(" → ") + step.to;
    return step.detail.isEmpty() ? line : line + QStringLiteral("  (%1)").arg(step.detail);
}

int list(const JournalOptions& options) {
    Terminal terminal(options.terminal);
    const auto runs = byRun(Journal::read());
    nlohmann::json document = nlohmann::json::array();
    for (const auto& [run, steps] : runs) {
        nlohmann::json stepDocuments = nlohmann::json::array();
        terminal.line(QStringLiteral("%1  %2  %3")
                          .arg(run, steps.front().job,
                               steps.front().begunAt.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"))));
        for (const JournalStep& step : steps) {
            stepDocuments.push_back(stepDocument(step));
            terminal.line(stepLine(step));
        }
        document.push_back({{"run", jsonText(run)}, {"job", jsonText(steps.front().job)}, {"steps", stepDocuments}});
    }
    if (runs.empty()) terminal.line(QStringLiteral("No source was moved, deleted or replaced yet."));
    if (terminal.isJson()) terminal.document({{"journal", jsonText(Journal::path())}, {"runs", document}});
    return allDone;
}

int undo(const JournalOptions& options) {
    Terminal terminal(options.terminal);
    const QString run = QString::fromStdString(options.run);
    const std::vector<JournalStep> steps = Journal::read();
    if (std::none_of(steps.begin(), steps.end(), [&](const JournalStep& step) { return step.run == run; })) {
        terminal.error(QStringLiteral("the journal has no run %1; \"ostrel-cli journal\" lists them").arg(run));
        return badUsage;
    }
    const UndoResult result = undoMoves(run);
    nlohmann::json undone = nlohmann::json::array();
    for (const SourceFate& fate : result.undone) {
        undone.push_back({{"from", jsonText(fate.movedTo)}, {"to", jsonText(fate.source)}});
        terminal.line(QStringLiteral("moved back: ") + fate.source);
    }
    for (const QString& failure : result.failures) terminal.error(failure);
    if (result.undone.empty() && result.failures.isEmpty()) terminal.line(QStringLiteral("Nothing to take back."));
    if (terminal.isJson()) {
        terminal.document({{"run", jsonText(run)}, {"undone", undone}, {"failures", jsonList(result.failures)}});
    }
    return result.failures.isEmpty() ? allDone : someItemFailed;
}

// A journal that can't be read is told and is no crash.
int guarded(const JournalOptions& options, int (*action)(const JournalOptions&)) {
    try {
        return action(options);
    } catch (const FileError& error) {
        Terminal(options.terminal).error(error.description);
        return someItemFailed;
    }
}

} // namespace

void addJournalCommand(CLI::App& parser, ChosenCommand& chosen) {
    CLI::App* command =
        addSubcommand(parser, "journal", "Show what runs moved, deleted and replaced, and take moves back",
                      "  ostrel-cli journal\n  ostrel-cli journal undo 20260314-092653-1a2b");
    const auto options = std::make_shared<JournalOptions>();
    addTerminalOptions(*command, options->terminal);
    CLI::App* undoCommand = addSubcommand(*command, "undo", "Move the files of a run back to where they were",
                                          "  ostrel-cli journal undo 20260314-092653-1a2b");
    undoCommand->add_option("RUN", options->run, "The run, as the journal lists it")->required();
    addTerminalOptions(*undoCommand, options->terminal);
    command->callback([=, &chosen] {
        const bool undoes = undoCommand->parsed();
        chosen.run = [=] { return guarded(*options, undoes ? &undo : &list); };
    });
}

} // namespace ostrel::cli
