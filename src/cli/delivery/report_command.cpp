// report: the sound report of a folder.
#include "cli/command.h"
#include "cli/commands.h"
#include "delivery/report/sound_report.h"
#include "foundation/run/recording_list.h"
#include "platform/files/files.h"
#include "platform/parallel.h"
#include "platform/processes/stop_signals.h"

#include <algorithm>
#include <cstdio>

namespace ostrel::cli {
namespace {

struct ReportOptions {
    TerminalOptions terminal;
    std::vector<std::string> paths;
    std::vector<std::string> fields;
    std::string output;
    std::string rate;
    bool csv = false;
    bool html = false;
    bool ale = false;
    bool overwrite = false;
    bool noSubfolders = false;
};

class ReportRun {
public:
    explicit ReportRun(const ReportOptions& options) : options_(options), terminal_(options.terminal) {}

    int run() {
        const std::optional<QStringList> paths = existingPaths(options_.paths, terminal_);
        if (!paths || !isOutputWellNamed()) return badUsage;
        const CollectedRecordings found = collectRecordings(*paths, !options_.noSubfolders, waveFileExtensions());
        for (const QString& sentence : found.remarks + found.unopened) terminal_.error(sentence);
        std::vector<RecordingFacts> files(static_cast<std::size_t>(found.files.size()));
        forEachInParallel(files.size(), [&](std::size_t i) {
            if (!signals_.happened()) files[i] = readRecordingFacts(found.files[static_cast<qsizetype>(i)]);
        });
        if (signals_.happened()) return signals_.exitStatus(); // a report of half of a day is none
        bool isWhole = found.unopened.isEmpty();
        for (const RecordingFacts& file : files) {
            if (file.fault.isEmpty()) continue;
            terminal_.error(file.path + QStringLiteral(": ") + file.fault);
            isWhole = false;
        }
        SoundReport report = soundReportOf(files);
        if (!setFields(report.header)) return badUsage;
        if (report.takes.empty()) {
            terminal_.error(QStringLiteral("no recordings found"));
            return someItemFailed;
        }
        const std::optional<QString> text = textOf(report);
        return text && deliver(*text) && isWhole ? allDone : someItemFailed;
    }

private:
    QString output() const { return paths::absolute(QString::fromStdString(options_.output)); }
    const char* ending() const { return options_.html ? "html" : options_.ale ? "ale" : "csv"; }

    // With --overwrite a slip of the hand must not cost a recording.
    bool isOutputWellNamed() {
        if (options_.output.empty()) return true;
        if (paths::lowerExtension(output()) == QLatin1String(ending()) && !paths::isFolder(output())) return true;
        terminal_.error(
            QStringLiteral("the report needs a name that ends with .%1: %2").arg(QLatin1String(ending()), output()));
        return false;
    }

    bool setFields(ReportHeader& header) {
        for (const std::string& field : options_.fields) {
            const QString text = QString::fromStdString(field);
            const qsizetype sign = text.indexOf(u'=');
            if (sign > 0 && header.set(text.first(sign).trimmed(), text.mid(sign + 1).trimmed())) continue;
            terminal_.error(QStringLiteral("no field of a report: %1; these are: %2")
                                .arg(text, ReportHeader::names().join(QStringLiteral(", "))));
            return false;
        }
        return true;
    }

    std::optional<QString> textOf(const SoundReport& report) {
        if (options_.html) return reportAsHtml(report);
        return options_.ale ? aleOf(report) : std::optional(reportAsCsv(report));
    }

    // A file has room for one rate.
    std::optional<QString> aleOf(const SoundReport& report) {
        std::vector<TimecodeRate> rates = ratesOf(report);
        QStringList names;
        for (const TimecodeRate& rate : rates) names << rate.name();
        if (!options_.rate.empty()) {
            const auto wanted = TimecodeRate::of(QString::fromStdString(options_.rate));
            std::erase_if(rates, [&](const TimecodeRate& rate) { return rate != wanted; });
        }
        if (rates.size() != 1) {
            terminal_.error(names.isEmpty()
                                ? QStringLiteral("no take has a timecode")
                                : QStringLiteral("an ALE file has room for one rate; choose one by --rate: ") +
                                      names.join(QStringLiteral(", ")));
            return std::nullopt;
        }
        for (const ReportedTake& take : report.takes) {
            if (take.start && take.start->rate == rates.front()) continue;
            terminal_.error(
                QStringLiteral("left out, for it has %1: %2")
                    .arg(take.start ? QStringLiteral("another rate") : QStringLiteral("no timecode"), take.name));
        }
        return reportAsAle(report, rates.front());
    }

    bool deliver(const QString& text) {
        if (options_.output.empty()) {
            const QByteArray bytes = text.toUtf8();
            return std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stdout) ==
                       static_cast<std::size_t>(bytes.size()) &&
                   std::fflush(stdout) == 0;
        }
        if (paths::exists(output()) && !options_.overwrite) {
            terminal_.error(QStringLiteral("%1 is there already; --overwrite replaces it").arg(output()));
            return false;
        }
        try {
            files::writeAtomically(output(), text.toUtf8());
        } catch (const FileError& error) {
            terminal_.error(error.description);
            return false;
        }
        terminal_.line(QStringLiteral("Report saved: ") + output());
        return true;
    }

    const StopSignals signals_{[] {}};
    const ReportOptions& options_;
    Terminal terminal_;
};

} // namespace

void addReportCommand(CLI::App& parser, ChosenCommand& chosen) {
    CLI::App* command = addSubcommand(
        parser, "report", "Write the sound report of a folder: as CSV, as a page to print, or as Avid Log Exchange",
        "  ostrel-cli report --csv ~/Day1\n"
        "  ostrel-cli report --html --output day1.html --set \"Sound Mixer=A. Miller\" ~/Day1\n"
        "  ostrel-cli report --ale --rate 25 --output day1.ale ~/Day1");
    const auto options = std::make_shared<ReportOptions>();
    addPaths(*command, options->paths, "Folders of recordings, and WAV files");
    CLI::Option_group* form = command->add_option_group("form");
    form->add_flag("--csv", options->csv, "Comma-separated values, in the columns of field recorders' reports");
    form->add_flag("--html", options->html, "A page by itself, to print");
    form->add_flag("--ale", options->ale, "Avid Log Exchange, of takes with a timecode");
    form->require_option(1);
    command->add_option("--output", options->output, "The file (default: standard output)");
    command
        ->add_option("--set", options->fields, "NAME=VALUE of the head: Project, Director, \"Sound Mixer\", Roll ...")
        ->allow_extra_args(false);
    command->add_option("--rate", options->rate, "With --ale: the takes of this timecode rate (25, 29.97-DF)");
    command->add_flag("--overwrite", options->overwrite, "Replace a report that is there already");
    addSubfoldersOption(*command, options->noSubfolders);
    command->callback([options, &chosen] { chosen.run = [options] { return ReportRun(*options).run(); }; });
}

} // namespace ostrel::cli
