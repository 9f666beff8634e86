// One run of a Poly Tools command: the controller, followed on the terminal.
#pragma once

#include "cli/command.h"
#include "cli/terminal_desktop_services.h"
#include "platform/processes/stop_signals.h"
#include "polytools/poly_tools_view_model.h"

#include <QPropertyNotifier>
#include <nlohmann/json.hpp>
#include <vector>

namespace ostrel::cli {

// The options that all of these commands have.
struct PolyOptions {
    TerminalOptions terminal;
    std::vector<std::string> paths;
    std::string output;
    bool noSubfolders = false;
    bool overwrite = false;
    bool csv = false;
};

class PolyRun {
    StopSignals signals_; // first: the tools are looked for below

public:
    PolyRun(const PolyOptions& options, PolyMode mode, const char* job);
    virtual ~PolyRun() = default;
    PolyRun(const PolyRun&) = delete;
    PolyRun& operator=(const PolyRun&) = delete;

    int run();

protected:
    // Bad usage that only shows now, as a sentence; empty: none.
    virtual QString problem(const QStringList& paths) const = 0;
    // With the source chosen: starts the job and waits for it.
    virtual void work(const QStringList& paths) = 0;
    virtual nlohmann::json items() const = 0;
    // What the text form shows at the end, besides the log.
    virtual void printResult() {}
    virtual void addToDocument(nlohmann::json&) const {}
    virtual bool needsBwfmetaedit() const { return false; }

    void select(const QStringList& paths);
    void wait();
    bool isStopped() const { return signals_.happened(); }
    QString output() const { return paths::absolute(QString::fromStdString(options_.output)); }
    // The folder that a batch writes into where none was given: the source folder, or that of the first file.
    QString defaultFolder(const QStringList& paths) const;

    nlohmann::json batchItems() const; // of `batchResults`

    const PolyOptions& options_;
    Terminal terminal_;
    TerminalDesktopServices desktop_;
    PolyToolsViewModel controller_;

private:
    void followController();
    nlohmann::json document() const;

    PolyMode mode_;
    const char* job_;
    std::vector<QPropertyNotifier> watches_;
    bool failed_ = false;
};

void addPolyOptions(CLI::App& command, PolyOptions& options, const std::string& pathsDescription);

} // namespace ostrel::cli
