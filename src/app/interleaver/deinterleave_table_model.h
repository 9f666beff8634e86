// The multichannel files, one a row.
#pragma once

#include "app/controls/bindings.h"
#include "app/tables/record_table_model.h"
#include "interleaver/app_view_model.h"

namespace ostrel {

class DeinterleaveTableModel : public RecordTableModel<MultiChannelSource> {
public:
    explicit DeinterleaveTableModel(AppViewModel& viewModel, QObject* parent = nullptr);

    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

    // Adds the tag to the channels that are exported, or takes it from them.
    void toggleChannel(int row, const QString& tag);

private:
    QVariant text(const MultiChannelSource& source, int column) const;
    QStringList outputs(const MultiChannelSource& source) const;

    AppViewModel& viewModel_;
    Bindings bindings_;
};

} // namespace ostrel
