#include "app/poly/split/poly_split_view.h"

#include "app/controls/controls.h"
#include "app/controls/flag_box.h"
#include "app/controls/item_cells.h"
#include "app/controls/item_delegates.h"
#include "app/controls/layouts.h"
#include "app/controls/page_stack.h"
#include "app/panels/row_menu.h"
#include "app/panels/run_row.h"
#include "app/panels/selection_card.h"
#include "app/poly/batch/batch_poly_list.h"
#include "app/poly/split/split_channels_model.h"
#include "app/poly/split/split_options.h"
#include "app/tables/filter_bar.h"
#include "app/tables/record_table.h"
#include "platform/text/text.h"

#include <QCheckBox>

namespace ostrel {
namespace {

enum SplitPage { channelsPage, batchPage };

RunRow::Texts singleTexts() {
    return {QStringLiteral("Split"), QString(), QStringLiteral("Splitting..."),
            QStringLiteral("Write every channel into a file of its own (Ctrl+R)")};
}

RunRow::Texts batchTexts() {
    return {QStringLiteral("Split All Files"), QStringLiteral("Split All"), QStringLiteral("Splitting..."),
            QStringLiteral("Write every channel of every poly into a file of its own (Ctrl+R)")};
}

// "12AT3.wav · 4 channels · 48 kHz · 24-bit · 00:00:02"
QString describe(const PolyFile& poly) {
    return QStringList{poly.fileName, QStringLiteral("%1 channels").arg(poly.channelCount),
                       sampleRateText(poly.sampleRate), bitDepthText(poly.bitDepth), clockText(poly.duration)}
        .join(QStringLiteral(" · "));
}

} // namespace

PolySplitView::PolySplitView(PolyToolsViewModel& viewModel, QWidget* parent) : QWidget(parent), viewModel_(viewModel) {
    setAccessibleName(rawText(PolyMode::split));
    run_ = new RunRow(viewModel, PolyMode::split, singleTexts());
    options_ = new SplitOptionsCard(viewModel);
    batch_ = new BatchPolyList(viewModel);
    lists_ = new PageStack;
    lists_->addPage(makeChannels());
    lists_->addPage(batch_);
    auto* column = columnLayout(6);
    column->addWidget(makeSource());
    column->addWidget(options_);
    column->addWidget(run_);
    column->addWidget(lists_, 1);
    setLayout(column);
    setFocusProxy(&source_->button());
    connect(run_, &RunRow::runClicked, this, &PolySplitView::run);
    connectController();
}

QWidget* PolySplitView::makeSource() {
    source_ = new SelectionRow({QStringLiteral("Source Poly File(s):"), QStringLiteral("Choose File(s)..."),
                                QStringLiteral("Select poly files or folders (Ctrl+I)"),
                                QStringLiteral("Clear loaded file and start over")});
    output_ =
        new SelectionRow({QStringLiteral("Output Folder:"), QStringLiteral("Choose Folder..."),
                          QStringLiteral("Choose the output folder (Ctrl+O)"), QStringLiteral("Clear output folder")});
    recursive_ = flagBox(bindings_, viewModel_.recursiveScan, QStringLiteral("Include subfolders"),
                         QStringLiteral("When selecting folders, include all subfolders recursively"));
    connect(recursive_, &QCheckBox::clicked, this, &PolySplitView::rescanFolder);
    connect(source_, &SelectionRow::chooseClicked, this, [this] { viewModel_.selectSource(); });
    connect(source_, &SelectionRow::clearClicked, this, [this] { viewModel_.source().clear(); });
    connect(output_, &SelectionRow::chooseClicked, this, [this] { viewModel_.source().selectOutputFolder(); });
    connect(output_, &SelectionRow::clearClicked, this, [this] { viewModel_.splitOutputFolder = QString(); });
    sourceSection_ = new SelectionCard(QStringLiteral("Source and output"));
    sourceSection_->addRow(source_, recursive_);
    sourceSection_->addRow(output_);
    return sourceSection_;
}

QWidget* PolySplitView::makeChannels() {
    using Model = SplitChannelsModel;
    heading_ = boldLabel();
    preparing_ = new SecondaryLabel;
    preparing_->setAccessibleName(QStringLiteral("Preview preparation"));
    playPoly_ = pushButton(QStringLiteral("Play Poly"), QStringLiteral("play.fill"),
                           QStringLiteral("Play the original poly file (all channels as recorded)"));
    connect(playPoly_, &QPushButton::clicked, this, [this] { viewModel_.preview().channels().playPolySource(); });
    auto* head = rowLayout(8);
    head->addWidget(heading_);
    head->addStretch();
    head->addWidget(preparing_);
    head->addWidget(playPoly_);
    channels_ = new RecordTable(QStringLiteral("Channels"));
    const auto sources = [this](int) {
        const auto& poly = viewModel_.polyFile.value();
        return poly ? QStringList(poly->url) : QStringList();
    };
    channels_->setRecords(*new Model(viewModel_, viewModel_, this),
                          {.filterColumns = {}, .headOf = {}, .files = sources});
    channels_->setItemDelegateForColumn(Model::ChannelColumn, new StatusBadge(channels_));
    channels_->setItemDelegateForColumn(Model::StatusColumn, new StatusBadge(channels_));
    channels_->setColumnText(Model::ChannelColumn, QStringLiteral("Channel "));
    channels_->setColumnText(Model::StatusColumn, QStringLiteral("Processing"), 24);
    channels_->setColumnWidth(Model::TrackColumn, 140);
    channels_->setColumnWidth(Model::OutputColumn, 200);
    channels_->setStretchColumns({Model::TrackColumn, Model::OutputColumn});
    channels_->setMinimumRows(4);
    const auto play = [this](int record) { viewModel_.preview().channels().selectChannelForPlayback(record); };
    connect(channels_, &RecordTable::cellClicked, this, [play](int record, int) { play(record); });
    RowMenu menu;
    menu.play = play;
    menu.sources = sources;
    addRowMenu(*channels_, viewModel_.desktop(), std::move(menu));
    connect(channels_, &RecordTable::rowActivated, this, play);
    auto* column = columnLayout(6);
    column->addLayout(head);
    column->addWidget(withFilter(*channels_), 1);
    auto* page = new QWidget;
    page->setLayout(column);
    return page;
}

void PolySplitView::connectController() {
    auto* refreshSoon = new Coalesced(this, [this] { refresh(); });
    const auto request = [refreshSoon] { refreshSoon->request(); };
    for (QProperty<bool>* flag :
         {&viewModel_.batchMode, &viewModel_.isProcessing, &viewModel_.isAnalyzing, &viewModel_.isPreparingPreview,
          &viewModel_.isScanningBatchFiles, &viewModel_.ffmpegAvailable}) {
        bindings_.watch(*flag, request);
    }
    for (QProperty<int>* count : {&viewModel_.successCount, &viewModel_.skipCount, &viewModel_.errorCount})
        bindings_.watch(*count, request);
    bindings_.watch(viewModel_.engine, request);
    bindings_.watch(viewModel_.selectedFiles, request);
    bindings_.watch(viewModel_.sourceFolder, request);
    bindings_.watch(viewModel_.splitOutputFolder, request);
    bindings_.watch(viewModel_.folderOrganization, request);
    bindings_.watch(viewModel_.foreseenRefusals, request);
    bindings_.watch(viewModel_.previewPreparationProgress, request);
    bindings_.watch(viewModel_.extractedChannelURLs, request);
    bindings_.watch(viewModel_.batchResults, request);
    // What came of a run is of no interest with another source.
    bindings_.watch(viewModel_.splitSourceSectionID, [this] { run_->forgetResults(); });
    bindings_.watch(viewModel_.polyFile, request);
    refreshSoon->follow(viewModel_.channelItems);
    refreshSoon->follow(viewModel_.batchPolyMetadata);
    refresh();
}

QWidget& PolySplitView::lists() const { return *lists_; }

void PolySplitView::run() { viewModel_.batchMode.value() ? viewModel_.split().runBatch() : viewModel_.split().run(); }

// What is listed and what a run reads are to be the same files.
void PolySplitView::rescanFolder() {
    const QString folder = viewModel_.sourceFolder.value();
    if (!folder.isEmpty()) viewModel_.applyIntelligentModeDetection({folder}, PolyMode::split);
}

void PolySplitView::refresh() {
    const bool isBusy = viewModel_.isProcessing.value();
    const bool isBatch = viewModel_.batchMode.value();
    sourceSection_->setEnabled(!isBusy);
    options_->setEnabled(!isBusy);
    lists_->setCurrent(isBatch ? batchPage : channelsPage);
    run_->setFocusDuringRun(isBatch ? &batch_->table() : channels_);
    refreshSource();
    refreshChannels();
    refreshRun();
}

void PolySplitView::refreshSource() {
    const auto& files = viewModel_.selectedFiles.value();
    const QString folder = viewModel_.sourceFolder.value();
    const auto& poly = viewModel_.polyFile.value();
    QString chosen;
    if (viewModel_.batchMode.value()) {
        if (files)
            chosen = QStringLiteral("%1 file(s) selected").arg(files->size());
        else if (!folder.isEmpty())
            chosen = QStringLiteral("1 folder(s) selected: ") + folder;
    } else if (poly) {
        chosen = describe(*poly);
    }
    const bool isReading = viewModel_.isAnalyzing.value() || viewModel_.isScanningBatchFiles.value();
    source_->show(chosen, isReading ? QStringLiteral("Analyzing...") : QStringLiteral("No file selected"));
    source_->setToolTip(poly && !viewModel_.batchMode.value() ? poly->url : QString());
    output_->show(viewModel_.splitOutputFolder.value(), QStringLiteral("Select output folder to proceed"));
    recursive_->setVisible(viewModel_.batchMode.value());
}

void PolySplitView::refreshChannels() {
    heading_->setText(QStringLiteral("ITEMS (%1)").arg(viewModel_.channelItems.size()));
    channels_->setEmptyText(QStringLiteral("Select a poly file to see channels"));
    const auto& step = viewModel_.previewPreparationProgress.value();
    preparing_->setText(
        viewModel_.isPreparingPreview.value() && step
            ? QStringLiteral("Preparing preview... %1/%2 channels ready").arg(step->first).arg(step->second)
            : QString());
    playPoly_->setEnabled(viewModel_.preview().deck().isEnabled() &&
                          !viewModel_.extractedChannelURLs.value().isEmpty());
}

void PolySplitView::refreshRun() {
    const bool isBatch = viewModel_.batchMode.value();
    run_->setTexts(isBatch ? batchTexts() : singleTexts());
    run_->setCanRun(isBatch ? viewModel_.split().canRunBatch() : viewModel_.split().canRun());
    const QString batchHelper = viewModel_.batchProcessHelperText();
    const auto& poly = viewModel_.polyFile.value();
    run_->setHelper(isBatch
                        ? (batchHelper.isEmpty() ? QStringLiteral("Select source files to see what will be processed")
                                                 : batchHelper)
                    : poly ? QStringLiteral("Split %1 into %2 ISOs").arg(poly->fileName).arg(poly->channelCount)
                           : QStringLiteral("Select a poly file to split"));
    using Color = ProcessingStatus::Color;
    const ResultsBanner::Entry errors{QStringLiteral("Errors: "), viewModel_.errorCount.value(), Color::red};
    const ResultsBanner::Entry skipped{QStringLiteral("Skipped: "), viewModel_.skipCount.value(), Color::orange};
    QList<ResultsBanner::Entry> entries;
    if (const auto& batch = viewModel_.batchResults.value(); isBatch && batch) {
        entries = {{QStringLiteral("Created: "), batch->totalISOsCreated, Color::green},
                   skipped,
                   {QStringLiteral("Completed: "), batch->successCount, Color::green}};
    } else if (!isBatch) {
        entries = {{QStringLiteral("Created: "), viewModel_.successCount.value(), Color::green}, skipped};
    }
    if (!entries.isEmpty() && errors.count > 0) entries << errors;
    run_->setResults(QString(), entries);
}

} // namespace ostrel
