// The foot of a Poly Tools mode: what a run would do, the buttons that start and stop it, how far it is, what came of
// it, and the switch for the CSV report. Every mode has one of its own.
//
// It shows progress and stops by itself; the mode's view tells texts, whether a run is possible and the results, and
// starts the run.
#pragma once

#include "app/controls/bindings.h"
#include "app/controls/controls.h"
#include "app/panels/results_banner.h"
#include "polytools/poly_tools_view_model.h"

#include <QPointer>

namespace ostrel {

class PageStack;
class ProgressLine;

class RunRow : public QWidget {
    Q_OBJECT

public:
    struct Texts {
        QString run;       // "Split All Files"
        QString runNarrow; // "Split All": where there is little room; empty: no other
        QString running;   // "Splitting..."
        QString help;      // of the button
    };
    RunRow(PolyToolsViewModel& viewModel, PolyMode mode, const Texts& texts, QWidget* parent = nullptr);

    void setTexts(const Texts& texts);
    void setHelper(const QString& text); // one line above the buttons
    void setCanRun(bool canRun);
    // Shown once a run of this mode has ended, and until the next one begins or they are forgotten.
    void setResults(const QString& title, const QList<ResultsBanner::Entry>& results);
    void forgetResults();
    // Who takes the focus when a run switches off what has it.
    void setFocusDuringRun(QWidget* widget) { focusDuringRun_ = widget; }

    QPushButton& runButton() { return *run_; }
    QPushButton& stopButton() { return *stop_; }
    QString statusText() const { return status_->text(); }
    ResultsBanner& results() { return *results_; }

Q_SIGNALS:
    void runClicked();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    bool isRunning() const;
    void processingChanged();
    void refresh();
    void showRunText();

    PolyToolsViewModel& viewModel_;
    PolyMode mode_;
    Texts texts_;
    Bindings bindings_;
    bool canRun_ = false;
    bool hasRun_ = false; // the last run was one of this mode
    QString resultsTitle_;
    QList<ResultsBanner::Entry> entries_;
    QPointer<QWidget> focusDuringRun_;
    TruncatingText* helper_;
    QPushButton* run_;
    QPushButton* stop_;
    TruncatingText* status_;
    ResultsBanner* results_;
    PageStack* outcome_; // status, or results
    ProgressLine* progress_;
};

// How far the job under way is, 0 to 1.
double runProgress(const PolyToolsViewModel& viewModel);

} // namespace ostrel
