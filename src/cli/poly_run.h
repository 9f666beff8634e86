// One run of a Poly Tools command: the controller, followed on the terminal.
#pragma once

#include "cli/job_run.h"
#include "polytools/poly_tools_view_model.h"

namespace ostrel::cli {

class PolyRun : public JobRun {
protected:
    PolyRun(const JobOptions& options, PolyMode mode, const char* job);

    void stop() override { controller_.stopProcessing(); }
    const ExternalToolDetector& toolDetector() const override { return controller_.toolDetector(); }
    RecordList<ProcessingLogEntry>& log() override { return controller_.logEntries; }
    QString problem(const QStringList& paths) override;
    QString take(const QStringList& paths) override;
    JobCounts counts() const override;
    std::vector<ItemOutcome> outcomes() const override;
    QString reportPath() const override { return controller_.reportPath.value(); }
    // Lost metadata never fails an item.
    bool isFailure(LogCategory category) const override { return category != LogCategory::metadata; }

    void select(const QStringList& paths);
    void wait();
    // The folder that a batch writes into where none was given: the source folder, or that of the first file.
    QString defaultFolder(const QStringList& paths) const;

    nlohmann::json batchItems() const; // of `batchResults`

    PolyToolsViewModel controller_;

private:
    void followProgress();

    PolyMode mode_;
};

void addPolyOptions(CLI::App& command, JobOptions& options, const std::string& pathsDescription);

} // namespace ostrel::cli
