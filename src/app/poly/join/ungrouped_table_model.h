// The files that are in no group, one a row. Files can be dragged from here into a group and back.
#pragma once

#include "app/tables/record_table_model.h"
#include "polytools/join/poly_join_review.h"
#include "polytools/state/join_state.h"

namespace ostrel {

class UngroupedTableModel : public RecordTableModel<ISOFile> {
public:
    enum Column { FileColumn, SampleRateColumn, BitDepthColumn, DurationColumn, ColumnCount };

    UngroupedTableModel(JoinState& join, PolyJoinReview& review, QObject* parent = nullptr);

    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    Qt::DropActions supportedDropActions() const override { return Qt::CopyAction | Qt::MoveAction; }
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;

private:
    const JoinState& join_;
    PolyJoinReview& review_;
};

} // namespace ostrel
