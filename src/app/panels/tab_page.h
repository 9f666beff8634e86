// What the window asks of a tab: the shell decides which tab gets a command, the tab what its controller does with it.
#pragma once

#include "app/panels/proven_run.h"
#include "demo/demo_folder.h"
#include "foundation/logs/processing_log.h"

#include <QStringList>
#include <QWidget>

namespace ostrel {

class TabPage : public QWidget {
    Q_OBJECT

public:
    using QWidget::QWidget;

    virtual void selectInput() = 0;
    virtual void selectOutput() = 0;
    virtual void scan() = 0;                  // or analyse
    virtual void run() = 0;                   // or export
    virtual void setModeIndex(int index) = 0; // of the tab's modes, from 0; a mode that it lacks does nothing
    virtual void acceptDrop(const QStringList& urls) = 0; // local paths, at least one

    virtual bool isPreviewReady() const { return false; }
    virtual void togglePreview() {}
    virtual void skipPreview(double /*seconds*/) {}
    virtual void shuttlePreview(int /*direction*/) {} // -1 backwards, 0 pause, 1 forwards
    virtual void leave() {}                           // another tab is shown from now on

    virtual bool isRunningJob() const { return false; }   // or a scan
    virtual bool hasRunningTask() const { return false; } // a job, or the end of one that was stopped
    virtual void stop() {}                                // before the job's next item

    virtual ProvenRun provenRun() const { return {}; } // the last one, as far as it is still shown

    // The recordings of its table, each once; empty where none are listed.
    virtual QStringList listedRecordings() const { return {}; }
    virtual QString sourcePath() const { return {}; }   // that is chosen: a folder, or the first of several files
    virtual QString outputFolder() const { return {}; } // empty: each file goes beside its source

    // Into the tab's log.
    virtual void note(LogLevel /*level*/, const QString& /*message*/) {}

    // The widget that a person works in first.
    virtual QWidget* firstFocus() { return this; }

Q_SIGNALS:
    // A job began or ended; `outcome` is the log's last word on it.
    void busyChanged(bool isBusy, const QString& outcome);
    // The recordings that it lists are to be looked at (`listedRecordings`).
    void checkRequested();
    // Somebody has no recordings at hand.
    void demoRequested(ostrel::DemoKind kind);
    // A tool that was missing may be there by now.
    void toolsRequested();
    // How far the job is, 0 to 1; below 0: none.
    void progressed(double progress);
    // `sourcePath` may have changed.
    void sourceChanged();
    // `hasRunningTask` may have changed.
    void taskEnded();
};

} // namespace ostrel
