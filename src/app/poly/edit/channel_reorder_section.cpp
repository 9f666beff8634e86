#include "app/poly/edit/channel_reorder_section.h"

#include "app/controls/item_delegates.h"
#include "app/controls/layouts.h"
#include "app/panels/section_table.h"
#include "app/poly/edit/channel_order_model.h"
#include "app/poly/edit/channel_order_table.h"

namespace ostrel {

ChannelReorderSection::ChannelReorderSection(PolyEditFlow& edit, PublishedEdits& edits, QWidget* parent)
    : EditSection(QStringLiteral("Channel Reorder"), edits.reorders, parent), edit_(edit), edits_(edits),
      model_(new ChannelOrderModel(edits, this)) {
    setDescription(QStringLiteral("Rearrange channel order in poly files (e.g., move Boom to first position)"));
    empty_ = sectionNote(QStringLiteral("Load poly files first to see channels"));
    list_ = makeList();
    content().addWidget(empty_);
    content().addWidget(list_);
    bindings_.bind(edits.inPlace, [this] {
        setObstacle(edits_.inPlace.value() ? QStringLiteral("Reorder requires rebuild — will save to output folder")
                                           : QString());
    });
    const auto again = [this] { refresh(); };
    bindings_.watch(edits.reorders, again);
    bindings_.watch(edits.inPlace, again);
    bindings_.watch(edits.order, again);
    bindings_.watch(edits.tracks, again);
    bindings_.watch(edits.removes, again);
    bindings_.watch(edits.filterMode, again);
    bindings_.watch(edits.numbersText, again);
    bindings_.watch(edits.namesText, again);
    refresh();
}

QWidget* ChannelReorderSection::makeList() {
    table_ = new ChannelOrderTable(QStringLiteral("New Order"));
    table_->setModel(model_);
    table_->setItemDelegateForColumn(ChannelOrderModel::GripColumn, new StatusBadge(table_));
    table_->setColumnWidth(ChannelOrderModel::GripColumn, 28);
    table_->setColumnText(ChannelOrderModel::PositionColumn, QStringLiteral("New"));
    table_->setColumnText(ChannelOrderModel::ChannelColumn, QStringLiteral("Ch 88"));
    table_->setColumnWidth(ChannelOrderModel::NameColumn, 90);
    table_->setStretchColumns({ChannelOrderModel::NameColumn});
    fitRows(*table_);
    connect(table_, &ChannelOrderTable::moveRequested, this, &ChannelReorderSection::move);
    connect(table_, &RecordTable::rowChosen, this, &ChannelReorderSection::refreshButtons);
    up_ = pushButton(QStringLiteral("Move Up"), QString(), QStringLiteral("Move the selected channel up (Alt+Up)"));
    down_ =
        pushButton(QStringLiteral("Move Down"), QString(), QStringLiteral("Move the selected channel down (Alt+Down)"));
    auto* reset = pushButton(QStringLiteral("Reset"), QString(), QStringLiteral("Back to the channels' own order"));
    reset->setAccessibleName(QStringLiteral("Reset order"));
    connect(up_, &QPushButton::clicked, this, [this] { edit_.moveChannelUp(table_->currentIndex().row()); });
    connect(down_, &QPushButton::clicked, this, [this] { edit_.moveChannelDown(table_->currentIndex().row()); });
    connect(reset, &QPushButton::clicked, this, [this] { edit_.initializeReorderFromChannelItems(); });
    auto* head = rowLayout(6);
    auto* title = new QLabel(QStringLiteral("New Order"));
    head->addWidget(title);
    head->addStretch();
    for (QPushButton* button : {up_, down_, reset}) head->addWidget(button);
    auto* column = columnLayout(5);
    column->addLayout(head);
    column->addWidget(table_);
    auto* list = new QWidget;
    list->setLayout(column);
    return list;
}

// As many steps of the controller's as it takes.
void ChannelReorderSection::move(int from, int to) {
    for (int row = from; row < to; ++row) edit_.moveChannelDown(row);
    for (int row = from; row > to; --row) edit_.moveChannelUp(row);
    table_->scrollTo(table_->currentIndex());
}

void ChannelReorderSection::refresh() {
    model_->refresh();
    const bool hasChannels = model_->rowCount() > 0;
    list_->setVisible(hasChannels);
    empty_->setVisible(!hasChannels);
    fitRows(*table_);
    QStringList numbers;
    for (const int channel : edits_.reorder().value_or(std::vector<int>())) numbers << QString::number(channel);
    setSummary(numbers.join(QStringLiteral(" ")));
    refreshButtons();
}

void ChannelReorderSection::refreshButtons() {
    const int row = table_->currentIndex().row();
    up_->setEnabled(row > 0);
    down_->setEnabled(row >= 0 && row + 1 < model_->rowCount());
}

} // namespace ostrel
