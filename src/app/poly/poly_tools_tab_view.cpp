#include "app/poly/poly_tools_tab_view.h"

#include "app/controls/appearance_toggle.h"
#include "app/controls/layouts.h"
#include "app/controls/page_stack.h"
#include "app/controls/scrolled_page.h"
#include "app/hearing/playback_transport.h"
#include "app/panels/activity_footer.h"
#include "app/panels/first_steps.h"
#include "app/panels/help_texts.h"
#include "app/panels/run_row.h"
#include "app/panels/tab_header.h"
#include "app/poly/edit/poly_edit_view.h"
#include "app/poly/join/poly_join_view.h"
#include "app/poly/split/poly_split_view.h"
#include "app/poly/stitch_card.h"
#include "platform/paths.h"

#include <QApplication>

namespace ostrel {
namespace {

QString dropHint(PolyMode mode) {
    switch (mode) {
    case PolyMode::split: return QStringLiteral("Drop files or folders • Batch scenes/takes supported");
    case PolyMode::join:
        return QStringLiteral("Drop files or folders • Auto-groups by scene/take • Batch join supported");
    case PolyMode::editPoly: break;
    }
    return QStringLiteral("Drop files or folders • Batch scenes/takes supported • Channel removal");
}

FirstSteps::Texts firstStepsOf(PolyMode mode) {
    const FirstSteps::Step drop{QStringLiteral("folder"), QStringLiteral("Drop polys or a folder")};
    switch (mode) {
    case PolyMode::split:
        return {QStringLiteral("Makes one mono file for each track of a poly, named as the recorder named it."),
                {{drop,
                  {QStringLiteral("speaker"), QStringLiteral("Listen to single tracks")},
                  {QStringLiteral("waveform"), QStringLiteral("Split writes an ISO a track")}}}};
    case PolyMode::join:
        return {QStringLiteral("Makes one poly of the mono files of each take."),
                {{{QStringLiteral("folder"), QStringLiteral("Drop ISOs or a folder")},
                  {QStringLiteral("magnifyingglass"), QStringLiteral("Scan groups them by scene and take")},
                  {QStringLiteral("square.stack.3d.up"), QStringLiteral("Join writes a poly a take")}}}};
    case PolyMode::editPoly: break;
    }
    return {QStringLiteral("Renames, removes and reorders the channels of polys."),
            {{drop,
              {QStringLiteral("line.3.horizontal"), QStringLiteral("Choose the edits beside")},
              {QStringLiteral("checkmark.circle"), QStringLiteral("Apply writes edited polys")}}}};
}

} // namespace

PolyToolsTabView::PolyToolsTabView(PolyToolsViewModel& viewModel, QProperty<Appearance>& appearance, QWidget* parent)
    : TabPage(parent), viewModel_(viewModel), feed_(QStringLiteral("Poly Tools Log"), viewModel.logEntries, this) {
    setAccessibleName(QStringLiteral("Poly Tools"));
    feed_.clearLog = [this] { viewModel_.clearLog(); };
    feed_.saveLog = [this] { viewModel_.saveLog(); };
    feed_.outputs = [this] { return viewModel_.createdFiles.value(); };
    feed_.openFolder = [this](const QString& folder) { viewModel_.desktop().openFolder(folder); };
    connect(&feed_, &ActivityFeed::changed, this,
            [this] { Q_EMIT progressed(feed_.state() == ActivityState::running ? feed_.progress() : -1); });
    auto* content = columnLayout(6);
    content->setContentsMargins(kMargin, 6, kMargin, 4);
    content->addWidget(makeHeader(appearance));
    ffmpegBanner_ = new WarningBanner(missingFFmpegText(), QStringLiteral("Check Again"));
    connect(ffmpegBanner_, &WarningBanner::pressed, this, &TabPage::toolsRequested);
    bwfmetaeditBanner_ = new WarningBanner(missingBwfmetaeditText());
    content->addWidget(ffmpegBanner_);
    content->addWidget(bwfmetaeditBanner_);
    dropHint_ = new TruncatingText(Qt::ElideRight);
    content->addWidget(dropHint_);
    stitch_ = new StitchCard(viewModel.desktop());
    content->addWidget(stitch_);
    connect(this, &TabPage::sourceChanged, stitch_, [this] { stitch_->look(selection()); });
    split_ = new PolySplitView(viewModel);
    join_ = new PolyJoinView(viewModel);
    edit_ = new PolyEditView(viewModel);
    pages_ = new PageStack;
    for (QWidget* page : std::initializer_list<QWidget*>{split_, join_, edit_}) pages_->addPage(page);
    content->addWidget(pages_, 1);
    makeFirstSteps();
    if (PreviewMixer* mixer = viewModel.preview().mixer()) {
        transport_ = new PolyToolsPlaybackTransport(*mixer);
        content->addWidget(transport_);
    }
    auto* page = columnLayout(0);
    page->addWidget(new ScrolledPage(content), 1);
    page->addWidget(new ActivityFooter(feed_));
    setLayout(page);
    connectController();
    connectPreview();
}

void PolyToolsTabView::makeFirstSteps() {
    QWidget* hosts[] = {&split_->lists(), &join_->lists(), &edit_->lists()};
    for (const PolyMode mode : kAllPolyModes) {
        const auto index = static_cast<std::size_t>(mode);
        firstSteps_[index] = new FirstSteps(*hosts[index], firstStepsOf(mode));
        connect(firstSteps_[index], &FirstSteps::demoRequested, this,
                [this, mode] { Q_EMIT demoRequested(mode == PolyMode::join ? DemoKind::isos : DemoKind::polys); });
    }
}

QWidget* PolyToolsTabView::makeHeader(QProperty<Appearance>& appearance) {
    modes_ = new SegmentedControl(QStringLiteral("Mode"));
    const QStringList helps{QStringLiteral("One poly to mono files (Ctrl+,)"),
                            QStringLiteral("Mono files to polys (Ctrl+.)"),
                            QStringLiteral("Rename, remove and reorder channels (Ctrl+/)")};
    for (const PolyMode mode : kAllPolyModes)
        modes_->addSegment(rawText(mode), QString(), helps.at(static_cast<int>(mode)));
    connect(modes_, &SegmentedControl::chosen, this, &PolyToolsTabView::setModeIndex);
    ffmpeg_ = new ToolStatusIndicator(QStringLiteral("ffmpeg"));
    bwfmetaedit_ = new ToolStatusIndicator(QStringLiteral("bwfmetaedit"));
    return tabHeader(QStringLiteral("Poly Tools"), {modes_}, {ffmpeg_, bwfmetaedit_, new AppearanceToggle(appearance)});
}

void PolyToolsTabView::connectController() {
    auto* refreshSoon = new Coalesced(this, [this] { refresh(); });
    const auto request = [refreshSoon] { refreshSoon->request(); };
    for (QProperty<bool>* flag : {&viewModel_.isProcessing, &viewModel_.isAnalyzing, &viewModel_.isPreparingPreview,
                                  &viewModel_.isScanningBatchFiles, &viewModel_.isScanningJoinISOs,
                                  &viewModel_.ffmpegAvailable, &viewModel_.bwfmetaeditAvailable}) {
        bindings_.watch(*flag, request);
    }
    bindings_.watch(viewModel_.engine, request);
    bindings_.watch(viewModel_.sourceFolder, request);
    bindings_.watch(viewModel_.selectedFiles, request);
    bindings_.watch(viewModel_.polyFile, request);
    bindings_.watch(viewModel_.joinSourceFolder, request);
    bindings_.watch(viewModel_.selectedJoinFiles, request);
    bindings_.watch(viewModel_.splitProgress, request);
    bindings_.watch(viewModel_.joinProgress, request);
    bindings_.watch(viewModel_.batchProgress, request);
    bindings_.watch(viewModel_.batchJoinProgress, request);
    for (QProperty<int>* count : {&viewModel_.successCount, &viewModel_.skipCount, &viewModel_.errorCount})
        bindings_.watch(*count, request);
    bindings_.bind(viewModel_.mode, [this] { showMode(); });
    auto* sourceSoon = new Coalesced(this, [this] { Q_EMIT sourceChanged(); });
    const auto source = [sourceSoon] { sourceSoon->request(); };
    bindings_.watch(viewModel_.mode, source);
    bindings_.watch(viewModel_.polyFile, source);
    bindings_.watch(viewModel_.batchMode, source);
    bindings_.watch(viewModel_.sourceFolder, source);
    bindings_.watch(viewModel_.selectedFiles, source);
    bindings_.watch(viewModel_.joinSourceFolder, source);
    bindings_.watch(viewModel_.selectedJoinFiles, source);
    connect(&viewModel_, &PolyToolsViewModel::taskEnded, this, &TabPage::taskEnded);
    refresh();
}

void PolyToolsTabView::connectPreview() {
    PreviewMixer* mixer = viewModel_.preview().mixer();
    if (!mixer) return;
    auto* showSoon = new Coalesced(this, [this] { showWhatIsHeard(); });
    const auto request = [showSoon] { showSoon->request(); };
    for (QProperty<bool>* flag : {&mixer->isPlaying, &mixer->isLoaded, &mixer->isPolySourceActive,
                                  &viewModel_.batchMode, &viewModel_.showGroupReview}) {
        bindings_.watch(*flag, request);
    }
    for (QProperty<std::optional<int>>* selection :
         {&viewModel_.selectedChannelForPlayback, &viewModel_.selectedBatchChannelForPlayback,
          &viewModel_.selectedBatchPreviewIndex, &viewModel_.selectedISOForPlayback,
          &viewModel_.selectedPreviewISOIndex}) {
        bindings_.watch(*selection, request);
    }
    bindings_.watch(mixer->loadError, request);
    bindings_.watch(viewModel_.polyFile, request);
    bindings_.watch(viewModel_.previewedGroupISOs, request);
    bindings_.watch(viewModel_.mode, request);
    showSoon->follow(viewModel_.channelItems);
    showSoon->follow(viewModel_.isoFiles);
    showWhatIsHeard();
}

void PolyToolsTabView::selectInput() {
    if (viewModel_.isProcessing.value()) return;
    viewModel_.mode.value() == PolyMode::join ? viewModel_.selectJoinSource() : viewModel_.selectSource();
}

void PolyToolsTabView::selectOutput() {
    if (viewModel_.isProcessing.value()) return;
    viewModel_.mode.value() == PolyMode::join ? viewModel_.join().selectOutputFolder()
                                              : viewModel_.source().selectOutputFolder();
}

// What is chosen as the source of this mode.
QStringList PolyToolsTabView::selection() const {
    const bool joins = viewModel_.mode.value() == PolyMode::join;
    const QString folder = joins ? viewModel_.joinSourceFolder.value() : viewModel_.sourceFolder.value();
    const auto& files = joins ? viewModel_.selectedJoinFiles.value() : viewModel_.selectedFiles.value();
    return folder.isEmpty() ? files.value_or(QStringList()) : QStringList(folder);
}

bool PolyToolsTabView::hasJoinSelection() const {
    const auto& files = viewModel_.selectedJoinFiles.value();
    return !viewModel_.joinSourceFolder.value().isEmpty() || (files && !files->isEmpty());
}

// Only a join has something to scan; the other modes offer another source instead.
void PolyToolsTabView::scan() {
    if (viewModel_.isProcessing.value() || viewModel_.isScanningJoinISOs.value()) return;
    if (viewModel_.mode.value() != PolyMode::join) {
        if (viewModel_.source().hasContent()) viewModel_.selectSource();
    } else if (hasJoinSelection()) {
        viewModel_.join().scanAndGroupISOs();
    }
}

void PolyToolsTabView::run() {
    if (viewModel_.isProcessing.value()) return;
    switch (viewModel_.mode.value()) {
    case PolyMode::split:
        return viewModel_.batchMode.value() ? viewModel_.split().runBatch() : viewModel_.split().run();
    case PolyMode::join: return runJoinMode();
    case PolyMode::editPoly:
        if (viewModel_.edit().canRun()) viewModel_.edit().run();
    }
}

void PolyToolsTabView::runJoinMode() {
    const bool isBatch = viewModel_.batchJoinMode.value();
    if (isBatch ? viewModel_.join().canRunBatch() : viewModel_.join().canRun())
        return isBatch ? viewModel_.join().runBatch() : viewModel_.join().run();
    viewModel_.addLog(isBatch ? QStringLiteral("⌘R: Can't join — select an output folder first")
                              : QStringLiteral("⌘R: Can't join — load and scan ISOs first"),
                      LogLevel::warning, LogCategory::system);
}

void PolyToolsTabView::setModeIndex(int index) {
    if (viewModel_.isProcessing.value()) return modes_->setCurrent(static_cast<int>(viewModel_.mode.value()));
    viewModel_.mode = static_cast<PolyMode>(index);
}

// A job goes on with what it was started with: a drop onto it changes nothing.
void PolyToolsTabView::acceptDrop(const QStringList& urls) {
    if (!viewModel_.isProcessing.value()) viewModel_.applyIntelligentModeDetection(urls, viewModel_.mode.value());
}

bool PolyToolsTabView::isPreviewReady() const {
    PreviewMixer* mixer = viewModel_.preview().mixer();
    return mixer && mixer->isLoaded.value();
}

void PolyToolsTabView::togglePreview() {
    if (PreviewMixer* mixer = viewModel_.preview().mixer()) mixer->isPlaying.value() ? mixer->pause() : mixer->play();
}

void PolyToolsTabView::skipPreview(double seconds) {
    if (PreviewMixer* mixer = viewModel_.preview().mixer()) mixer->seek(mixer->currentTime.value() + seconds);
}

void PolyToolsTabView::shuttlePreview(int direction) {
    if (transport_) transport_->shuttle(direction);
}

bool PolyToolsTabView::isRunningJob() const {
    return viewModel_.isProcessing.value() || viewModel_.isScanningJoinISOs.value();
}

// Nobody waits for a preview.
bool PolyToolsTabView::hasRunningTask() const {
    return viewModel_.hasRunningTask() && (isRunningJob() || viewModel_.isCancelled.value());
}

void PolyToolsTabView::stop() { viewModel_.stopProcessing(); }

QWidget* PolyToolsTabView::firstFocus() { return pages_->currentPage(); }

QStringList PolyToolsTabView::listedRecordings() const {
    QStringList files;
    const auto take = [&files](const auto& records) {
        for (const auto& record : records) files << record.url;
    };
    const auto& poly = viewModel_.polyFile.value();
    if (viewModel_.mode.value() != PolyMode::join) {
        if (viewModel_.batchMode.value()) {
            take(viewModel_.batchPolyMetadata);
        } else if (poly) {
            files << poly->url;
        }
    } else if (viewModel_.batchJoinMode.value()) {
        for (const ISOGroupCandidate& group : viewModel_.reviewedGroups) take(group.sortedISOs());
        take(viewModel_.ungroupedFiles);
    } else {
        take(viewModel_.isoFiles);
    }
    files.removeDuplicates();
    return files;
}

QString PolyToolsTabView::sourcePath() const {
    const bool joins = viewModel_.mode.value() == PolyMode::join;
    const auto& poly = viewModel_.polyFile.value();
    if (!joins && !viewModel_.batchMode.value()) return poly ? poly->url : QString();
    // The files of a folder are listed beside it.
    const QString folder = joins ? viewModel_.joinSourceFolder.value() : viewModel_.sourceFolder.value();
    const auto& files = joins ? viewModel_.selectedJoinFiles.value() : viewModel_.selectedFiles.value();
    return folder.isEmpty() && files && !files->isEmpty() ? files->first() : folder;
}

QString PolyToolsTabView::outputFolder() const {
    return viewModel_.mode.value() == PolyMode::join ? viewModel_.joinOutputFolder.value()
                                                     : viewModel_.splitOutputFolder.value();
}

ProvenRun PolyToolsTabView::provenRun() const {
    const PolyMode mode = viewModel_.mode.value();
    ProvenRun run{mode == PolyMode::split  ? QStringLiteral("split")
                  : mode == PolyMode::join ? QStringLiteral("join")
                                           : QStringLiteral("edit"),
                  {},
                  usedTools(viewModel_.engine.value(), viewModel_.toolDetector())};
    if (mode == PolyMode::join && viewModel_.batchJoinResults.value()) {
        for (const GroupJoinResult& group : viewModel_.batchJoinResults.value()->groupResults)
            run.items.emplace_back(group.outputName, group.outcome);
    } else if (mode != PolyMode::join && viewModel_.batchResults.value()) {
        for (const PolyFileResult& file : viewModel_.batchResults.value()->fileResults)
            run.items.emplace_back(file.fileName, file.outcome);
    } else if (const auto& single = viewModel_.lastOutcome.value()) {
        const QString file = single->sources.empty() ? run.job : paths::lastComponent(single->sources.front().source);
        run.items.emplace_back(file, *single);
    }
    return run;
}

void PolyToolsTabView::showMode() {
    const PolyMode mode = viewModel_.mode.value();
    modes_->setCurrent(static_cast<int>(mode));
    dropHint_->setText(dropHint(mode), true);
    const bool hadFocus = pages_->isAncestorOf(QApplication::focusWidget());
    pages_->setCurrent(static_cast<int>(mode));
    if (hadFocus) firstFocus()->setFocus(); // Qt would pass it on to the footer
}

ActivityState PolyToolsTabView::activityState() const {
    if (viewModel_.isProcessing.value()) return ActivityState::running;
    const bool isReading = viewModel_.isAnalyzing.value() && !viewModel_.isPreparingPreview.value();
    if (isReading || viewModel_.isScanningBatchFiles.value() || viewModel_.isScanningJoinISOs.value())
        return ActivityState::scanning;
    if (viewModel_.errorCount.value() > 0) return ActivityState::error;
    const bool hasRun = viewModel_.successCount.value() + viewModel_.skipCount.value() > 0;
    return hasRun ? ActivityState::done : ActivityState::ready;
}

void PolyToolsTabView::refresh() {
    ffmpeg_->setAvailable(viewModel_.ffmpegAvailable.value());
    bwfmetaedit_->setAvailable(viewModel_.bwfmetaeditAvailable.value());
    ffmpegBanner_->setVisible(!viewModel_.hasEngine());
    bwfmetaeditBanner_->setVisible(!viewModel_.bwfmetaeditAvailable.value());
    modes_->setEnabled(!viewModel_.isProcessing.value());
    const bool hasPolys = viewModel_.source().hasContent();
    for (const PolyMode mode : kAllPolyModes) {
        const bool hasContent = mode == PolyMode::join ? hasJoinSelection() : hasPolys;
        firstSteps_[static_cast<std::size_t>(mode)]->setVisible(!hasContent);
    }
    feed_.set(activityState(), runProgress(viewModel_));
    const bool isBusy = isRunningJob();
    if (isBusy == wasBusy_) return;
    wasBusy_ = isBusy;
    const auto& entries = viewModel_.logEntries;
    Q_EMIT busyChanged(isBusy, entries.empty() ? QString() : entries.rows().back().message);
}

void PolyToolsTabView::showWhatIsHeard() {
    const PreviewMixer& mixer = *viewModel_.preview().mixer();
    PolyPreview& preview = viewModel_.preview();
    const PolyMode mode = viewModel_.mode.value();
    QString label;
    std::optional<int> channel;
    if (mode == PolyMode::join && viewModel_.showGroupReview.value()) {
        label = preview.join().previewGroupDisplayLabel();
        channel = preview.join().activePreviewChannelNumber();
    } else if (mode == PolyMode::join) {
        label = preview.join().joinPlaybackDisplayLabel();
        channel = preview.join().activeJoinChannelNumber();
    } else if (mode == PolyMode::editPoly || viewModel_.batchMode.value()) {
        label = preview.batch().batchPlaybackDisplayLabel();
        channel = preview.batch().activeBatchChannelNumber();
    } else {
        label = preview.channels().playbackDisplayLabel();
        channel = preview.channels().activeChannelNumber();
    }
    // The channels of a poly are heard as files that were made for that, and so is the poly of some ISOs.
    QStringList recordings = mixer.sourceURLs();
    if (mixer.hasPolySource()) recordings << mixer.polySourceURL();
    transport_->setRecordings(recordings.isEmpty() ? recordings : QStringList{recordings.first(), recordings.last()});
    const QString error = mixer.loadError.value();
    transport_->setSource(error.isEmpty() ? label : error, channel,
                          mixer.isLoaded.value() && mixer.isPolySourceActive.value() && !channel);
}

} // namespace ostrel
