// The channels of the edited poly, one a row, with their names and the new ones, which a person types.
#pragma once

#include "app/poly/edit/channel_edits.h"

#include <QAbstractTableModel>

namespace ostrel {

class ChannelNamesModel : public QAbstractTableModel {
public:
    enum Column { PositionColumn, OriginalColumn, NewColumn, ColumnCount };

    explicit ChannelNamesModel(ChannelEdits& edits, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

    void refresh(); // after a change of the edits

private:
    QString newName(int row) const;

    ChannelEdits& edits_;
    std::vector<FinalTrack> tracks_;
    ChannelEdits::NewNames names_; // what the views have been told of
};

} // namespace ostrel
