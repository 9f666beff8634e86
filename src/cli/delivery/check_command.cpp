// check: what other people's programs will make of recordings, by a table of rules.
#include "cli/command.h"
#include "cli/commands.h"
#include "cli/delivery/fix_run.h"
#include "cli/job_format.h"
#include "delivery/check_run.h"
#include "foundation/run/recording_list.h"
#include "platform/processes/stop_signals.h"

#include <algorithm>
#include <array>

namespace ostrel::cli {
namespace {

struct CheckOptions {
    TerminalOptions terminal;
    std::vector<std::string> paths;
    std::string reader;
    std::string rate;
    bool csv = false;
    bool rules = false;
    bool noSubfolders = false;
    bool fix = false;
    bool inPlace = false;
    bool dryRun = false;
    std::string output;
};

constexpr std::array kReaders{Reader::avid, Reader::proTools, Reader::finalCut, Reader::archive};

Reader readerNamed(const std::string& word) {
    for (const Reader reader : kReaders) {
        if (wordOf(reader).toStdString() == word) return reader;
    }
    return Reader::anybody;
}

std::vector<std::string> readerWords() {
    std::vector<std::string> words;
    for (const Reader reader : kReaders) words.push_back(wordOf(reader).toStdString());
    return words;
}

class CheckRun {
public:
    CheckRun(const CheckOptions& options, std::optional<TimecodeRate> rate)
        : options_(options), terminal_(options.terminal), rules_{readerNamed(options.reader), rate} {}

    int run() {
        const std::optional<QStringList> paths = existingPaths(options_.paths, terminal_);
        if (!paths) return badUsage;
        collect(*paths);
        if (options_.fix) return fix(*paths);
        files_ = checkFiles(recordings_, rules_, {.tell = {}, .isStopped = [this] { return signals_.happened(); }});
        tell();
        if (signals_.happened()) return signals_.exitStatus();
        return hasFailed_ || count(Severity::error) > 0 ? someItemFailed : allDone;
    }

private:
    int fix(const QStringList& paths) {
        const QString output =
            options_.output.empty() ? QString() : paths::absolute(QString::fromStdString(options_.output));
        const QStringList places = output.isEmpty() ? paths : QStringList(output);
        const SealTouch touch = options_.inPlace ? SealTouch::changes : SealTouch::adds;
        if (!options_.dryRun) tellSealNotices(terminal_, places, touch);
        const bool isWhole =
            fixRecordings(recordings_, {readerNamed(options_.reader), output, options_.inPlace, options_.dryRun},
                          terminal_, [this] { return signals_.happened(); });
        if (signals_.happened()) return signals_.exitStatus();
        return isWhole && !hasFailed_ ? allDone : someItemFailed;
    }

    void collect(const QStringList& paths) {
        const Leftovers leftovers = options_.fix && !options_.dryRun ? Leftovers::cleared : Leftovers::left;
        const CollectedRecordings found = collectRecordings(paths, !options_.noSubfolders, waveFileExtensions(),
                                                            files::HiddenEntries::leftOut, leftovers);
        for (const QString& sentence : found.remarks + found.unopened) terminal_.error(sentence);
        hasFailed_ = !found.unopened.isEmpty();
        recordings_ = found.files;
        if (!recordings_.isEmpty()) return;
        terminal_.error(QStringLiteral("no recordings found"));
        hasFailed_ = true;
    }

    int count(Severity severity) const { return countOf(files_, severity); }

    void tell() {
        if (terminal_.isJson()) {
            terminal_.document(document());
        } else if (options_.csv) {
            for (const QString& line : findingsAsCsv(files_)) terminal_.line(line);
        } else {
            tellText();
        }
    }

    void tellText() {
        for (const CheckedFile& file : files_) {
            if (file.findings.empty()) continue;
            terminal_.line(file.path);
            for (const Finding& each : file.findings) {
                QString line = QStringLiteral("  %1  %2  %3")
                                   .arg(wordOf(each.rule->severity), -7)
                                   .arg(QString::fromLatin1(each.rule->id), QString::fromUtf8(each.rule->says));
                if (!each.found.isEmpty())
                    line +=
                        QStringLiteral(" [%1: %2").arg(each.field, each.found) +
                        (each.expected.isEmpty() ? QString() : QStringLiteral("; should be %1").arg(each.expected)) +
                        u']';
                terminal_.line(line);
            }
        }
        terminal_.line(QStringLiteral("%1 files, %2 errors, %3 warnings, %4 notes")
                           .arg(files_.size())
                           .arg(count(Severity::error))
                           .arg(count(Severity::warning))
                           .arg(count(Severity::note)));
    }

