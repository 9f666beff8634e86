#include "app/poly/join/group_review_view.h"

#include "app/controls/layouts.h"
#include "app/hearing/iso_waveforms.h"
#include "app/panels/row_menu.h"
#include "app/poly/join/group_card_view.h"
#include "app/poly/join/group_picker.h"
#include "app/poly/join/group_tree.h"
#include "app/poly/join/group_tree_model.h"
#include "app/poly/join/ungrouped_table_model.h"
#include "app/tables/filter_bar.h"
#include "app/tables/record_table.h"

#include <QMenu>
#include <QSplitter>

namespace ostrel {

GroupReviewView::GroupReviewView(PolyToolsViewModel& viewModel, QWidget* parent)
    : QWidget(parent), viewModel_(viewModel), groups_(new GroupTreeModel(viewModel, this)),
      ungroupedFiles_(new UngroupedTableModel(viewModel, viewModel.review(), this)),
      cards_(new GroupCardView(viewModel, *groups_, this)),
      tree_(new GroupTree(*groups_, *cards_, QStringLiteral("Groups"))) {
    setAccessibleName(QStringLiteral("Group Review"));
    cards_->onDelete = [this](const QModelIndex& group) {
        viewModel_.review().deleteGroups({groups_->group(group).id});
        Q_EMIT groupsUpdated();
    };
    tree_->setMinimumHeight(100);
    auto* column = columnLayout(6);
    column->addWidget(makeHeading());
    column->addWidget(makeActions());
    column->addWidget(makeLists(), 1);
    setLayout(column);

    connect(tree_, &GroupTree::isoChosen, this, [this](const QModelIndex& iso) {
        viewModel_.preview().join().previewGroupISO(groups_->group(iso), iso.row());
    });
    connect(tree_, &GroupTree::deletePressed, this, &GroupReviewView::deleteSelected);
    connect(tree_, &GroupTree::menuRequested, this, &GroupReviewView::showMenu);
    RowMenu menu;
    menu.sources = [this](int record) { return QStringList(ungroupedFiles_->record(record).url); };
    menu.more = [this](QMenu& to, int) { addMoves(to); };
    addRowMenu(*ungrouped_, viewModel_.desktop(), std::move(menu));
    // Files are picked in one of the two lists at a time.
    connect(tree_->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        if (tree_->selectionModel()->hasSelection()) ungrouped_->clearSelection();
        refreshActions();
    });
    connect(ungrouped_->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        if (ungrouped_->selectionModel()->hasSelection()) tree_->clearSelection();
        refreshActions();
    });
    auto* refreshSoon = new Coalesced(this, [this] { refresh(); });
    refreshSoon->follow(viewModel.reviewedGroups);
    refreshSoon->follow(viewModel.ungroupedFiles);
    bindings_.watch(viewModel.isBatchJoining, [refreshSoon] { refreshSoon->request(); });
    refresh();
}

QWidget* GroupReviewView::makeLists() {
    auto* split = named(new QSplitter(Qt::Vertical), QStringLiteral("Groups and ungrouped files"));
    split->setChildrenCollapsible(false);
    split->addWidget(tree_);
    split->addWidget(makeUngrouped());
    split->setStretchFactor(0, 3);
    split->setStretchFactor(1, 1);
    split->handle(1)->setAccessibleName(QStringLiteral("Size of the ungrouped files"));
    PreviewMixer* mixer = viewModel_.preview().mixer();
    if (!mixer) return split;
    waveforms_ = new IsoWaveforms(*mixer);
    split->addWidget(waveforms_);
    split->handle(2)->setAccessibleName(QStringLiteral("Size of the waveforms"));
    auto* showSoon = new Coalesced(this, [this] { refreshWaveforms(); });
    const auto show = [showSoon] { showSoon->request(); };
    bindings_.watch(viewModel_.previewedGroupID, show);
    bindings_.watch(viewModel_.previewedGroupISOs, show);
    bindings_.watch(mixer->isLoaded, show);
    bindings_.watch(mixer->sourceStates, show);
    refreshWaveforms();
    return split;
}

void GroupReviewView::refreshWaveforms() {
    const bool hasGroup =
        !viewModel_.previewedGroupID.value().isNull() && viewModel_.preview().mixer()->isLoaded.value();
    waveforms_->setFFmpegPath(viewModel_.ffmpegPath.value());
    waveforms_->refresh(hasGroup);
    waveforms_->setVisible(hasGroup);
}

