// The channels of the new order, one a row: new position, source channel, name. Rows that move keep their selection.
#pragma once

#include "app/poly/edit/channel_edits.h"

#include <QAbstractTableModel>

namespace ostrel {

class ChannelOrderModel : public QAbstractTableModel {
public:
    enum Column { GripColumn, PositionColumn, ChannelColumn, NameColumn, ColumnCount };

    explicit ChannelOrderModel(const ChannelEdits& edits, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    QVariant data(const QModelIndex& index, int role) const override;

    void refresh(); // after a change of the edits

private:
    void reorder(const std::vector<int>& order);

    const ChannelEdits& edits_;
    std::vector<int> order_;
    std::set<int> removed_;
};

} // namespace ostrel
