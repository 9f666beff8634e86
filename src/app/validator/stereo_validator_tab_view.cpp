#include "app/validator/stereo_validator_tab_view.h"

#include "app/controls/appearance_toggle.h"
#include "app/controls/flow_layout.h"
#include "app/controls/folding_header.h"
#include "app/controls/item_delegates.h"
#include "app/controls/layouts.h"
#include "app/controls/ostrel_style.h"
#include "app/controls/progress_line.h"
#include "app/controls/scrolled_page.h"
#include "app/controls/symbols.h"
#include "app/hearing/playback_transport.h"
#include "app/panels/activity_footer.h"
#include "app/panels/check_button.h"
#include "app/panels/first_steps.h"
#include "app/panels/proof_dialog.h"
#include "app/panels/row_menu.h"
#include "app/panels/selection_card.h"
#include "app/panels/tab_header.h"
#include "app/tables/filter_bar.h"
#include "app/tables/record_table.h"
#include "app/validator/classification_badge.h"
#include "app/validator/clean_export_dialog_view.h"
#include "app/validator/validator_results_model.h"
#include "app/validator/validator_settings.h"
#include "platform/diagnostics.h"
#include "platform/paths.h"
#include "preview/playback_manager.h"

#include <QApplication>
#include <QCheckBox>
#include <QHeaderView>

