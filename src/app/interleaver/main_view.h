// The Interleaver tab: shows the state of its controller and calls its actions.
#pragma once

#include "app/controls/bindings.h"
#include "app/controls/controls.h"
#include "app/panels/activity_feed.h"
#include "app/panels/tab_page.h"
#include "interleaver/app_view_model.h"
#include "platform/desktop_services.h"

#include <QElapsedTimer>

class QCheckBox;
class QComboBox;

namespace ostrel {

class AudioPreviewPanel;
class InterleaverOptions;
class FirstSteps;
class ItemsSection;
class ProgressLine;
class SelectionRow;

class MainView : public TabPage {
    Q_OBJECT

public:
    MainView(AppViewModel& viewModel, DesktopServices& desktop, QWidget* parent = nullptr);

    void selectInput() override;
    void selectOutput() override;
    void scan() override;
    void run() override;
    void setModeIndex(int index) override;
    void acceptDrop(const QStringList& urls) override;
    bool isPreviewReady() const override;
    void togglePreview() override;
    void skipPreview(double seconds) override;
    void shuttlePreview(int direction) override;
    void leave() override;
    bool isRunningJob() const override { return isBusy(); }
    bool hasRunningTask() const override { return viewModel_.hasRunningTask(); }
    void stop() override { viewModel_.stopProcessing(); }
    ProvenRun provenRun() const override;
    QStringList listedRecordings() const override;
    void note(LogLevel level, const QString& message) override { feed_.note(level, message); }
    QString sourcePath() const override { return viewModel_.sourceURL.value(); }
    QString outputFolder() const override;
    QWidget* firstFocus() override;

private:
    QWidget* makeHeader();
    QWidget* makeSource();
    QWidget* makeActions();
    QWidget* makeLower();
    void connectPreview();
    void askBeforeDeleting(bool ofPair);
    bool isBusy() const { return viewModel_.isScanning.value() || viewModel_.isProcessing.value(); }
    void refreshSource();
    void refresh();
    ActivityState activityState() const;

    AppViewModel& viewModel_;
    DesktopServices& desktop_;
    Bindings bindings_;
    ActivityFeed feed_;
    bool wasBusy_ = false;
    SegmentedControl* modes_ = nullptr;
    ToolStatusIndicator* ffmpeg_ = nullptr;
    ToolStatusIndicator* bwfmetaedit_ = nullptr;
    WarningBanner* ffmpegBanner_ = nullptr;
    WarningBanner* bwfmetaeditBanner_ = nullptr;
    QWidget* sourceSection_ = nullptr;
    SelectionRow* source_ = nullptr;
    SelectionRow* output_ = nullptr;
    QCheckBox* subfolders_ = nullptr;
    InterleaverOptions* options_ = nullptr;
    QComboBox* layouts_ = nullptr;
    QPushButton* scan_ = nullptr;
    QPushButton* run_ = nullptr;
    QPushButton* stop_ = nullptr;
    TruncatingText* status_ = nullptr;
    QCheckBox* report_ = nullptr;
    ProgressLine* progress_ = nullptr;
    FirstSteps* firstSteps_ = nullptr;
    ItemsSection* items_ = nullptr;
    AudioPreviewPanel* preview_ = nullptr;
};

} // namespace ostrel