QWidget* GroupReviewView::makeHeading() {
    total_ = new SecondaryLabel;
    ungroupedCount_ = new StatusCounter(QStringLiteral("Ungrouped"), ProcessingStatus::Color::orange);
    expandAll_ = pushButton(QStringLiteral("Expand All"));
    collapseAll_ = pushButton(QStringLiteral("Collapse All"));
    connect(expandAll_, &QPushButton::clicked, this, [this] { tree_->unfoldAll(true); });
    connect(collapseAll_, &QPushButton::clicked, this, [this] { tree_->unfoldAll(false); });
    auto* row = rowLayout();
    row->addWidget(boldLabel(QStringLiteral("Group Review")));
    row->addSpacing(8);
    row->addWidget(total_);
    row->addWidget(ungroupedCount_);
    row->addStretch();
    row->addWidget(expandAll_);
    row->addWidget(collapseAll_);
    auto* widget = new QWidget;
    widget->setLayout(row);
    return widget;
}

QPushButton* GroupReviewView::action(const QString& text, const QString& help, void (GroupReviewView::*perform)()) {
    QPushButton* button = pushButton(text, QString(), help);
    connect(button, &QPushButton::clicked, this, perform);
    return button;
}

QWidget* GroupReviewView::makeActions() {
    load_ = action(QStringLiteral("Load"), QStringLiteral("Load this group for click-through playback"),
                   &GroupReviewView::loadGroup);
    play_ = action(QStringLiteral("Play All"), QStringLiteral("Play all ISOs as interleaved poly (ground truth)"),
                   &GroupReviewView::playGroup);
    move_ = action(QStringLiteral("Move to Group..."), QStringLiteral("Move the selected files to another group"),
                   &GroupReviewView::moveToGroup);
    newGroup_ = action(QStringLiteral("New Group"), QStringLiteral("Make a group of the selected files"),
                       &GroupReviewView::moveToNewGroup);
    ungroup_ = action(QStringLiteral("Ungroup"), QStringLiteral("Take the selected files out of their group"),
                      &GroupReviewView::ungroup);
    delete_ = action(QStringLiteral("Delete Group"),
                     QStringLiteral("Delete the selected groups; their files go to Ungrouped Files"),
                     &GroupReviewView::deleteGroups);
    auto* row = rowLayout();
    row->addWidget(load_);
    row->addWidget(play_);
    row->addSpacing(14);
    for (QPushButton* button : {move_, newGroup_, ungroup_}) row->addWidget(button);
    row->addStretch();
    row->addWidget(delete_);
    auto* widget = new QWidget;
    widget->setLayout(row);
    return widget;
}

QWidget* GroupReviewView::makeUngrouped() {
    ungrouped_ = new RecordTable(QStringLiteral("Ungrouped Files"));
    const auto sources = [this](int record) { return QStringList(ungroupedFiles_->record(record).url); };
    ungrouped_->setRecords(*ungroupedFiles_, {.filterColumns = {}, .headOf = {}, .files = sources});
    ungrouped_->setColumnWidth(UngroupedTableModel::FileColumn, 160);
    ungrouped_->setColumnText(UngroupedTableModel::SampleRateColumn, QStringLiteral("Sample Rate"));
    ungrouped_->setColumnText(UngroupedTableModel::BitDepthColumn, QStringLiteral("Bit Depth"));
    ungrouped_->setColumnText(UngroupedTableModel::DurationColumn, QStringLiteral("Duration "));
    ungrouped_->setStretchColumns({UngroupedTableModel::FileColumn});
    ungrouped_->setMinimumRows(2);
    ungrouped_->setDragDropMode(QAbstractItemView::DragDrop);
    ungroupedNote_ = new SecondaryLabel;
    auto* head = rowLayout(12);
    head->addWidget(boldLabel(QStringLiteral("Ungrouped Files")));
    head->addWidget(ungroupedNote_);
    head->addStretch();
    auto* column = columnLayout(5);
    column->addLayout(head);
    column->addWidget(withFilter(*ungrouped_), 1);
    ungroupedSection_ = new QWidget;
    ungroupedSection_->setLayout(column);
    return ungroupedSection_;
}

QSet<QUuid> GroupReviewView::selectedIsos() const {
    QSet<QUuid> isos;
    const QModelIndexList rows = tree_->selectionModel()->selectedIndexes();
    for (const QModelIndex& row : rows) {
        if (groups_->isIso(row)) isos << groups_->iso(row).id;
    }
    const QList<int> files = ungrouped_->selectedRecords();
    for (const int file : files) isos << ungroupedFiles_->record(file).id;
    return isos;
}

