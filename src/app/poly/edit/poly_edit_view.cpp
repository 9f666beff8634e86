#include "app/poly/edit/poly_edit_view.h"

#include "app/controls/conform_box.h"
#include "app/controls/engine_switch.h"
#include "app/controls/flag_box.h"
#include "app/controls/layouts.h"
#include "app/controls/overwrite_box.h"
#include "app/controls/page_stack.h"
#include "app/controls/proof_box.h"
#include "app/controls/scrolled_page.h"
#include "app/panels/run_row.h"
#include "app/panels/selection_card.h"
#include "app/poly/batch/batch_poly_list.h"
#include "app/poly/batch/batch_poly_model.h"
#include "app/poly/edit/batch_channel_removal_config_view.h"
#include "app/poly/edit/channel_removal_section.h"
#include "app/poly/edit/channel_rename_section.h"
#include "app/poly/edit/channel_reorder_section.h"
#include "app/tables/record_table.h"

#include <QCheckBox>

namespace ostrel {
namespace {

constexpr int kNarrowEdit = 210; // average characters
constexpr int kLeastNameWidth = 110;
enum OutputMode { rebuildMode, inPlaceMode };

QString sourceHint() { return QStringLiteral("Select poly files to edit — rename channels, remove tracks"); }

} // namespace

PolyEditView::PolyEditView(PolyToolsViewModel& viewModel, QWidget* parent)
    : QWidget(parent), viewModel_(viewModel), edits_(viewModel) {
    setAccessibleName(rawText(PolyMode::editPoly));
    source_ = makeSource();
    polys_ = new BatchPolyList(viewModel);
    polys_->table().setColumnWidth(BatchPolyModel::NameColumn, kLeastNameWidth);
    polys_->table().setStretchColumns({BatchPolyModel::NameColumn});
    runRow_ = new RunRow(viewModel, PolyMode::editPoly,
                         {QStringLiteral("Apply Edits"), QString(), QStringLiteral("Processing..."),
                          QStringLiteral("Make the edited polys (Ctrl+R)")});
    runRow_->setFocusDuringRun(&polys_->table());
    connect(runRow_, &RunRow::runClicked, this, [this] { viewModel_.edit().run(); });
    auto* middle = rowLayout(12);
    middle->addWidget(polys_, 11);
    middle->addWidget(makeEdits(), 10);
    auto* column = columnLayout(7);
    column->addWidget(source_);
    column->addLayout(middle, 1);
    column->addWidget(runRow_);
    setLayout(column);
    setFocusProxy(&sourceRow_->button());
    connectController();
}

void PolyEditView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    const bool isNarrow = width() < kNarrowEdit * fontMetrics().averageCharWidth();
    for (const int column : {BatchPolyModel::SampleRateColumn, BatchPolyModel::DurationColumn})
        polys_->table().setColumnHidden(column, isNarrow);
    polys_->table().stretch();
}

QWidget& PolyEditView::lists() const { return *polys_; }

QWidget* PolyEditView::makeSource() {
    sourceRow_ = new SelectionRow({QStringLiteral("Source:"), QStringLiteral("Select..."), sourceHint(),
                                   QStringLiteral("Clear source selection")});
    outputRow_ =
        new SelectionRow({QStringLiteral("Output Folder:"), QStringLiteral("Select Output Folder..."),
                          QStringLiteral("Select output folder to proceed"), QStringLiteral("Clear output folder")});
    required_ = new ToneLabel(QStringLiteral("(Required)"), ProcessingStatus::Color::orange);
    required_->setWordWrap(false);
    auto* required = rowLayout(0);
    required->addWidget(required_);
    required->addStretch();
    auto* requiredPlace = new QWidget;
    requiredPlace->setLayout(required);
    connect(sourceRow_, &SelectionRow::chooseClicked, this, [this] { viewModel_.selectSource(); });
    connect(sourceRow_, &SelectionRow::clearClicked, this, [this] { viewModel_.source().clear(); });
    connect(outputRow_, &SelectionRow::chooseClicked, this, [this] { viewModel_.source().selectOutputFolder(); });
    connect(outputRow_, &SelectionRow::clearClicked, this, [this] { viewModel_.splitOutputFolder = QString(); });
    QCheckBox* recursive = flagBox(bindings_, viewModel_.recursiveScan, QStringLiteral("Scan subfolders recursively"));
    connect(recursive, &QCheckBox::clicked, this, &PolyEditView::rescanFolder);
    auto* card = new SelectionCard(QStringLiteral("Source and output"));
    card->addRow(sourceRow_, recursive);
    card->addRow(outputRow_, requiredPlace);
    card->addWidget(makeOutputMode());
    return card;
}

