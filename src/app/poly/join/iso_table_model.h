// The ISOs of a join in channel order, one a row. Rows can be dragged to another place.
#pragma once

#include "app/controls/bindings.h"
#include "app/tables/record_table_model.h"
#include "polytools/poly_tools_view_model.h"

namespace ostrel {

class IsoTableModel : public RecordTableModel<ISOFile> {
public:
    enum Column {
        IncludeColumn,
        ChannelColumn,
        SoloColumn,
        FileColumn,
        TrackColumn,
        SampleRateColumn,
        BitDepthColumn,
        DurationColumn,
        MarksColumn,
        ColumnCount
    };

    explicit IsoTableModel(PolyToolsViewModel& viewModel, QObject* parent = nullptr);

    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

    Qt::DropActions supportedDropActions() const override { return Qt::CopyAction | Qt::MoveAction; }
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;

private:
    QVariant text(const ISOFile& iso, int column) const;
    QVariant soloCell(int row, int role) const;
    QVariant marksCell(const ISOFile& iso, int role) const;

    PolyToolsViewModel& viewModel_;
    Bindings bindings_;
};

} // namespace ostrel
