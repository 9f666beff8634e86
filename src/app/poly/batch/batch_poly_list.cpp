#include "app/poly/batch/batch_poly_list.h"

#include "app/controls/controls.h"
#include "app/controls/item_delegates.h"
#include "app/controls/layouts.h"
#include "app/panels/proof_dialog.h"
#include "app/panels/row_menu.h"
#include "app/poly/batch/batch_poly_model.h"
#include "app/tables/filter_bar.h"
#include "app/tables/record_table.h"

#include <QKeyEvent>

namespace ostrel {

BatchPolyList::BatchPolyList(PolyToolsViewModel& viewModel, QWidget* parent)
    : QWidget(parent), viewModel_(viewModel), model_(new BatchPolyModel(viewModel, this)),
      table_(new RecordTable(QStringLiteral("Polys"))) {
    setAccessibleName(QStringLiteral("Batch"));
    makeTable();
    auto* column = columnLayout(6);
    column->addWidget(makeHeading());
    column->addWidget(withFilter(*table_), 1);
    setLayout(column);
    auto* refreshSoon = new Coalesced(this, [this] { refresh(); });
    refreshSoon->follow(viewModel.batchPolyMetadata);
    const auto request = [refreshSoon] { refreshSoon->request(); };
    bindings_.watch(viewModel.isLoadingAllPreviews, request);
    bindings_.watch(viewModel.isScanningBatchFiles, request);
    bindings_.watch(viewModel.isProcessing, request);
    bindings_.watch(viewModel.sourceFolder, request);
    bindings_.watch(viewModel.batchResults, request);
    bindings_.watch(viewModel.expandedBatchPolyIndices, request);
    connect(&viewModel, &PolyToolsViewModel::taskEnded, refreshSoon, &Coalesced::request);
    refresh();
}

QWidget* BatchPolyList::makeHeading() {
    heading_ = boldLabel();
    expandAll_ = pushButton(QStringLiteral("Expand All"));
    collapseAll_ = pushButton(QStringLiteral("Collapse All"));
    loadAll_ = pushButton(QStringLiteral("Load All Previews"), QString(),
                          QStringLiteral("Extract audio for all polys so you can preview instantly"));
    loadAll_->setMinimumWidth(loadAll_->sizeHint().width()); // of the longest text that it gets
    connect(expandAll_, &QPushButton::clicked, this, [this] { setAllExpanded(true); });
    connect(collapseAll_, &QPushButton::clicked, this, [this] { setAllExpanded(false); });
    connect(loadAll_, &QPushButton::clicked, this, [this] { viewModel_.preview().batch().loadAllPreviews(); });
    auto* row = rowLayout(6);
    row->addWidget(heading_);
    row->addSpacing(8);
    row->addWidget(expandAll_);
    row->addWidget(collapseAll_);
    row->addStretch();
    retryFailed_ = pushButton(QStringLiteral("Retry Failed"), QString(),
                              QStringLiteral("Try the files that failed once more, and no other"));
    connect(retryFailed_, &QPushButton::clicked, this, [this] { retry(failed()); });
    row->addWidget(retryFailed_);
    row->addWidget(loadAll_);
    auto* heading = new QWidget;
    heading->setLayout(row);
    return heading;
}

void BatchPolyList::makeTable() {
    using Model = BatchPolyModel;
    const auto sources = [this](int record) { return QStringList(model_->fileOf(model_->lineAt(record).poly)); };
    table_->setRecords(*model_, {.filterColumns = {Model::StatusColumn, Model::NameColumn},
                                 .headOf = [this](int record) { return model_->rowOf(model_->lineAt(record).poly); },
                                 .files = sources});
    RowMenu menu;
    menu.play = [this](int record) { play(record); };
    menu.sources = sources;
    menu.outputs = [this](int record) { return model_->outcomeOf(model_->lineAt(record).poly).outputs; };
    menu.error = [this](int record) { return model_->errorOf(model_->lineAt(record).poly); };
    menu.isFree = [this] { return !viewModel_.isProcessing.value(); };
    menu.canRetry = [this](int record) { return model_->outcomeOf(model_->lineAt(record).poly).failed(); };
    menu.retry = [this](const QList<int>& records) { retry(records); };
    addRowMenu(*table_, viewModel_.desktop(), std::move(menu));
    table_->setItemDelegateForColumn(Model::ExpanderColumn, new ExpanderDelegate(table_));
    table_->setItemDelegateForColumn(Model::StatusColumn, new StatusBadge(table_));
    table_->setItemDelegateForColumn(Model::PreviewColumn, new StatusBadge(table_));
    table_->setColumnWidth(Model::ExpanderColumn, 30);
    showProofs(bindings_, viewModel_.proves, *table_, Model::ProofColumn, Model::NameColumn);
    table_->setColumnText(Model::StatusColumn, QStringLiteral("Processing"), 24);
    table_->setColumnText(Model::ChannelsColumn, QStringLiteral("Channels "));
    table_->setColumnText(Model::SampleRateColumn, QStringLiteral("Sample Rate "));
    table_->setColumnText(Model::DurationColumn, QStringLiteral("Duration "));
    table_->setColumnText(Model::PreviewColumn, QStringLiteral("Not loaded"), 24);
    table_->setColumnText(Model::ResultColumn, QStringLiteral("88 created, 8 failed"));
    table_->setColumnWidth(Model::NameColumn, 160);
    table_->setStretchColumns({Model::NameColumn});
    table_->setMinimumRows(4);
    table_->installEventFilter(this);
    connect(table_, &RecordTable::cellClicked, this, [this](int record, int column) {
        const BatchPolyModel::Line line = model_->lineAt(record);
        if (line.isPoly() && column == Model::ExpanderColumn)
            return model_->setExpanded(line.poly, !model_->isExpanded(line.poly));
        if (column != Model::ProofColumn) play(record);
    });
    connect(table_, &RecordTable::rowActivated, this, &BatchPolyList::play);
}

// The line that a person is at keeps its place.
void BatchPolyList::setAllExpanded(bool areExpanded) {
    const int current = table_->currentRecord();
    const int poly = current >= 0 ? model_->lineAt(current).poly : -1;
    model_->setAllExpanded(areExpanded);
    if (poly < 0) return;
    const QModelIndex index = table_->shownIndex(model_->rowOf(poly), BatchPolyModel::NameColumn);
    table_->setCurrentIndex(index);
    table_->scrollTo(index, QAbstractItemView::PositionAtCenter);
}

bool BatchPolyList::eventFilter(QObject* object, QEvent* event) {
    if (object == table_ && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (key->modifiers() == Qt::NoModifier && foldByKey(key->key())) return true;
    }
    return QWidget::eventFilter(object, event);
}

// As in a tree: right unfolds, left folds, from a channel's line too.
bool BatchPolyList::foldByKey(int key) {
    const int current = table_->currentRecord();
    if ((key != Qt::Key_Left && key != Qt::Key_Right) || current < 0) return false;
    const BatchPolyModel::Line line = model_->lineAt(current);
    if (key == Qt::Key_Left && !line.isPoly())
        table_->setCurrentIndex(table_->shownIndex(model_->rowOf(line.poly), BatchPolyModel::NameColumn));
    if (line.isPoly() || key == Qt::Key_Left) model_->setExpanded(line.poly, key == Qt::Key_Right);
    return true;
}

void BatchPolyList::play(int record) {
    const BatchPolyModel::Line line = model_->lineAt(record);
    line.isPoly() ? viewModel_.preview().batch().playBatchPoly(line.poly)
                  : viewModel_.preview().batch().playBatchChannel(line.poly, line.channel);
}

void BatchPolyList::retry(const QList<int>& records) {
    QStringList files;
    for (const int record : records) files << model_->fileOf(model_->lineAt(record).poly);
    files.removeDuplicates();
    viewModel_.mode.value() == PolyMode::editPoly ? viewModel_.edit().retry(files) : viewModel_.split().retry(files);
}

QList<int> BatchPolyList::failed() const {
    QList<int> records;
    for (int poly = 0; poly < model_->polyCount(); ++poly) {
        if (model_->outcomeOf(poly).failed()) records << model_->rowOf(poly);
    }
    return records;
}

void BatchPolyList::refresh() {
    const auto& polys = viewModel_.batchPolyMetadata;
    const bool isReading = viewModel_.isScanningBatchFiles.value() ||
                           (viewModel_.hasRunningTask() && viewModel_.batchMode.value() && polys.empty());
    const auto isReady = [](const BatchPolyMetadata& poly) { return poly.isPreviewReady; };
    const bool areLoaded = !polys.empty() && std::all_of(polys.begin(), polys.end(), isReady);
    const bool isLoading = viewModel_.isLoadingAllPreviews.value();
    heading_->setText(QStringLiteral("ITEMS (%1)").arg(polys.size()));
    table_->setEmptyText(isReading ? QStringLiteral("Scanning for poly files...")
                                   : QStringLiteral("Select poly files or folders to see them here"));
    table_->viewport()->update();
    const auto& results = viewModel_.batchResults.value();
    retryFailed_->setVisible(results && results->errorCount > 0 && !viewModel_.isProcessing.value());
    const auto expanded = viewModel_.expandedBatchPolyIndices.value().size();
    expandAll_->setEnabled(expanded < polys.size());
    collapseAll_->setEnabled(expanded > 0 && !polys.empty());
    loadAll_->setText(isLoading   ? QStringLiteral("Loading...")
                      : areLoaded ? QStringLiteral("All Loaded")
                                  : QStringLiteral("Load All Previews"));
    loadAll_->setAccessibleName(loadAll_->text());
    loadAll_->setEnabled(!polys.empty() && !areLoaded && !isLoading && viewModel_.preview().deck().isEnabled());
}

} // namespace ostrel
