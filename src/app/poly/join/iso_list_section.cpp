#include "app/poly/join/iso_list_section.h"

#include "app/controls/item_delegates.h"
#include "app/controls/layouts.h"
#include "app/panels/row_menu.h"
#include "app/poly/join/iso_table_model.h"
#include "app/tables/filter_bar.h"
#include "app/tables/record_table.h"
#include "polytools/records/iso_ordering.h"

#include <QMenu>
#include <QShortcut>

namespace ostrel {

IsoListSection::IsoListSection(PolyToolsViewModel& viewModel, QWidget* parent)
    : QWidget(parent), viewModel_(viewModel), model_(new IsoTableModel(viewModel, this)),
      table_(new RecordTable(QStringLiteral("ISO files"))) {
    setAccessibleName(QStringLiteral("ISO files"));
    makeTable();
    auto* column = columnLayout(6);
    column->addWidget(makeHeading());
    column->addWidget(makeActions());
    column->addWidget(withFilter(*table_), 1);
    setLayout(column);
    auto* refreshSoon = new Coalesced(this, [this] { refresh(); });
    refreshSoon->follow(viewModel.isoFiles);
    const auto request = [refreshSoon] { refreshSoon->request(); };
    bindings_.watch(viewModel.isoOrderingMethod, request);
    bindings_.watch(viewModel.isProcessing, request);
    bindings_.watch(viewModel.isAnalyzing, request);
    bindings_.watch(viewModel.isScanningJoinISOs, request);
    if (PreviewMixer* mixer = viewModel.preview().mixer()) bindings_.watch(mixer->isLoaded, request);
    refresh();
}

QWidget* IsoListSection::makeHeading() {
    count_ = boldLabel();
    order_ = new SecondaryLabel;
    addFiles_ = action(QStringLiteral("Add Files..."), QStringLiteral("Add mono files to the list"),
                       [this] { viewModel_.join().selectISOFiles(); });
    auto* row = rowLayout(12);
    row->addWidget(count_);
    row->addWidget(order_);
    row->addStretch();
    row->addWidget(addFiles_);
    auto* heading = new QWidget;
    heading->setLayout(row);
    return heading;
}

QPushButton* IsoListSection::action(const QString& text, const QString& help, std::function<void()> perform) {
    QPushButton* button = pushButton(text, QString(), help);
    connect(button, &QPushButton::clicked, this, std::move(perform));
    return button;
}

QWidget* IsoListSection::makeActions() {
    selectAll_ = action(QStringLiteral("Select All"), QString(), [this] { viewModel_.join().setAllSelected(true); });
    deselectAll_ =
        action(QStringLiteral("Deselect All"), QString(), [this] { viewModel_.join().setAllSelected(false); });
    moveUp_ = action(QStringLiteral("Move Up"), QStringLiteral("To the channel before (Alt+Up)"), [this] { move(-1); });
    moveDown_ =
        action(QStringLiteral("Move Down"), QStringLiteral("To the channel behind (Alt+Down)"), [this] { move(1); });
    reveal_ = action(QStringLiteral("Reveal in Files"), QStringLiteral("Open the folder that the file is in"),
                     [this] { viewModel_.revealInFinder(model_->record(table_->currentRecord()).url); });
    playAll_ =
        action(QStringLiteral("Play All"), QStringLiteral("Play all ISOs as interleaved poly (ground truth preview)"),
               [this] { viewModel_.preview().join().playJoinPolySource(); });
    previewAll_ =
        action(QStringLiteral("Preview All"), QStringLiteral("Select all ISOs for preview"), [this] { previewAll(); });
    clearPreview_ = action(QStringLiteral("Clear Preview"), QStringLiteral("Stop and unload the preview"),
                           [this] { viewModel_.preview().deck().clear(); });
    auto* row = rowLayout(6);
    for (QPushButton* button : {selectAll_, deselectAll_}) row->addWidget(button);
    row->addSpacing(10);
    for (QPushButton* button : {moveUp_, moveDown_, reveal_}) row->addWidget(button);
    row->addStretch();
    for (QPushButton* button : {playAll_, previewAll_, clearPreview_}) row->addWidget(button);
    auto* actions = new QWidget;
    actions->setLayout(row);
    return actions;
}

void IsoListSection::makeTable() {
    using Model = IsoTableModel;
    const auto sources = [this](int record) { return QStringList(model_->record(record).url); };
    table_->setRecords(
        *model_,
        {.filterColumns = {Model::FileColumn, Model::TrackColumn, Model::MarksColumn}, .headOf = {}, .files = sources});
    RowMenu menu;
    menu.play = [this](int record) { viewModel_.preview().join().selectISOForPlayback(record); };
    menu.sources = sources;
    menu.error = [this](int record) { return isoMarks(model_->record(record), model_->record(0)).join(u'\n'); };
    menu.includeColumn = Model::IncludeColumn;
    menu.isFree = [this] { return !viewModel_.isProcessing.value(); };
    menu.more = [this](QMenu& to, int record) { addMoves(to, record); };
    addRowMenu(*table_, viewModel_.desktop(), std::move(menu));
    connect(table_->rows(), &ArrangedRows::arranged, this, &IsoListSection::refreshMoves);
    table_->setEmptyText(QStringLiteral("Add ISO files to join into a poly file"));
    for (const int column : {Model::SoloColumn, Model::MarksColumn})
        table_->setItemDelegateForColumn(column, new StatusBadge(table_));
    table_->setColumnWidth(Model::IncludeColumn, 30);
    table_->setColumnText(Model::ChannelColumn, QStringLiteral("88"));
    table_->setColumnText(Model::SoloColumn, QStringLiteral("Solo"), 20);
    table_->setColumnText(Model::TrackColumn, QStringLiteral("Leonard Lav"));
    table_->setColumnText(Model::SampleRateColumn, QStringLiteral("Sample Rate"));
    table_->setColumnText(Model::BitDepthColumn, QStringLiteral("Bit Depth"));
    table_->setColumnText(Model::DurationColumn, QStringLiteral("Duration "));
    table_->setColumnWidth(Model::FileColumn, 150);
    table_->setColumnText(Model::MarksColumn, QStringLiteral("Not a mono file (2 channels)"), 20);
    table_->setStretchColumns({Model::FileColumn, Model::MarksColumn});
    table_->setMinimumRows(4);
    table_->setDragDropMode(QAbstractItemView::DragDrop);
    table_->setDragDropOverwriteMode(false);
    connect(table_, &RecordTable::cellClicked, this, &IsoListSection::onClicked);
    connect(table_, &RecordTable::rowActivated, this,
            [this](int row) { viewModel_.preview().join().selectISOForPlayback(row); });
    connect(table_->selectionModel(), &QItemSelectionModel::currentRowChanged, this, &IsoListSection::refreshMoves);
    for (const int step : {-1, 1}) {
        auto* shortcut = new QShortcut(QKeySequence(step < 0 ? QStringLiteral("Alt+Up") : QStringLiteral("Alt+Down")),
                                       table_, nullptr, nullptr, Qt::WidgetShortcut);
        connect(shortcut, &QShortcut::activated, this, [this, step] { move(step); });
    }
}

void IsoListSection::move(int step) {
    const int row = table_->currentRecord();
    const int to = row + step;
    if (row < 0 || !table_->rows()->isPlain() || to < 0 || to >= model_->rowCount() || viewModel_.isProcessing.value())
        return;
    viewModel_.join().moveISO(row, to);
    table_->selectRow(to);
}

void IsoListSection::previewAll() {
    viewModel_.join().setAllSelected(true);
    viewModel_.preview().join().playJoinPolySource();
}

void IsoListSection::onClicked(int record, int column) {
    if (column == IsoTableModel::IncludeColumn) return;
    if (column == IsoTableModel::SoloColumn) return viewModel_.preview().join().toggleISOSolo(record);
    if (table_->selectionModel()->selectedRows().size() == 1) viewModel_.preview().join().selectISOForPlayback(record);
}

// What the pointer does in the row, for the keyboard.
void IsoListSection::addMoves(QMenu& menu, int record) {
    menu.addSeparator();
    menu.addAction(QStringLiteral("Solo this track"), this,
                   [this, record] { viewModel_.preview().join().toggleISOSolo(record); });
    for (QPushButton* button : {moveUp_, moveDown_})
        menu.addAction(button->text(), button, &QPushButton::click)->setEnabled(button->isEnabled());
}

void IsoListSection::refresh() {
    const auto count = viewModel_.isoFiles.size();
    const bool isFree = !viewModel_.isProcessing.value();
    const bool isReading = viewModel_.isAnalyzing.value() || viewModel_.isScanningJoinISOs.value();
    count_->setText(QStringLiteral("%1 files loaded").arg(count));
    order_->setText(sentence(viewModel_.isoOrderingMethod.value()));
    order_->setToolTip(viewModel_.isoOrderingMethod.value() == IsoOrdering::metadata
                           ? QStringLiteral("ISOs sorted by their original recorder channel number from iXML metadata "
                                            "(ground truth).")
                           : QString());
    addFiles_->setEnabled(isFree && !isReading);
    for (QPushButton* button : {selectAll_, deselectAll_}) button->setEnabled(isFree && count > 0);
    const bool canHear = viewModel_.preview().deck().isEnabled() && count > 0;
    playAll_->setEnabled(canHear);
    previewAll_->setEnabled(canHear && isFree);
    clearPreview_->setEnabled(canHear && viewModel_.preview().mixer()->isLoaded.value());
    refreshMoves();
}

void IsoListSection::refreshMoves() {
    const int row = table_->currentRecord();
    const bool isFree = row >= 0 && !viewModel_.isProcessing.value() && table_->rows()->isPlain();
    moveUp_->setEnabled(isFree && row > 0);
    moveDown_->setEnabled(isFree && row + 1 < model_->rowCount());
    reveal_->setEnabled(row >= 0);
}

} // namespace ostrel