QWidget* PolyEditView::makeOutputMode() {
    outputModes_ = new SegmentedControl(QStringLiteral("Output Mode"));
    outputModes_->addSegment(QStringLiteral("Save to output folder (rebuild files)"));
    outputModes_->addSegment(QStringLiteral("Edit in place (metadata only — rename via bwfmetaedit)"));
    connect(outputModes_, &SegmentedControl::chosen, this,
            [this](int index) { viewModel_.editPolyEditInPlace = index == inPlaceMode; });
    modeNotes_ = new PageStack;
    auto* rebuilt = rowLayout();
    auto* preserved = new TruncatingText(Qt::ElideRight);
    preserved->setText(QStringLiteral("All metadata preserved (iXML, BWF, SMED)"), true);
    rebuilt->addWidget(preserved, 1);
    rebuilt->addWidget(engineSwitch(bindings_, viewModel_.engine, QStringLiteral("polytools")));
    rebuilt->addSpacing(8);
    rebuilt->addWidget(
        conformBox(bindings_, viewModel_.conformsHeaders, viewModel_.engine, QStringLiteral("polytools")));
    rebuilt->addSpacing(8);
    rebuilt->addWidget(proofBox(bindings_, viewModel_.proves, QStringLiteral("polytools")));
    rebuilt->addSpacing(8);
    rebuilt->addWidget(overwriteBox(bindings_, viewModel_));
    auto* rebuildPage = new QWidget;
    rebuildPage->setLayout(rebuilt);
    modeNotes_->addPage(rebuildPage);
    auto* careful = new ToneLabel(QStringLiteral("Edits original files directly. Only metadata rename is supported in "
                                                 "this mode (no channel removal or reorder)."),
                                  ProcessingStatus::Color::orange);
    careful->setWordWrap(false);
    modeNotes_->addPage(careful);
    bindings_.bind(viewModel_.editPolyEditInPlace, [this] {
        const int mode = viewModel_.editPolyEditInPlace.value() ? inPlaceMode : rebuildMode;
        outputModes_->setCurrent(mode);
        modeNotes_->setCurrent(mode);
    });
    auto* label = new QLabel(QStringLiteral("Output Mode:"));
    label->setFixedWidth(outputRow_->labelWidth());
    auto* first = rowLayout();
    first->addWidget(label);
    first->addWidget(outputModes_);
    first->addStretch();
    auto* second = rowLayout();
    second->addSpacing(outputRow_->labelWidth() + kSpacing);
    second->addWidget(modeNotes_, 1);
    auto* column = columnLayout(3);
    column->addLayout(first);
    column->addLayout(second);
    auto* rows = new QWidget;
    rows->setLayout(column);
    return rows;
}

QWidget* PolyEditView::makeEdits() {
    removal_ = new ChannelRemovalSection(edits_);
    reorder_ = new ChannelReorderSection(viewModel_.edit(), edits_);
    rename_ = new ChannelRenameSection(
        edits_, {QStringLiteral("Rename Channels"),
                 QStringLiteral("Edit iXML track names in the poly files (metadata only, no re-encoding)"),
                 QStringLiteral("Enter new names for channels. Leave blank to keep original.")});
    auto* sections = columnLayout(6);
    for (EditSection* section : std::initializer_list<EditSection*>{removal_, reorder_, rename_})
        sections->addWidget(section);
    sections->addStretch();
    auto* page = new ScrolledPage(sections);
    page->setMinimumHeight(150);
    auto* column = columnLayout(5);
    column->addWidget(makeEditsHeading());
    column->addWidget(page, 1);
    editColumn_ = new QWidget;
    editColumn_->setLayout(column);
    return editColumn_;
}

QWidget* PolyEditView::makeEditsHeading() {
    auto* title = new QLabel(QStringLiteral("EDITS"));
    QFont bold = title->font();
    bold.setWeight(QFont::DemiBold);
    title->setFont(bold);
    configure_ = pushButton(QStringLiteral("Configure…"), QString(),
                            QStringLiteral("Set removal and new names for all poly files of the batch"));
    clearEdits_ = pushButton(QStringLiteral("Clear Edits"), QString(),
                             QStringLiteral("Take back removal, order and names; the files stay selected"));
    clearAll_ = pushButton(QStringLiteral("Clear All"), QString(),
                           QStringLiteral("Clear files, edits and output folder and start over"));
    connect(configure_, &QPushButton::clicked, this, &PolyEditView::openDialog);
    connect(clearEdits_, &QPushButton::clicked, this, [this] { edits_.clear(); });
    connect(clearAll_, &QPushButton::clicked, this, &PolyEditView::clearAll);
    auto* row = rowLayout(6);
    row->addWidget(title);
    row->addStretch();
    for (QPushButton* button : {configure_, clearEdits_, clearAll_}) row->addWidget(button);
    auto* heading = new QWidget;
    heading->setLayout(row);
    return heading;
}

