#include "app/interleaver/items_section.h"

#include "app/controls/item_delegates.h"
#include "app/controls/layouts.h"
#include "app/interleaver/deinterleave_table_model.h"
#include "app/interleaver/interleave_table_model.h"
#include "app/panels/check_button.h"
#include "app/panels/proof_dialog.h"
#include "app/panels/row_menu.h"
#include "app/tables/filter_bar.h"
#include "app/tables/record_table.h"
#include "preview/playback_manager.h"

#include <QMenu>
#include <QStackedWidget>

namespace ostrel {

ItemsSection::ItemsSection(AppViewModel& viewModel, QWidget* parent)
    : QWidget(parent), viewModel_(viewModel), groups_(new InterleaveTableModel(viewModel, this)),
      sources_(new DeinterleaveTableModel(viewModel, this)), tables_(new QStackedWidget) {
    setAccessibleName(QStringLiteral("Items"));
    interleaveTable_ = makeTable(*groups_, QStringLiteral("Groups to interleave"));
    interleaveTable_->setEmptyText(QStringLiteral("Scan a folder or files to see the sets that can be interleaved."));
    deinterleaveTable_ = makeTable(*sources_, QStringLiteral("Files to de-interleave"));
    deinterleaveTable_->setEmptyText(QStringLiteral("Scan a folder or files to see what can be de-interleaved."));
    tables_->addWidget(withFilter(*interleaveTable_));
    tables_->addWidget(withFilter(*deinterleaveTable_));
    auto* column = columnLayout(6);
    column->addWidget(makeHeading());
    column->addWidget(tables_, 1);
    setLayout(column);
    auto* refreshSoon = new Coalesced(this, [this] { refresh(); });
    refreshSoon->follow(viewModel.interleaveGroups);
    refreshSoon->follow(viewModel.deinterleaveSources);
    bindings_.watch(viewModel.isProcessing, [refreshSoon] { refreshSoon->request(); });
    bindings_.watch(viewModel.isScanning, [refreshSoon] { refreshSoon->request(); });
    bindings_.bind(viewModel.selectedLayout, [this] { fitChannels(); });
    bindings_.bind(viewModel.currentMode, [this] {
        tables_->setCurrentIndex(viewModel_.currentMode.value() == AppMode::interleave ? 0 : 1);
        refresh();
    });
}

QWidget* ItemsSection::makeHeading() {
    heading_ = boldLabel();
    selectAll_ = pushButton(QStringLiteral("Select All"));
    deselectAll_ = pushButton(QStringLiteral("Deselect All"));
    clear_ = pushButton(QStringLiteral("Clear Items"), QString(),
                        QStringLiteral("Clear all items and results (allows re-scanning different folder)"));
    retryFailed_ = pushButton(QStringLiteral("Retry Failed"), QString(),
                              QStringLiteral("Try the items that failed once more, and no other"));
    connect(retryFailed_, &QPushButton::clicked, this, [this] { viewModel_.retry(failed()); });
    const auto include = [this](bool isOn) {
        viewModel_.currentMode.value() == AppMode::interleave ? viewModel_.toggleAllInterleave(isOn)
                                                              : viewModel_.toggleAllDeinterleave(isOn);
    };
    connect(selectAll_, &QPushButton::clicked, this, [include] { include(true); });
    connect(deselectAll_, &QPushButton::clicked, this, [include] { include(false); });
    connect(clear_, &QPushButton::clicked, this, [this] { viewModel_.clearResults(); });
    using Color = ProcessingStatus::Color;
    ready_ = new StatusCounter(QStringLiteral("Ready"), Color::blue);
    done_ = new StatusCounter(QStringLiteral("Done"), Color::green);
    skipped_ = new StatusCounter(QStringLiteral("Skipped"), Color::secondary);
    errors_ = new StatusCounter(QStringLiteral("Errors"), Color::red);
    auto* row = rowLayout(6);
    row->addWidget(heading_);
    row->addSpacing(8);
    row->addWidget(selectAll_);
    row->addWidget(deselectAll_);
    row->addWidget(clear_);
    row->addWidget(retryFailed_);
    check_ = checkButton();
    row->addWidget(check_);
    row->addStretch();
    for (StatusCounter* counter : {ready_, done_, skipped_, errors_}) row->addWidget(counter);
    auto* heading = new QWidget;
    heading->setLayout(row);
    return heading;
}

RecordTable* ItemsSection::makeTable(QAbstractItemModel& model, const QString& name) {
    auto* table = new RecordTable(name);
    const bool merges = &model == groups_;
    table->setRecords(model, {.filterColumns = {StatusColumn, TypeColumn, FormatColumn, NameColumn, ResultColumn},
                              .headOf = {},
                              .files = [this, merges](int record) { return sourcesOf(merges, record); }});
    addRowMenu(*table, viewModel_.desktop(), menuOf(merges));
    table->setItemDelegateForColumn(StatusColumn, new StatusBadge(table));
    table->setItemDelegateForColumn(ChannelsColumn, new ChannelIndicators(table));
    table->setColumnWidth(IncludeColumn, 30);
    table->setColumnText(StatusColumn, QStringLiteral("Protected (Surround)"), 20);
    table->setColumnText(TypeColumn, QStringLiteral("WAVE64"));
    table->setColumnText(FormatColumn, QStringLiteral("Format "));
    table->setColumnText(SampleRateColumn, QStringLiteral("Sample Rate"));
    table->setColumnText(BitDepthColumn, QStringLiteral("Bit Depth"));
    table->setColumnText(DurationColumn, QStringLiteral("Duration "));
    table->setColumnWidth(NameColumn, 96);
    table->setColumnWidth(ResultColumn, 96);
    table->setStretchColumns({NameColumn, ResultColumn});
    table->setMinimumRows(3);
    showProofs(bindings_, viewModel_.proves, *table, ProofColumn, NameColumn);
    connect(table, &RecordTable::rowChosen, this, &ItemsSection::choose);
    connect(table, &RecordTable::rowActivated, this, &ItemsSection::toggleInclude);
    return table;
}

// As wide as the layout's chips, which grow a little smaller when there are many.
void ItemsSection::fitChannels() {
    const ChannelChips chips{viewModel_.selectedLayout.value().channelTags, {}, false};
    for (RecordTable* table : {interleaveTable_, deinterleaveTable_}) {
        const auto rects = ChannelIndicators::chipRects(chips, QRect(0, 0, 1000, 20), table->font());
        const int heading = table->fontMetrics().horizontalAdvance(QStringLiteral("Channels")) + 18;
        table->setColumnWidth(ChannelsColumn, std::clamp(rects.back().right() + 10, heading, 190));
        table->stretch();
    }
}

QWidget& ItemsSection::tables() const { return *tables_; }

RecordTable& ItemsSection::table() const {
    return viewModel_.currentMode.value() == AppMode::interleave ? *interleaveTable_ : *deinterleaveTable_;
}

void ItemsSection::choose(int record) {
    if (viewModel_.currentMode.value() == AppMode::interleave) {
        selectedInterleaveID = groups_->record(record).id;
        Q_EMIT groupChosen(groups_->record(record));
    } else {
        selectedDeinterleaveID = sources_->record(record).id;
        Q_EMIT sourceChosen(sources_->record(record));
    }
}

void ItemsSection::toggleInclude(int record) {
    QAbstractItemModel& model = table().records();
    const QModelIndex index = model.index(record, IncludeColumn);
    if (!index.flags().testFlag(Qt::ItemIsUserCheckable)) return;
    const bool isOn = index.data(Qt::CheckStateRole).toInt() == Qt::Checked;
    model.setData(index, isOn ? Qt::Unchecked : Qt::Checked, Qt::CheckStateRole);
}

QStringList ItemsSection::sourcesOf(bool merges, int record) const {
    return merges ? groups_->record(record).channelFiles.values() : QStringList{sources_->record(record).sourceURL};
}

RowMenu ItemsSection::menuOf(bool merges) {
    const auto outcomeOf = [this, merges](int record) -> const ProcessingStatus& {
        return merges ? groups_->record(record).status : sources_->record(record).status;
    };
    RowMenu menu;
    menu.play = [this](int record) {
        choose(record);
        viewModel_.playbackManager().engine().play();
        viewModel_.isAuditioning = viewModel_.playbackManager().engine().isPlaying.value();
    };
    menu.sources = [this, merges](int record) { return sourcesOf(merges, record); };
    menu.outputs = [this, merges](int record) {
        const auto& outcome = merges ? groups_->record(record).outcome : sources_->record(record).outcome;
        return outcome ? outcome->outputs : QStringList();
    };
    menu.error = [outcomeOf](int record) {
        const ProcessingStatus& status = outcomeOf(record);
        return status.kind == ProcessingStatus::Kind::failed ? status.displayText() : QString();
    };
    menu.includeColumn = IncludeColumn;
    menu.isFree = [this] { return !viewModel_.isProcessing.value() && !viewModel_.isScanning.value(); };
    menu.canRetry = [outcomeOf](int record) { return outcomeOf(record).kind == ProcessingStatus::Kind::failed; };
    menu.retry = [this](const QList<int>& records) { viewModel_.retry(records); };
    menu.more = [this](QMenu& to, int record) { addChips(to, record); };
    return menu;
}

QStringList ItemsSection::recordings() const {
    const bool merges = viewModel_.currentMode.value() == AppMode::interleave;
    QStringList files;
    for (int record = 0; record < table().records().rowCount(); ++record) files << sourcesOf(merges, record);
    files.removeDuplicates();
    return files;
}

QList<int> ItemsSection::failed() const {
    return rowsWhose([](const ProcessingStatus& status) { return status.kind == ProcessingStatus::Kind::failed; });
}

// The number counts one status; a run takes the rows of two others too, and "0 Ready" above a full list needs a word.
QString ItemsSection::readyHelp() const {
    const qsizetype all = rowsWhose([](const ProcessingStatus& status) { return status.isProcessable(); }).size();
    const qsizetype others = all - viewModel_.readyCount();
    if (others == 0) return QStringLiteral("Items whose badge says \"Ready\"");
    return QStringLiteral("Items whose badge says \"Ready\". %1 more, \"Ready (L/R)\" or \"Pending\", run as well")
        .arg(others);
}

QList<int> ItemsSection::rowsWhose(const std::function<bool(const ProcessingStatus&)>& matches) const {
    const auto rows = [&](const auto& records) {
        QList<int> found;
        for (std::size_t row = 0; row < records.size(); ++row) {
            if (matches(records[row].status)) found << static_cast<int>(row);
        }
        return found;
    };
    return viewModel_.currentMode.value() == AppMode::interleave ? rows(viewModel_.interleaveGroups)
                                                                 : rows(viewModel_.deinterleaveSources);
}

// What the pointer does on chips and proof, for the keyboard.
void ItemsSection::addChips(QMenu& menu, int record) {
    const QAbstractItemModel& model = table().records();
    if (model.index(record, ProofColumn).data().isValid()) {
        menu.addAction(QStringLiteral("Show Proof..."), this,
                       [this, record] { openProof(table(), record, ProofColumn, NameColumn); });
    }
    const auto chips = model.index(record, ChannelsColumn).data(ChannelChipsRole).value<ChannelChips>();
    if (!chips.isSelector) return;
    menu.addSeparator();
    for (const QString& tag : chips.tags) {
        QAction* action = menu.addAction(QStringLiteral("Export %1").arg(tag), this,
                                         [this, record, tag] { sources_->toggleChannel(record, tag); });
        action->setCheckable(true);
        action->setChecked(chips.active.contains(tag));
        action->setEnabled(!viewModel_.isProcessing.value());
    }
}

void ItemsSection::refresh() {
    const int total = viewModel_.totalCount();
    const bool isBusy = viewModel_.isProcessing.value() || viewModel_.isScanning.value();
    heading_->setText(QStringLiteral("ITEMS (%1)").arg(total));
    for (QPushButton* button : {selectAll_, deselectAll_, clear_}) button->setEnabled(total > 0 && !isBusy);
    check_->setEnabled(total > 0);
    retryFailed_->setVisible(!isBusy && !failed().isEmpty());
    ready_->setCount(viewModel_.readyCount());
    ready_->setToolTip(readyHelp());
    done_->setCount(viewModel_.completedCount());
    skipped_->setCount(viewModel_.skippedCount());
    errors_->setCount(viewModel_.errorCount());
}

} // namespace ostrel