namespace ostrel {
namespace {

// Of the analysis, or of the last Clean & Export.
QString errorOf(const StereoValidatorResult& result) {
    if (!result.error.isEmpty() || !result.outcome || !result.outcome->status.isError()) return result.error;
    return result.outcome->message.isEmpty() ? result.outcome->status.displayText() : result.outcome->message;
}

} // namespace

StereoValidatorTabView::StereoValidatorTabView(StereoValidatorViewModel& viewModel, QProperty<Appearance>& appearance,
                                               QWidget* parent)
    : TabPage(parent), viewModel_(viewModel), feed_(QStringLiteral("Stereo Validator Log"), viewModel.logEntries, this),
      results_(new ValidatorResultsModel(viewModel.analysisResults, this)) {
    setAccessibleName(QStringLiteral("Stereo Validator"));
    feed_.clearLog = [this] { viewModel_.logEntries.clear(); };
    feed_.saveLog = [this] { viewModel_.saveLog(); };
    feed_.outputs = [this] { return outputsOf(provenRun()); };
    feed_.openFolder = [this](const QString& folder) { viewModel_.desktop().openFolder(folder); };
    connect(&feed_, &ActivityFeed::changed, this,
            [this] { Q_EMIT progressed(feed_.state() == ActivityState::running ? feed_.progress() : -1); });
    auto* content = columnLayout(7);
    content->setContentsMargins(kMargin, 6, kMargin, 4);
    content->addWidget(makeHeader(appearance));
    content->addWidget(makeSource());
    settings_ = new ValidatorSettings(viewModel);
    content->addWidget(settings_);
    content->addWidget(makeActions());
    content->addWidget(makeSummary());
    content->addWidget(makeResults(), 1);
    transport_ = new SimplePlaybackTransport(viewModel.playbackManager().engine());
    content->addWidget(transport_);
    auto* page = columnLayout(0);
    page->addWidget(new ScrolledPage(content), 1);
    page->addWidget(new ActivityFooter(feed_));
    setLayout(page);
    connectController();
}

QWidget* StereoValidatorTabView::makeHeader(QProperty<Appearance>& appearance) {
    auto* analyzer = new ToolStatusIndicator(QStringLiteral("Native Analyzer"));
    analyzer->setAvailable(true);
    analyzer->setHelp(QStringLiteral("Using native in-process analyzer - no external dependencies required"));
    return tabHeader(QStringLiteral("Stereo Validator"), {}, {analyzer, new AppearanceToggle(appearance)});
}

QWidget* StereoValidatorTabView::makeSource() {
    source_ = new SelectionRow({QStringLiteral("Source:"), QStringLiteral("Select Files or Folder..."),
                                QStringLiteral("Select files or a folder (Ctrl+I)"),
                                QStringLiteral("Clear analysis results and start over")});
    output_ = new SelectionRow({QStringLiteral("Output Folder:"), QStringLiteral("Choose..."),
                                QStringLiteral("Choose where to save analysis results and processed files"),
                                QStringLiteral("Clear output folder (save next to source)")});
    output_->clearButton().setAccessibleDescription(QStringLiteral("Reset to default output (same as source)"));
    connect(source_, &SelectionRow::chooseClicked, this, &StereoValidatorTabView::selectInput);
    connect(source_, &SelectionRow::clearClicked, this, &StereoValidatorTabView::clearSelection);
    connect(output_, &SelectionRow::chooseClicked, this, &StereoValidatorTabView::selectOutput);
    connect(output_, &SelectionRow::clearClicked, this, [this] { viewModel_.outputFolder = QString(); });
    const QString recursive = QStringLiteral("Scan subfolders recursively");
    recursive_ = named(new QCheckBox(recursive), recursive);
    connect(recursive_, &QCheckBox::toggled, this, [this](bool isOn) { viewModel_.recursiveScan = isOn; });
    auto* card = new SelectionCard(QStringLiteral("Source and output"));
    card->addRow(source_, recursive_);
    card->addRow(output_);
    sourceSection_ = card;
    return card;
}

QWidget* StereoValidatorTabView::makeActions() {
    analyze_ =
        pushButton(QStringLiteral("Analyze Files"), QString(), QStringLiteral("Analyze selected files (Ctrl+S)"));
    analyze_->setIcon(symbolIcon(QStringLiteral("waveform.path"), SymbolTint::onAccent));
    makePrimary(*analyze_);
    cleanExport_ = pushButton(QStringLiteral("Clean && Export..."), QStringLiteral("wand"),
                              QStringLiteral("Convert the files that need it (Ctrl+R)"));
    cleanExport_->setAccessibleName(QStringLiteral("Clean & Export..."));
    clearResults_ = pushButton(QStringLiteral("Clear Results"));
    connect(analyze_, &QPushButton::clicked, this, [this] {
        printDiagnostic(QStringLiteral("🚀 ANALYZE BUTTON CLICKED"));
        viewModel_.startAnalysis();
    });
    connect(cleanExport_, &QPushButton::clicked, this, &StereoValidatorTabView::run);
    connect(clearResults_, &QPushButton::clicked, this, [this] { viewModel_.analysisResults.clear(); });
    status_ = new TruncatingText(Qt::ElideMiddle);
    progress_ = new ProgressLine(QStringLiteral("Analysis progress"));
    auto* row = rowLayout();
    stop_ =
        pushButton(QStringLiteral("Stop"), QStringLiteral("stop.fill"), QStringLiteral("Stop before the next file"));
    connect(stop_, &QPushButton::clicked, this, [this] { viewModel_.stopAnalysis(); });
    for (QPushButton* button : {analyze_, stop_, cleanExport_, clearResults_}) row->addWidget(button);
    row->addWidget(checkButton());
    row->addSpacing(6);
    row->addWidget(status_, 1);
    auto* column = columnLayout(5);
    column->addLayout(row);
    column->addWidget(progress_);
    auto* actions = new QWidget;
    actions->setLayout(column);
    actions->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    return actions;
}

QWidget* StereoValidatorTabView::makeSummary() {
    fold_ = new FoldingHeader(
        QStringLiteral("Analysis Summary"), showAnalysisSummary,
        {QStringLiteral("Click to collapse the summary"), QStringLiteral("Click to expand the summary")});
    analyzed_ = new SecondaryLabel;
    auto* head = rowLayout(12);
    head->addWidget(fold_, 1);
    head->addWidget(analyzed_);
    badges_ = new QWidget;
    badges_->setAccessibleName(QStringLiteral("Classes"));
    badgeFlow_ = new FlowLayout(6);
    badges_->setLayout(badgeFlow_);
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    policy.setHeightForWidth(true);
    badges_->setSizePolicy(policy);
    auto* column = columnLayout(4);
    column->addLayout(head);
    column->addWidget(badges_);
    auto* summary = new QWidget;
    summary->setLayout(column);
    bindings_.bind(showAnalysisSummary, [this] { badges_->setVisible(showAnalysisSummary.value()); });
    return summary;
}

QWidget* StereoValidatorTabView::makeResults() {
    auto* title = boldLabel(QStringLiteral("Detailed Results"));
    table_ = new RecordTable(QStringLiteral("Detailed Results"));
    const auto sources = [this](int record) { return QStringList(results_->record(record).filepath); };
    table_->setRecords(*results_,
                       {.filterColumns = {ValidatorResultsModel::FileColumn, ValidatorResultsModel::CodecColumn,
                                          ValidatorResultsModel::ClassificationColumn},
                        .headOf = {},
                        .files = sources});
    RowMenu menu;
    menu.play = [this](int record) { audition(record); };
    menu.sources = sources;
    menu.outputs = [this](int record) {
        const auto& outcome = results_->record(record).outcome;
        return outcome ? outcome->outputs : QStringList();
    };
    menu.error = [this](int record) { return errorOf(results_->record(record)); };
    addRowMenu(*table_, viewModel_.desktop(), std::move(menu));
    table_->setEmptyText(QStringLiteral("Analyze files to see what they really are."));
    table_->setItemDelegateForColumn(ValidatorResultsModel::ClassificationColumn, new StatusBadge(table_));
    table_->setItemDelegateForColumn(ValidatorResultsModel::TrustColumn, new StatusBadge(table_));
    table_->setItemDelegateForColumn(ValidatorResultsModel::CodecColumn,
                                     new ChannelIndicators(table_)); // CodecBadgeView
    table_->setColumnText(ValidatorResultsModel::CodecColumn, QStringLiteral("Format"), 4);
    table_->setColumnText(ValidatorResultsModel::ClassificationColumn, QStringLiteral("Dual Mono (Gain Mismatch)"), 18);
    table_->setColumnText(ValidatorResultsModel::CorrelationColumn, QStringLiteral("Correlation"), 18);
    table_->setColumnText(ValidatorResultsModel::ConfidenceColumn, QStringLiteral("Confidence"), 18);
    table_->setColumnText(ValidatorResultsModel::LagColumn, QStringLiteral("-888.88 ms"));
    table_->setColumnText(ValidatorResultsModel::MidSideColumn, QStringLiteral("Mid≈0 (Anti-Phase)"));
    table_->setColumnText(ValidatorResultsModel::DurationColumn, QStringLiteral("Duration "));
    table_->setColumnText(ValidatorResultsModel::TrustColumn, QStringLiteral("Unsure"), 18);
    table_->setColumnText(ValidatorResultsModel::WhyColumn, QStringLiteral("Looks dual mono, but differs"), 18);
    table_->setColumnWidth(ValidatorResultsModel::FileColumn, 200);
    table_->setStretchColumns({ValidatorResultsModel::FileColumn});
    table_->setMinimumRows(4);
    table_->horizontalHeader()->setSortIndicator(ValidatorResultsModel::FileColumn, Qt::AscendingOrder);
    showProofs(bindings_, viewModel_.proves, *table_, ValidatorResultsModel::ProofColumn,
               ValidatorResultsModel::FileColumn);
    connect(table_, &RecordTable::rowChosen, this, &StereoValidatorTabView::load);
    connect(table_, &RecordTable::cellClicked, this, [this](int record, int column) {
        if (column == ValidatorResultsModel::ProofColumn) return;
        if (table_->selectionModel()->selectedRows().size() == 1) audition(record);
    });
    connect(table_, &RecordTable::rowActivated, this, &StereoValidatorTabView::audition);
    firstSteps_ = new FirstSteps(
        *table_,
        {QStringLiteral("Finds stereo files that are mono, one-sided or out of phase, and makes mono files of them."),
         {{{QStringLiteral("folder"), QStringLiteral("Drop stereo files or a folder")},
           {QStringLiteral("magnifyingglass"), QStringLiteral("Analyze tells what each file really is")},
           {QStringLiteral("wand"), QStringLiteral("Clean & Export mends those that you choose")}}}});
    connect(firstSteps_, &FirstSteps::demoRequested, this, [this] { Q_EMIT demoRequested(DemoKind::stereo); });
    auto* column = columnLayout(5);
    column->addWidget(title);
    column->addWidget(withFilter(*table_), 1);
    auto* results = new QWidget;
    results->setLayout(column);
    return results;
}

void StereoValidatorTabView::connectController() {
    auto* refreshSoon = new Coalesced(this, [this] { refresh(); });
    refreshSoon->follow(viewModel_.analysisResults);
    refreshSoon->follow(viewModel_.logEntries);
    const auto request = [refreshSoon] { refreshSoon->request(); };
    bindings_.watch(viewModel_.isAnalyzing, request);
    bindings_.watch(viewModel_.analysisProgress, request);
    bindings_.watch(viewModel_.isExporting, request);
    bindings_.watch(viewModel_.exportProgress, request);
    bindings_.watch(viewModel_.currentAnalysisFile, request);
    bindings_.watch(viewModel_.sourceFolder, request);
    bindings_.watch(viewModel_.selectedFiles, request);
    bindings_.watch(viewModel_.outputFolder, request);
    // Folder and files change one after the other.
    auto* sourceSoon = new Coalesced(this, [this] { Q_EMIT sourceChanged(); });
    bindings_.watch(viewModel_.sourceFolder, [sourceSoon] { sourceSoon->request(); });
    bindings_.watch(viewModel_.selectedFiles, [sourceSoon] { sourceSoon->request(); });
    bindings_.bind(viewModel_.recursiveScan, [this] { recursive_->setChecked(viewModel_.recursiveScan.value()); });
    connect(&viewModel_.analysisResults, &RecordListSignals::reset, this, &StereoValidatorTabView::rebuildBadges);
    connect(&viewModel_, &StereoValidatorViewModel::analysisEnded, this, &TabPage::taskEnded);
    bindings_.watch(viewModel_.isExporting, [this] {
        if (!viewModel_.isExporting.value()) Q_EMIT taskEnded();
    });
    bindings_.watch(viewModel_.showCleanExportDialog, [this] {
        if (viewModel_.showCleanExportDialog.value()) openDialog();
    });
    PlaybackManager& playback = viewModel_.playbackManager();
    const auto show = [this] {
        const QString name = viewModel_.playbackManager().currentFileName.value();
        const QString error = viewModel_.playbackManager().engine().loadError.value();
        transport_->setLabel(!error.isEmpty() ? error
                             : name.isEmpty() ? QStringLiteral("Select a file to play")
                                              : name,
                             name.isEmpty() || !error.isEmpty());
    };
    bindings_.watch(playback.engine().loadError, show);
    bindings_.bind(playback.currentFileName, show);
    bindings_.watch(playback.currentFileURL, [this] {
        const QString recording = viewModel_.playbackManager().recordingURL();
        transport_->setRecordings(recording.isEmpty() ? QStringList() : QStringList(recording));
    });
    rebuildBadges();
    refresh();
}

// On its first appearance the tab is set to the default preset.
void StereoValidatorTabView::showEvent(QShowEvent* event) {
    TabPage::showEvent(event);
    if (std::exchange(hasAppeared_, true)) return;
    viewModel_.applyPreset(AnalysisPreset::recommended);
    viewModel_.logEntries.add(LogLevel::info, LogCategory::system,
                              QStringLiteral("✅ Applied default preset: ") + rawText(AnalysisPreset::recommended));
}

void StereoValidatorTabView::selectInput() {
    if (!viewModel_.isAnalyzing.value()) viewModel_.selectSource();
}

void StereoValidatorTabView::selectOutput() { viewModel_.selectOutputFolder(); }

void StereoValidatorTabView::scan() {
    if (viewModel_.canAnalyze()) viewModel_.startAnalysis();
}

void StereoValidatorTabView::run() {
    if (!viewModel_.analysisResults.empty() && !viewModel_.isAnalyzing.value()) viewModel_.showCleanExportDialog = true;
}

// A single folder is taken as it is; of anything else the WAV files are.
void StereoValidatorTabView::acceptDrop(const QStringList& urls) {
    if (isRunningJob()) return;
    if (urls.size() == 1 && paths::isFolder(urls.first())) {
        viewModel_.selectedFiles = std::nullopt;
        viewModel_.sourceFolder = urls.first();
        return;
    }
    QStringList files;
    for (const QString& url : urls) {
        if (paths::lowerExtension(url) == QStringLiteral("wav")) files << url;
    }
    if (files.isEmpty()) return; // nothing usable changes nothing
    viewModel_.sourceFolder = QString();
    viewModel_.selectedFiles = files;
}

bool StereoValidatorTabView::isPreviewReady() const { return viewModel_.playbackManager().engine().isLoaded.value(); }

void StereoValidatorTabView::togglePreview() {
    viewModel_.playbackManager().togglePlayPause(); // which turns the controller's isAuditioning with it
}

void StereoValidatorTabView::skipPreview(double seconds) {
    AudioPlaybackEngine& engine = viewModel_.playbackManager().engine();
    engine.seek(engine.currentTime.value() + seconds);
}

void StereoValidatorTabView::shuttlePreview(int direction) { transport_->shuttle(direction); }

void StereoValidatorTabView::leave() {
    viewModel_.playbackManager().engine().stop(); // which ends the controller's isAuditioning with it
}

bool StereoValidatorTabView::isRunningJob() const {
    return viewModel_.isAnalyzing.value() || viewModel_.isExporting.value();
}

void StereoValidatorTabView::stop() {
    viewModel_.stopExport();
    viewModel_.stopAnalysis();
}

QWidget* StereoValidatorTabView::firstFocus() { return &source_->button(); }

QStringList StereoValidatorTabView::listedRecordings() const {
    QStringList files;
    for (const StereoValidatorResult& result : viewModel_.analysisResults) files << result.filepath;
    return files;
}

QString StereoValidatorTabView::sourcePath() const {
    const auto& files = viewModel_.selectedFiles.value();
    return files && !files->isEmpty() ? files->first() : viewModel_.sourceFolder.value();
}

ProvenRun StereoValidatorTabView::provenRun() const {
    ProvenRun run{QStringLiteral("clean"), {}, usedTools(viewModel_.engine.value(), viewModel_.toolDetector())};
    for (const StereoValidatorResult& result : viewModel_.analysisResults) {
        if (result.outcome) run.items.emplace_back(paths::lastComponent(result.filepath), *result.outcome);
    }
    return run;
}

std::vector<StereoValidatorResult> StereoValidatorTabView::selectedResults() const {
    std::vector<StereoValidatorResult> selected;
    const QList<int> rows = table_->selectedRecords();
    for (const int row : rows) selected.push_back(results_->record(row));
    return selected;
}

CleanExportDialogView* StereoValidatorTabView::cleanExportDialog() const { return dialog_; }

void StereoValidatorTabView::clearSelection() {
    viewModel_.sourceFolder = QString();
    viewModel_.selectedFiles = std::nullopt;
    viewModel_.analysisResults.clear();
    viewModel_.playbackManager().stopAndClear();
    viewModel_.logEntries.add(LogLevel::info, LogCategory::system, QStringLiteral("Cleared source selection"));
}

// The arrow keys go from row to row: what is heard goes with them.
void StereoValidatorTabView::load(int record) {
    const StereoValidatorResult& result = results_->record(record);
    if (result.filepath == currentlyPlayingFile.value()) return;
    if (viewModel_.isAuditioning.value()) return audition(record);
    currentlyPlayingFile = result.filepath;
    viewModel_.playbackManager().loadFile(result.filepath, result.sampleRate, result.bitDepth);
}

void StereoValidatorTabView::audition(int record) {
    currentlyPlayingFile = results_->record(record).filepath;
    viewModel_.audition(results_->record(record));
}

void StereoValidatorTabView::rebuildBadges() {
    while (QLayoutItem* item = badgeFlow_->takeAt(0)) {
        item->widget()->hide();
        item->widget()->deleteLater();
        delete item;
    }
    const std::vector<int> counts = results_->classCounts();
    QWidget* before = fold_;
    for (const StereoClassification classification : kAllStereoClassifications) {
        const int count = counts[static_cast<std::size_t>(classification)];
        if (count == 0) continue;
        auto* badge = new ClassificationBadge(classification, count);
        connect(badge, &QAbstractButton::clicked, this, [this, classification] { toggleFilter(classification); });
        badgeFlow_->addWidget(badge);
        badge->show();
        putBehind(*before, *badge);
        before = badge;
    }
    const auto total = viewModel_.analysisResults.size();
    const QString words =
        viewModel_.wasStopped()
            ? QStringLiteral("%1 of %2 files analyzed, stopped").arg(total).arg(viewModel_.totalFiles())
            : QStringLiteral("%1 files analyzed").arg(total);
    analyzed_->setText(total == 0 ? QString() : words);
    badges_->updateGeometry();
    currentlyPlayingFile = QString();
}

void StereoValidatorTabView::toggleFilter(StereoClassification classification) {
    const bool isOn = results_->selectedClassification() == classification;
    results_->setSelectedClassification(isOn ? std::nullopt : std::optional(classification));
    for (int index = 0; index < badgeFlow_->count(); ++index) {
        auto* badge = static_cast<ClassificationBadge*>(badgeFlow_->itemAt(index)->widget());
        badge->setChecked(results_->selectedClassification() == badge->classification());
    }
}

void StereoValidatorTabView::openDialog() {
    if (dialog_) return;
    dialog_ = new CleanExportDialogView(
        viewModel_, static_cast<int>(selectedResults().size()), [this] { return selectedResults(); }, window());
    dialog_->setAttribute(Qt::WA_DeleteOnClose);
    dialog_->open();
}

void StereoValidatorTabView::refresh() {
    const bool isBusy = viewModel_.isAnalyzing.value();
    const auto& files = viewModel_.selectedFiles.value();
    QString chosen;
    if (files) {
        chosen = QStringLiteral("%1 file(s) selected").arg(files->size());
    } else if (!viewModel_.sourceFolder.value().isEmpty()) {
        chosen = QStringLiteral("Folder selected: ") + viewModel_.sourceFolder.value();
    }
    source_->show(chosen, QStringLiteral("Click button to select audio files →"));
    output_->show(viewModel_.outputFolder.value(), QStringLiteral("Default: Same folder as source files"));
    output_->setToolTip(viewModel_.outputFolder.value().isEmpty()
                            ? QStringLiteral("Each file will be saved next to its original")
                            : QString());
    const bool hasResults = !viewModel_.analysisResults.empty();
    firstSteps_->setVisible(chosen.isEmpty() && !hasResults && !isBusy);
    if (isBusy && !wasBusy_ && isAncestorOf(QApplication::focusWidget())) table_->setFocus();
    sourceSection_->setEnabled(!isBusy);
    settings_->setEnabled(!isBusy);
    analyze_->setEnabled(viewModel_.canAnalyze());
    stop_->setEnabled(isBusy);
    cleanExport_->setEnabled(hasResults && !isBusy);
    clearResults_->setEnabled(hasResults && !isBusy);
    status_->setText(isBusy ? viewModel_.currentAnalysisFile.value() : QString(), true);
    progress_->setProgress(isBusy ? viewModel_.analysisProgress.value() : -1);

    const auto isUnusable = [](const StereoValidatorResult& result) { return !result.error.isEmpty(); };
    const auto& results = viewModel_.analysisResults;
    const bool hasErrors = std::any_of(results.begin(), results.end(), isUnusable);
    const ActivityState ended = hasErrors                                ? ActivityState::error
                                : hasResults && !viewModel_.wasStopped() ? ActivityState::done
                                                                         : ActivityState::ready;
    const bool isExporting = viewModel_.isExporting.value();
    feed_.set(isBusy || isExporting ? ActivityState::running : ended,
              isExporting ? viewModel_.exportProgress.value() : viewModel_.analysisProgress.value());
    if (isBusy == wasBusy_) return;
    wasBusy_ = isBusy;
    const auto& entries = viewModel_.logEntries;
    Q_EMIT busyChanged(isBusy, entries.empty() ? QString() : entries.rows().back().message);
}

} // namespace ostrel