QSet<QUuid> GroupReviewView::selectedGroups() const {
    QSet<QUuid> groups;
    const QModelIndexList rows = tree_->selectionModel()->selectedIndexes();
    for (const QModelIndex& row : rows) {
        if (groups_->isGroup(row)) groups << groups_->group(row).id;
    }
    return groups;
}

std::optional<QModelIndex> GroupReviewView::currentGroup() const {
    const QModelIndex current = tree_->currentIndex();
    if (!current.isValid()) return std::nullopt;
    return groups_->isGroup(current) ? current : current.parent();
}

void GroupReviewView::loadGroup() {
    if (const auto group = currentGroup()) cards_->perform(GroupCardView::Action::load, *group);
}

void GroupReviewView::playGroup() {
    if (const auto group = currentGroup()) cards_->perform(GroupCardView::Action::play, *group);
}

void GroupReviewView::moveToGroup() {
    const QSet<QUuid> isos = selectedIsos();
    if (isos.isEmpty() || picker_) return;
    picker_ = new GroupPicker(viewModel_, static_cast<int>(isos.size()), window());
    picker_->setAttribute(Qt::WA_DeleteOnClose);
    connect(picker_, &GroupPicker::picked, this, [this, isos](const QUuid& group) {
        viewModel_.review().moveToGroup(isos, group);
        tree_->unfold(groups_->indexOf(group), true);
        tree_->setCurrentIndex(groups_->indexOf(group));
        Q_EMIT groupsUpdated();
    });
    picker_->open();
}

GroupPicker* GroupReviewView::picker() const { return picker_; }

void GroupReviewView::moveToNewGroup() {
    const QUuid group = viewModel_.review().moveToNewGroup(selectedIsos());
    if (group.isNull()) return;
    tree_->unfold(groups_->indexOf(group), true);
    tree_->setCurrentIndex(groups_->indexOf(group));
    Q_EMIT groupsUpdated();
}

void GroupReviewView::ungroup() {
    viewModel_.review().ungroup(selectedIsos());
    Q_EMIT groupsUpdated();
}

void GroupReviewView::deleteGroups() {
    viewModel_.review().deleteGroups(selectedGroups());
    Q_EMIT groupsUpdated();
}

void GroupReviewView::deleteSelected() {
    if (viewModel_.isBatchJoining.value()) return;
    selectedGroups().isEmpty() ? ungroup() : deleteGroups();
}

// The buttons' actions at the pointer, as far as they are possible now.
void GroupReviewView::showMenu(const QPoint& position) {
    QMenu menu(this);
    addMoves(menu);
    if (!menu.isEmpty()) menu.exec(position);
}

void GroupReviewView::addMoves(QMenu& menu) {
    for (QPushButton* button : {load_, play_, move_, newGroup_, ungroup_, delete_}) {
        if (button->isEnabled()) menu.addAction(button->text(), button, &QPushButton::click);
    }
}

void GroupReviewView::refresh() {
    const auto groups = viewModel_.reviewedGroups.size();
    const auto files = viewModel_.ungroupedFiles.size();
    total_->setText(QStringLiteral("Total Groups: %1").arg(groups));
    ungroupedCount_->setCount(static_cast<int>(files));
    ungroupedNote_->setText(QStringLiteral("%1 files could not be automatically grouped").arg(files));
    ungroupedSection_->setVisible(files > 0);
    expandAll_->setEnabled(groups > 0);
    collapseAll_->setEnabled(groups > 0);
    refreshActions();
}

void GroupReviewView::refreshActions() {
    const bool isFree = !viewModel_.isBatchJoining.value();
    const QModelIndexList rows = tree_->selectionModel()->selectedIndexes();
    const bool isGrouped = std::ranges::any_of(rows, [this](const QModelIndex& row) { return groups_->isIso(row); });
    const bool hasGroups = std::ranges::any_of(rows, [this](const QModelIndex& row) { return groups_->isGroup(row); });
    const bool hasFiles = isGrouped || ungrouped_->selectionModel()->hasSelection();
    const bool canHear = viewModel_.preview().deck().isEnabled() && !rows.isEmpty();
    load_->setEnabled(canHear);
    play_->setEnabled(canHear);
    move_->setEnabled(isFree && hasFiles && !viewModel_.reviewedGroups.empty());
    newGroup_->setEnabled(isFree && hasFiles);
    ungroup_->setEnabled(isFree && isGrouped);
    delete_->setEnabled(isFree && hasGroups);
}

} // namespace ostrel
