// The Stereo Validator tab: selection, settings, analysis, the results table, Clean & Export.
#pragma once

#include "app/controls/bindings.h"
#include "app/controls/controls.h"
#include "app/panels/activity_feed.h"
#include "app/panels/tab_page.h"
#include "platform/desktop_services.h"
#include "stereovalidator/stereo_validator_view_model.h"

#include <QPointer>

class QCheckBox;

namespace ostrel {

class CleanExportDialogView;
class FirstSteps;
class FlowLayout;
class FoldingHeader;
class ProgressLine;
class RecordTable;
class SelectionRow;
class SimplePlaybackTransport;
class ValidatorResultsModel;
class ValidatorSettings;

class StereoValidatorTabView : public TabPage {
    Q_OBJECT

public:
    StereoValidatorTabView(StereoValidatorViewModel& viewModel, QProperty<Appearance>& appearance,
                           QWidget* parent = nullptr);

    void selectInput() override;
    void selectOutput() override;
    void scan() override;
    void run() override;
    void setModeIndex(int) override {} // the tab has no modes
    void acceptDrop(const QStringList& urls) override;
    bool isPreviewReady() const override;
    void togglePreview() override;
    void skipPreview(double seconds) override;
    void shuttlePreview(int direction) override;
    void leave() override;
    bool isRunningJob() const override;
    bool hasRunningTask() const override { return isRunningJob(); }
    void stop() override;
    ProvenRun provenRun() const override;
    QStringList listedRecordings() const override;
    void note(LogLevel level, const QString& message) override { feed_.note(level, message); }
    QString sourcePath() const override;
    QString outputFolder() const override { return viewModel_.outputFolder.value(); }
    QWidget* firstFocus() override;

    QProperty<bool> showAnalysisSummary{true};
    QProperty<QString> currentlyPlayingFile;

    ValidatorResultsModel& results() { return *results_; }
    RecordTable& table() { return *table_; }
    std::vector<StereoValidatorResult> selectedResults() const;
    CleanExportDialogView* cleanExportDialog() const; // null while it is closed

protected:
    void showEvent(QShowEvent* event) override;

private:
    QWidget* makeHeader(QProperty<Appearance>& appearance);
    QWidget* makeSource();
    QWidget* makeActions();
    QWidget* makeSummary();
    QWidget* makeResults();
    void connectController();
    void clearSelection();
    void load(int record);
    void audition(int record);
    void rebuildBadges();
    void toggleFilter(StereoClassification classification);
    void openDialog();
    void refresh();

    StereoValidatorViewModel& viewModel_;
    Bindings bindings_;
    ActivityFeed feed_;
    ValidatorResultsModel* results_;
    bool hasAppeared_ = false;
    bool wasBusy_ = false;
    SelectionRow* source_ = nullptr;
    SelectionRow* output_ = nullptr;
    QCheckBox* recursive_ = nullptr;
    QWidget* sourceSection_ = nullptr;
    ValidatorSettings* settings_ = nullptr;
    QPushButton* analyze_ = nullptr;
    QPushButton* stop_ = nullptr;
    QPushButton* cleanExport_ = nullptr;
    QPushButton* clearResults_ = nullptr;
    TruncatingText* status_ = nullptr;
    ProgressLine* progress_ = nullptr;
    QLabel* analyzed_ = nullptr;
    FoldingHeader* fold_ = nullptr;
    QWidget* badges_ = nullptr;
    FlowLayout* badgeFlow_ = nullptr;
    RecordTable* table_ = nullptr;
    FirstSteps* firstSteps_ = nullptr;
    SimplePlaybackTransport* transport_ = nullptr;
    QPointer<CleanExportDialogView> dialog_;
};

} // namespace ostrel
