#include "app/interleaver/main_view.h"

#include "app/controls/appearance_toggle.h"
#include "app/controls/layouts.h"
#include "app/controls/ostrel_style.h"
#include "app/controls/progress_line.h"
#include "app/controls/scrolled_page.h"
#include "app/controls/symbols.h"
#include "app/hearing/audio_preview_panel.h"
#include "app/hearing/playback_transport.h"
#include "app/interleaver/interleaver_options.h"
#include "app/interleaver/items_section.h"
#include "app/panels/activity_footer.h"
#include "app/panels/first_steps.h"
#include "app/panels/help_texts.h"
#include "app/panels/selection_card.h"
#include "app/panels/tab_header.h"
#include "app/tables/record_table.h"
#include "platform/paths.h"
#include "preview/playback_manager.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QSplitter>

namespace ostrel {
namespace {

FirstSteps::Texts firstStepsOf(AppMode mode) {
    if (mode == AppMode::deinterleave) {
        return {QStringLiteral("Makes one mono file for each channel of a multichannel file."),
                {{{QStringLiteral("folder"), QStringLiteral("Drop multichannel files or a folder")},
                  {QStringLiteral("magnifyingglass"), QStringLiteral("Scan finds what can be taken apart")},
                  {QStringLiteral("waveform"), QStringLiteral("Run writes a mono file a channel")}}}};
    }
    return {QStringLiteral("Makes one multichannel file of a set of mono files, and keeps their metadata."),
            {{{QStringLiteral("folder"), QStringLiteral("Drop mono files or a folder")},
              {QStringLiteral("magnifyingglass"), QStringLiteral("Scan finds the sets by their names")},
              {QStringLiteral("interleave"), QStringLiteral("Run writes one file a set")}}}};
}

} // namespace

MainView::MainView(AppViewModel& viewModel, DesktopServices& desktop, QWidget* parent)
    : TabPage(parent), viewModel_(viewModel), desktop_(desktop),
      feed_(QStringLiteral("Activity Log"), viewModel.logEntries, this) {
    setAccessibleName(QStringLiteral("Interleaver"));
    feed_.clearLog = [this] { viewModel_.logEntries.clear(); };
    feed_.saveLog = [this] { viewModel_.saveLogToFile(); };
    feed_.outputs = [this] { return outputsOf(provenRun()); };
    feed_.openFolder = [this](const QString& folder) { viewModel_.desktop().openFolder(folder); };
    connect(&feed_, &ActivityFeed::changed, this,
            [this] { Q_EMIT progressed(feed_.state() == ActivityState::running ? feed_.progress() : -1); });
    auto* content = columnLayout(6);
    content->setContentsMargins(kMargin, 6, kMargin, 4);
    content->addWidget(makeHeader());
    ffmpegBanner_ = new WarningBanner(missingFFmpegText(), QStringLiteral("Check Again"));
    connect(ffmpegBanner_, &WarningBanner::pressed, this, &TabPage::toolsRequested);
    bwfmetaeditBanner_ = new WarningBanner(missingBwfmetaeditText());
    content->addWidget(ffmpegBanner_);
    content->addWidget(bwfmetaeditBanner_);
    content->addWidget(makeSource());
    content->addWidget(new OptionsHeaderRow(viewModel));
    options_ = new InterleaverOptions(viewModel);
    content->addWidget(options_);
    content->addWidget(makeActions());
    content->addWidget(makeLower(), 1);
    auto* page = columnLayout(0);
    page->addWidget(new ScrolledPage(content), 1);
    page->addWidget(new ActivityFooter(feed_));
    setLayout(page);

    connect(options_, &InterleaverOptions::deletionRequested, this, &MainView::askBeforeDeleting);
    connect(&viewModel, &AppViewModel::taskEnded, this, &TabPage::taskEnded);
    connectPreview();
    auto* refreshSoon = new Coalesced(this, [this] { refresh(); });
    refreshSoon->follow(viewModel.interleaveGroups);
    refreshSoon->follow(viewModel.deinterleaveSources);
    const auto request = [refreshSoon] { refreshSoon->request(); };
    bindings_.watch(viewModel.isScanning, request);
    bindings_.watch(viewModel.isProcessing, request);
    bindings_.watch(viewModel.progress, request);
    bindings_.watch(viewModel.scanProgress, request);
    bindings_.watch(viewModel.statusMessage, request);
    bindings_.watch(viewModel.sourceURL, request);
    bindings_.watch(viewModel.selectedFiles, request);
    bindings_.watch(viewModel.currentMode, request);
    bindings_.watch(viewModel.selectedLayout, request);
    bindings_.watch(viewModel.toolDetector().ffmpegAvailable, request);
    bindings_.watch(viewModel.engine, request);
    bindings_.watch(viewModel.toolDetector().bwfmetaeditAvailable, request);
    bindings_.bind(viewModel.showOptions, [this] { options_->setVisible(viewModel_.showOptions.value()); });
    const auto source = [this] { refreshSource(); };
    bindings_.watch(viewModel.selectedFiles, source);
    bindings_.watch(viewModel.sourceURL, source);
    bindings_.watch(viewModel.sourceURL, [this] { Q_EMIT sourceChanged(); });
    bindings_.watch(viewModel.options, source);
    bindings_.watch(viewModel.useCustomOutput, source);
    bindings_.bind(viewModel.outputPath, source);
    bindings_.bind(viewModel.generateCSV, [this] { report_->setChecked(viewModel_.generateCSV.value()); });
    refresh();
}

QWidget* MainView::makeHeader() {
    modes_ = new SegmentedControl(QStringLiteral("Mode"));
    modes_->addSegment(QStringLiteral("Interleave"), QString(),
                       QStringLiteral("Multi-mono to one interleaved file (Ctrl+,)"));
    modes_->addSegment(QStringLiteral("De-interleave"), QString(),
                       QStringLiteral("Interleaved file to multi-mono (Ctrl+.)"));
    connect(modes_, &SegmentedControl::chosen, this, &MainView::setModeIndex);
    ffmpeg_ = new ToolStatusIndicator(QStringLiteral("ffmpeg"));
    bwfmetaedit_ = new ToolStatusIndicator(QStringLiteral("bwfmetaedit"));
    return tabHeader(QStringLiteral("Interleaver"), {modes_},
                     {ffmpeg_, bwfmetaedit_, new AppearanceToggle(viewModel_.appearance)});
}

QWidget* MainView::makeSource() {
    source_ = new SelectionRow({QStringLiteral("Source:"), QStringLiteral("Select..."),
                                QStringLiteral("Select files or folders (Ctrl+I)"),
                                QStringLiteral("Clear source selection")});
    output_ =
        new SelectionRow({QStringLiteral("Output Folder:"), QStringLiteral("Choose..."),
                          QStringLiteral("Choose the output folder (Ctrl+O)"), QStringLiteral("Clear output folder")});
    subfolders_ = named(new QCheckBox(QStringLiteral("Include subfolders")), QStringLiteral("Include subfolders"),
                        QStringLiteral("When selecting folders, include all subfolders recursively"));
    connect(source_, &SelectionRow::chooseClicked, this, &MainView::selectInput);
    connect(source_, &SelectionRow::clearClicked, this, [this] {
        viewModel_.selectedFiles = QStringList();
        viewModel_.sourceURL = QString();
        viewModel_.sourcePath = QString();
        viewModel_.clearResults();
    });
    connect(output_, &SelectionRow::chooseClicked, this, &MainView::selectOutput);
    connect(output_, &SelectionRow::clearClicked, this, [this] {
        viewModel_.useCustomOutput = false;
        viewModel_.outputURL = QString();
        viewModel_.outputPath = QString();
    });
    connect(subfolders_, &QCheckBox::toggled, this, [this](bool isOn) {
        ProcessingOptions options = viewModel_.options.value();
        options.includeSubfolders = isOn;
        viewModel_.options = options;
    });
    auto* card = new SelectionCard(QStringLiteral("Source and output"));
    card->addRow(source_, subfolders_);
    card->addRow(output_);
    sourceSection_ = card;
    return card;
}

QWidget* MainView::makeActions() {
    auto* label = new QLabel(QStringLiteral("Layout:"));
    layouts_ = named(new QComboBox, QStringLiteral("Channel layout"),
                     QStringLiteral("The channels of a set; a single file chooses its own"));
    for (const ChannelLayout& layout : ChannelLayout::allLayouts()) layouts_->addItem(layout.displayName);
    layouts_->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    connect(layouts_, &QComboBox::activated, this, [this](int index) {
        viewModel_.selectedLayout = ChannelLayout::allLayouts()[static_cast<std::size_t>(index)];
    });
    scan_ = pushButton(QStringLiteral("Scan"), QStringLiteral("magnifyingglass"),
                       QStringLiteral("Find the items to process (Ctrl+S)"));
    run_ = pushButton(QStringLiteral("Run"), QString(), QStringLiteral("Process the items (Ctrl+R)"));
    run_->setIcon(symbolIcon(QStringLiteral("play.fill"), SymbolTint::onAccent));
    makePrimary(*run_);
    stop_ =
        pushButton(QStringLiteral("Stop"), QStringLiteral("stop.fill"), QStringLiteral("Stop before the next item"));
    connect(scan_, &QPushButton::clicked, this, [this] { viewModel_.scan(); });
    connect(run_, &QPushButton::clicked, this, [this] { viewModel_.startProcessing(); });
    connect(stop_, &QPushButton::clicked, this, [this] { viewModel_.stopProcessing(); });
    status_ = new TruncatingText(Qt::ElideRight);
    report_ = named(new QCheckBox(QStringLiteral("Generate CSV Report")), QStringLiteral("Generate CSV Report"),
                    QStringLiteral("Saves processing summary to output folder"));
    connect(report_, &QCheckBox::toggled, this, [this](bool isOn) { viewModel_.generateCSV = isOn; });
    progress_ = new ProgressLine(QStringLiteral("Job progress"));
    auto* row = rowLayout();
    row->addWidget(label);
    row->addWidget(layouts_);
    row->addSpacing(4);
    for (QPushButton* button : {scan_, run_, stop_}) {
        button->setMinimumWidth(84);
        row->addWidget(button);
    }
    row->addSpacing(4);
    row->addWidget(status_, 1);
    row->addWidget(report_);
    auto* column = columnLayout(5);
    column->addLayout(row);
    column->addWidget(progress_);
    auto* actions = new QWidget;
    actions->setLayout(column);
    actions->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    return actions;
}

QWidget* MainView::makeLower() {
    items_ = new ItemsSection(viewModel_);
    preview_ = new AudioPreviewPanel(viewModel_.playbackManager());
    firstSteps_ = new FirstSteps(items_->tables(), firstStepsOf(AppMode::interleave));
    connect(firstSteps_, &FirstSteps::demoRequested, this, [this] {
        const bool merges = viewModel_.currentMode.value() == AppMode::interleave;
        Q_EMIT demoRequested(merges ? DemoKind::pairs : DemoKind::interleaved);
    });
    auto* split = new QSplitter(Qt::Vertical);
    named(split, QStringLiteral("Items and preview"));
    split->setChildrenCollapsible(false);
    split->addWidget(items_);
    split->addWidget(preview_);
    split->setStretchFactor(0, 3);
    split->setStretchFactor(1, 1);
    split->handle(1)->setToolTip(QStringLiteral("Drag divider above to resize preview panel"));
    split->handle(1)->setAccessibleName(QStringLiteral("Preview size"));
    return split;
}

void MainView::connectPreview() {
    PlaybackManager& playback = viewModel_.playbackManager();
    connect(items_, &ItemsSection::groupChosen, this, [this](const InterleaveGroup& group) {
        viewModel_.playbackManager().loadGroup(group, viewModel_.selectedLayout.value(), AppMode::interleave,
                                               group.sampleRate, group.bitDepth);
    });
    connect(items_, &ItemsSection::sourceChosen, this, [this](const MultiChannelSource& source) {
        viewModel_.playbackManager().loadStereoFile(source, AppMode::deinterleave, source.sampleRate, source.bitDepth);
    });
    // While a person auditions, whatever is loaded next plays on: another row, another mode, another channel.
    bindings_.watch(playback.currentFileURL, [this] {
        if (viewModel_.isAuditioning.value()) viewModel_.playbackManager().engine().play();
    });
    playback.engine().onPlaybackFinished = [this] { viewModel_.isAuditioning = false; };
    const auto flip = [this] { viewModel_.isAuditioning = viewModel_.playbackManager().engine().isPlaying.value(); };
    connect(&preview_->transport(), &PlaybackTransport::playToggled, this, flip);
    connect(&preview_->transport(), &PlaybackTransport::stopped, this, flip);
}

void MainView::selectInput() {
    if (!isBusy()) viewModel_.selectSource();
}

void MainView::selectOutput() {
    if (!isBusy()) viewModel_.selectOutputFolder();
}

void MainView::scan() {
    if (viewModel_.canScan() && !isBusy()) viewModel_.scan();
}

void MainView::run() {
    if (viewModel_.canRun()) viewModel_.startProcessing();
}

void MainView::setModeIndex(int index) {
    if (index > 1 || isBusy()) return;
    viewModel_.currentMode = index == 0 ? AppMode::interleave : AppMode::deinterleave;
}

// A job goes on with what it was started with: a drop onto it changes nothing.
void MainView::acceptDrop(const QStringList& urls) {
    if (isBusy()) return;
    viewModel_.clearResults();
    viewModel_.selectedFiles = urls;
    viewModel_.sourceURL = urls.size() == 1 ? urls.first() : paths::parent(urls.first());
    viewModel_.sourcePath = viewModel_.sourceURL.value();
    viewModel_.triggerAutoDetectLayout();
}

bool MainView::isPreviewReady() const { return viewModel_.playbackManager().engine().isLoaded.value(); }

void MainView::togglePreview() {
    viewModel_.playbackManager().togglePlayPause();
    viewModel_.isAuditioning = !viewModel_.isAuditioning.value();
}

void MainView::skipPreview(double seconds) {
    AudioPlaybackEngine& engine = viewModel_.playbackManager().engine();
    engine.seek(engine.currentTime.value() + seconds);
}

void MainView::shuttlePreview(int direction) { preview_->transport().shuttle(direction); }

void MainView::leave() {
    viewModel_.playbackManager().engine().stop();
    viewModel_.isAuditioning = false;
}

QWidget* MainView::firstFocus() { return &source_->button(); }

// Nothing is set before the answer. The controller knows one kind of deletion; that of an L/R pair is a clean-up mode,
// which removes the sources only after the merge was verified, and must not leave the other flag behind.
void MainView::askBeforeDeleting(bool ofPair) {
    viewModel_.deleteConfirmationMode = viewModel_.currentMode.value();
    viewModel_.showDeleteConfirmation = true;
    AlertRequest alert;
    alert.style = AlertRequest::Style::critical;
    alert.title = QStringLiteral("Delete Originals?");
    alert.text = QStringLiteral("This will PERMANENTLY DELETE original files after successful processing.\n\nThis "
                                "cannot be undone.\n\nAre you absolutely sure?");
    alert.buttons = {QStringLiteral("Enable Delete"), QStringLiteral("Cancel")};
    alert.defaultButton = 1;
    alert.destructiveButton = 0;
    if (desktop_.showAlert(alert) != 0) {
        viewModel_.showDeleteConfirmation = false;
        return;
    }
    if (!ofPair) return viewModel_.confirmDelete();
    ProcessingOptions options = viewModel_.options.value();
    options.lrCleanupMode = LRCleanupMode::hardDelete;
    viewModel_.options = options;
    viewModel_.showDeleteConfirmation = false;
}

void MainView::refreshSource() {
    const QStringList& files = viewModel_.selectedFiles.value();
    QString chosen;
    if (files.size() > 1) {
        chosen = QStringLiteral("%1 items selected").arg(files.size());
    } else if (files.size() == 1) {
        chosen = files.first();
    }
    source_->show(chosen, QStringLiteral("Drag files/folders here or click Select..."));
    const bool isCustom = viewModel_.useCustomOutput.value();
    output_->show(isCustom ? viewModel_.outputPath.value() : QString(), QStringLiteral("Same as source (in-place)"));
    subfolders_->setChecked(viewModel_.options.value().includeSubfolders);
}

ActivityState MainView::activityState() const {
    if (viewModel_.isScanning.value()) return ActivityState::scanning;
    if (viewModel_.isProcessing.value()) return ActivityState::running;
    if (viewModel_.progress.value() <= 0) return ActivityState::ready; // nothing was run with these items
    return viewModel_.errorCount() > 0 ? ActivityState::error : ActivityState::done;
}

void MainView::refresh() {
    const bool isBusy = this->isBusy();
    const bool hasFFmpeg = viewModel_.toolDetector().ffmpegAvailable.value();
    const bool hasBwfmetaedit = viewModel_.toolDetector().bwfmetaeditAvailable.value();
    ffmpeg_->setAvailable(hasFFmpeg);
    bwfmetaedit_->setAvailable(hasBwfmetaedit);
    ffmpegBanner_->setVisible(!viewModel_.hasEngine());
    bwfmetaeditBanner_->setVisible(!hasBwfmetaedit);
    modes_->setCurrent(viewModel_.currentMode.value() == AppMode::interleave ? 0 : 1);
    firstSteps_->setTexts(firstStepsOf(viewModel_.currentMode.value()));
    firstSteps_->setVisible(viewModel_.selectedFiles.value().isEmpty() && viewModel_.totalCount() == 0 && !isBusy);
    const auto& layouts = ChannelLayout::allLayouts();
    const auto layout = std::find(layouts.begin(), layouts.end(), viewModel_.selectedLayout.value());
    layouts_->setCurrentIndex(static_cast<int>(layout - layouts.begin()));
    // What had the focus is about to go off, and Qt would pass it on to the tabs.
    if (isBusy && !wasBusy_ && isAncestorOf(QApplication::focusWidget())) items_->table().setFocus();
    for (QWidget* widget : std::initializer_list<QWidget*>{modes_, sourceSection_, options_, layouts_}) {
        widget->setEnabled(!isBusy);
    }
    scan_->setEnabled(viewModel_.canScan() && !isBusy);
    run_->setEnabled(viewModel_.canRun());
    stop_->setEnabled(isBusy);
    // The controller leaves the name of the last item there: with the job it has nothing more to say.
    const bool hasEnded = !isBusy && viewModel_.progress.value() > 0;
    const QString status = hasEnded ? QString() : viewModel_.statusMessage.value();
    status_->setText(viewModel_.isScanning.value() && status.isEmpty() ? QStringLiteral("Scanning...") : status, true);
    progress_->setProgress(viewModel_.isProcessing.value() ? viewModel_.progress.value()
                           : viewModel_.isScanning.value() ? viewModel_.scanProgress.value()
                                                           : -1);
    feed_.set(activityState(), viewModel_.progress.value());
    if (isBusy != wasBusy_) {
        wasBusy_ = isBusy;
        const auto& entries = viewModel_.logEntries;
        Q_EMIT busyChanged(isBusy, entries.empty() ? QString() : entries.rows().back().message);
    }
}

QString MainView::outputFolder() const {
    return viewModel_.useCustomOutput.value() ? viewModel_.outputURL.value() : QString();
}

QStringList MainView::listedRecordings() const { return items_->recordings(); }

ProvenRun MainView::provenRun() const {
    const bool merges = viewModel_.currentMode.value() == AppMode::interleave;
    ProvenRun run{merges ? QStringLiteral("interleave") : QStringLiteral("deinterleave"),
                  {},
                  usedTools(viewModel_.engine.value(), viewModel_.toolDetector())};
    for (const InterleaveGroup& group : viewModel_.interleaveGroups) {
        if (merges && group.outcome) run.items.emplace_back(group.baseName, *group.outcome);
    }
    for (const MultiChannelSource& source : viewModel_.deinterleaveSources) {
        if (!merges && source.outcome) run.items.emplace_back(paths::lastComponent(source.sourceURL), *source.outcome);
    }
    return run;
}

} // namespace ostrel
