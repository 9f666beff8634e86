// The Poly Tools tab: header, mode picker, the page of the mode, the transport over the mixer, and the footer. What a
// mode shows is its own view: PolySplitView, PolyJoinView, PolyEditView.
#pragma once

#include "app/controls/bindings.h"
#include "app/controls/controls.h"
#include "app/panels/activity_feed.h"
#include "app/panels/tab_page.h"
#include "platform/desktop_services.h"
#include "polytools/poly_tools_view_model.h"

namespace ostrel {

class FirstSteps;
class PageStack;
class PolyEditView;
class PolyJoinView;
class PolySplitView;
class StitchCard;
class PolyToolsPlaybackTransport;

class PolyToolsTabView : public TabPage {
    Q_OBJECT

public:
    PolyToolsTabView(PolyToolsViewModel& viewModel, QProperty<Appearance>& appearance, QWidget* parent = nullptr);

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
    bool isRunningJob() const override;
    bool hasRunningTask() const override;
    void stop() override;
    ProvenRun provenRun() const override;
    QStringList listedRecordings() const override;
    void note(LogLevel level, const QString& message) override { feed_.note(level, message); }
    QString sourcePath() const override;
    QString outputFolder() const override;
    QWidget* firstFocus() override; // the mode's view names its first control as its focus proxy

    PolySplitView& splitView() { return *split_; }
    PolyJoinView& joinView() { return *join_; }
    PolyEditView& editView() { return *edit_; }

private:
    QWidget* makeHeader(QProperty<Appearance>& appearance);
    void makeFirstSteps();
    void connectController();
    void connectPreview();
    void runJoinMode();
    QStringList selection() const;
    bool hasJoinSelection() const;
    ActivityState activityState() const;
    void showMode();
    void refresh();
    void showWhatIsHeard();

    PolyToolsViewModel& viewModel_;
    Bindings bindings_;
    ActivityFeed feed_;
    bool wasBusy_ = false;
    SegmentedControl* modes_ = nullptr;
    ToolStatusIndicator* ffmpeg_ = nullptr;
    ToolStatusIndicator* bwfmetaedit_ = nullptr;
    WarningBanner* ffmpegBanner_ = nullptr;
    WarningBanner* bwfmetaeditBanner_ = nullptr;
    TruncatingText* dropHint_ = nullptr;
    StitchCard* stitch_ = nullptr;
    PageStack* pages_ = nullptr;
    PolySplitView* split_ = nullptr;
    PolyJoinView* join_ = nullptr;
    std::array<FirstSteps*, kAllPolyModes.size()> firstSteps_{};
    PolyEditView* edit_ = nullptr;
    PolyToolsPlaybackTransport* transport_ = nullptr; // none without a mixer
};

} // namespace ostrel