    nlohmann::json document() const {
        nlohmann::json files = nlohmann::json::array();
        for (const CheckedFile& file : files_) {
            if (!file.isDone) continue;
            nlohmann::json findings = nlohmann::json::array();
            for (const Finding& each : file.findings) {
                findings.push_back({{"id", each.rule->id},
                                    {"severity", jsonText(wordOf(each.rule->severity))},
                                    {"field", jsonText(each.field)},
                                    {"found", jsonTextOrNull(each.found)},
                                    {"expected", jsonTextOrNull(each.expected)},
                                    {"says", each.rule->says},
                                    {"source", each.rule->source}});
            }
            files.push_back({{"path", jsonText(file.path)}, {"findings", std::move(findings)}});
        }
        nlohmann::json result{{"files", std::move(files)},
                              {"errors", count(Severity::error)},
                              {"warnings", count(Severity::warning)},
                              {"notes", count(Severity::note)}};
        if (signals_.happened()) result["stopped"] = true;
        return result;
    }

    const StopSignals signals_{[] {}}; // asked ahead of every file
    const CheckOptions& options_;
    Terminal terminal_;
    const DeliveryCheckOptions rules_;
    QStringList recordings_;
    std::vector<CheckedFile> files_;
    bool hasFailed_ = false;
};

int runCheck(const CheckOptions& options) {
    Terminal terminal(options.terminal);
    if (options.rules) {
        terminal.line(rulesAsMarkdown().chopped(1));
        return allDone;
    }
    std::optional<TimecodeRate> rate;
    if (!options.rate.empty()) {
        rate = TimecodeRate::of(QString::fromStdString(options.rate));
        if (!rate) {
            terminal.error(QStringLiteral("no timecode rate: ") + QString::fromStdString(options.rate));
            return badUsage;
        }
    }
    return CheckRun(options, rate).run();
}

} // namespace

void addCheckCommand(CLI::App& parser, ChosenCommand& chosen) {
    CLI::App* command = addSubcommand(
        parser, "check", "Look for what the cutting room will stumble over: bext, iXML, fmt, names and their agreement",
        "  ostrel-cli check ~/Day1\n"
        "  ostrel-cli check --for avid --json ~/Day1\n"
        "  ostrel-cli check --for fcp --rate 25 ~/Day1");
    const auto options = std::make_shared<CheckOptions>();
    CLI::Option* paths = command->add_option("PATH", options->paths, "WAV files, and folders of them");
    command->add_option("--for", options->reader, "Rules of this reader too: avid, protools, fcp, archive")
        ->check(CLI::IsMember(readerWords()));
    command->add_option("--rate", options->rate,
                        "The project's timecode rate (23.976, 25, 29.97-DF); default: that of most files");
    command->add_flag("--csv", options->csv, "A line of comma-separated values for each finding");
    addSubfoldersOption(*command, options->noSubfolders);
    CLI::Option* rules =
        command->add_flag("--rules", options->rules, "Print all rules as a page of Markdown, and look at nothing");
    CLI::Option* fix = command->add_flag("--fix", options->fix,
                                         "Write corrected copies into a folder \"Corrected\" beside each recording, "
                                         "where a rule has one right answer");
    CLI::Option* output = command->add_option("--output", options->output, "With --fix: the folder of the copies");
    command->add_flag("--in-place", options->inPlace, "With --fix: correct the recordings themselves")
        ->needs(fix)
        ->excludes(output);
    command->add_flag("--dry-run", options->dryRun, "With --fix: tell each change, and write nothing")->needs(fix);
    output->needs(fix);
    addTerminalOptions(*command, options->terminal);
    command->callback([options, paths, rules, &chosen] {
        if (rules->count() == 0 && paths->count() == 0) throw CLI::RequiredError("PATH");
        chosen.run = [options] { return runCheck(*options); };
    });
}

} // namespace ostrel::cli