void PolyEditView::connectController() {
    auto* refreshSoon = new Coalesced(this, [this] { refresh(); });
    const auto request = [refreshSoon] { refreshSoon->request(); };
    refreshSoon->follow(viewModel_.batchPolyMetadata);
    bindings_.watch(viewModel_.sourceFolder, request);
    bindings_.watch(viewModel_.selectedFiles, request);
    bindings_.watch(viewModel_.polyFile, request);
    bindings_.watch(viewModel_.splitOutputFolder, request);
    bindings_.watch(viewModel_.editPolyEditInPlace, request);
    bindings_.watch(viewModel_.foreseenRefusals, request);
    bindings_.watch(viewModel_.channelRemovalFilter, request);
    bindings_.watch(viewModel_.channelReorderMap, request);
    bindings_.watch(viewModel_.channelRemovalRenameMap, request);
    for (QProperty<bool>* isOn : {&edits_.removes, &edits_.reorders, &edits_.renames}) bindings_.watch(*isOn, request);
    bindings_.watch(viewModel_.isProcessing, request);
    bindings_.bind(viewModel_.batchResults, [this] { showResults(); });
    bindings_.bind(viewModel_.mode, [this] { listSinglePoly(); });
    refresh();
}

void PolyEditView::rescanFolder() {
    const QString folder = viewModel_.sourceFolder.value();
    if (!folder.isEmpty()) viewModel_.applyIntelligentModeDetection({folder}, viewModel_.mode.value());
}

// The one poly that was opened to be split is edited like a batch of one.
void PolyEditView::listSinglePoly() {
    const auto& poly = viewModel_.polyFile.value();
    const auto& files = viewModel_.selectedFiles.value();
    const bool isSource = poly && viewModel_.sourceFolder.value().isEmpty() && (!files || files->isEmpty());
    if (viewModel_.mode.value() != PolyMode::editPoly || !isSource) return;
    const auto& listed = viewModel_.batchPolyMetadata;
    if (listed.size() == 1 && listed[0].url == poly->url) return;
    viewModel_.source().populateBatchPolyMetadata({poly->url});
}

QString PolyEditView::sourceText() const {
    const auto& files = viewModel_.selectedFiles.value();
    if (!viewModel_.sourceFolder.value().isEmpty()) return viewModel_.sourceFolder.value();
    if (files && files->size() == 1) return files->first();
    if (files && !files->isEmpty()) return QStringLiteral("%1 files selected").arg(files->size());
    const auto& poly = viewModel_.polyFile.value();
    return poly ? poly->url : QString();
}

void PolyEditView::clearAll() {
    const auto& files = viewModel_.selectedFiles.value();
    const bool isSinglePoly = viewModel_.sourceFolder.value().isEmpty() && (!files || files->isEmpty());
    edits_.clear();
    if (isSinglePoly && viewModel_.polyFile.value()) viewModel_.source().clear();
    viewModel_.edit().clear();
    runRow_->forgetResults();
}

BatchChannelRemovalConfigView* PolyEditView::configDialog() const { return dialog_; }

void PolyEditView::openDialog() {
    if (dialog_) return;
    dialog_ = new BatchChannelRemovalConfigView(edits_, this);
    dialog_->setAttribute(Qt::WA_DeleteOnClose);
    dialog_->open();
}

void PolyEditView::refresh() {
    const bool isIdle = !viewModel_.isProcessing.value();
    const bool hasSource = viewModel_.source().hasContent();
    const bool isBatch = viewModel_.batchPolyMetadata.size() > 1;
    const bool needsFolder = !viewModel_.editPolyEditInPlace.value() || viewModel_.channelReorderMap.value();
    sourceRow_->show(sourceText(), sourceHint());
    outputRow_->show(viewModel_.splitOutputFolder.value(),
                     needsFolder ? QStringLiteral("Select output folder to proceed")
                                 : QStringLiteral("Not needed: the files themselves are edited"));
    required_->setVisible(needsFolder && viewModel_.splitOutputFolder.value().isEmpty());
    source_->setEnabled(isIdle);
    editColumn_->setEnabled(isIdle);
    removal_->setDescription(isBatch ? QStringLiteral("Remove unwanted channels from all poly files and rebuild")
                                     : QStringLiteral("Remove unwanted channels from poly files"));
    configure_->setEnabled(isBatch);
    clearEdits_->setEnabled(edits_.removes.value() || edits_.reorders.value() || edits_.renames.value());
    clearAll_->setEnabled(hasSource || viewModel_.edit().hasAdvancedConfig());
    runRow_->setHelper(hasSource ? viewModel_.editPolyHelperText()
                                 : QStringLiteral("Select source files to see what will be edited"));
    runRow_->setCanRun(viewModel_.edit().canRun());
}

void PolyEditView::showResults() {
    const auto& result = viewModel_.batchResults.value();
    if (!result) return runRow_->setResults(QString(), {});
    runRow_->setResults(QStringLiteral("Edits applied"),
                        {{QStringLiteral("Completed: "), result->successCount, ProcessingStatus::Color::green},
                         {QStringLiteral("Skipped: "), result->skipCount, ProcessingStatus::Color::secondary},
                         {QStringLiteral("Errors: "), result->errorCount, ProcessingStatus::Color::red}});
}

} // namespace ostrel
