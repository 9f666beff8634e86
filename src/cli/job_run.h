// One run of a job command, from its paths to its exit status: what all jobs do in the same way. A family of commands
// has a class below this one, which owns the controller and says what it takes in, does and shows.
#pragma once

#include "cli/command.h"
#include "cli/job_format.h"
#include "cli/terminal_desktop_services.h"
#include "custody/seal_run.h"
#include "foundation/logs/processing_log.h"
#include "foundation/records/engine_choice.h"
#include "foundation/records/record_list.h"
#include "platform/processes/stop_signals.h"

#include <QProperty>
#include <vector>

namespace ostrel::cli {

// The options that most jobs have.
struct JobOptions {
    TerminalOptions terminal;
    std::vector<std::string> paths;
    std::string output;
    std::string engine = "ffmpeg";
    bool noSubfolders = false;
    bool overwrite = false;
    bool csv = false;
    bool proof = false;
    bool seal = false;
    bool conformsHeaders = false;
    bool makesFiles = false; // and may be sealed
};

void addSubfoldersOption(CLI::App& command, JobOptions& options);
void addOverwriteOption(CLI::App& command, JobOptions& options);
void addEngineOption(CLI::App& command, JobOptions& options);
void addProofOption(CLI::App& command, JobOptions& options);
void addSealOption(CLI::App& command, JobOptions& options);
EngineChoice engineOf(const JobOptions& options);

class JobRun {
    StopSignals signals_; // first: a controller looks for the tools when it is made

public:
    virtual ~JobRun() = default;
    JobRun(const JobRun&) = delete;
    JobRun& operator=(const JobRun&) = delete;

    int run();

protected:
    // `job` is the command's name in the document. `options` outlive the run.
    JobRun(const JobOptions& options, std::string job);

    // The controller.
    virtual void stop() = 0;
    virtual const ExternalToolDetector& toolDetector() const = 0;
    virtual RecordList<ProcessingLogEntry>& log() = 0;

    // The phases of a run, in this order. A sentence is bad usage that only shows now, and ends it.
    virtual QString problem(const QStringList& paths);  // ahead of everything
    virtual bool requireTools();                        // says so where one is missing
    virtual QString take(const QStringList& paths) = 0; // options and sources go to the controller
    virtual void work(const QStringList& paths) = 0;    // the job, until it has ended or was stopped
    virtual void printResult() {}                       // what the text form shows at its end, besides the log
    virtual void fill(nlohmann::json& document) const = 0;

    virtual JobCounts counts() const = 0;
    virtual std::vector<ItemOutcome> outcomes() const { return {}; } // of the items that a run took
    // Whether recordings that are there already get other bytes.
    virtual bool changesRecordings() const { return options_.overwrite; }
    // Whether sources are moved or deleted behind a success.
    virtual bool takesSourcesAway() const { return false; }
    virtual QString reportPath() const = 0; // of the CSV report; empty: none
    // Whether an error of the log makes the run a failed one, for those that no item tells of.
    virtual bool isFailure(LogCategory) const { return false; }
    virtual bool hasFailed() const { return logTellsFailure_ || counts().errors > 0; }

    bool isStopped() const { return signals_.happened(); }
    QString output() const { return paths::absolute(QString::fromStdString(options_.output)); }
    QString outputProblem() const; // a file stands where the folder would

    template <class Value, class Show>
    void watch(QProperty<Value>& property, Show show) {
        watches_.push_back(property.addNotifier(std::move(show)));
    }

    const JobOptions& options_;
    Terminal terminal_;
    TerminalDesktopServices desktop_;

private:
    void followLog();
    void tellSealedFolders(const QStringList& paths); // ahead of the work
    void seal();                                      // behind it
    CustodyWatch sealWatch(bool heedsStop);
    QStringList usedTools() const;

    const std::string job_;
    std::vector<QPropertyNotifier> watches_;
    bool logTellsFailure_ = false;
    std::vector<RunSeal> seals_;
};

} // namespace ostrel::cli
