// The groups of mono siblings, one a row.
#pragma once

#include "app/controls/bindings.h"
#include "app/tables/record_table_model.h"
#include "interleaver/app_view_model.h"

namespace ostrel {

class InterleaveTableModel : public RecordTableModel<InterleaveGroup> {
public:
    explicit InterleaveTableModel(AppViewModel& viewModel, QObject* parent = nullptr);

    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

private:
    QVariant text(const InterleaveGroup& group, int column) const;
    QString output(const InterleaveGroup& group) const;

    AppViewModel& viewModel_;
    Bindings bindings_;
};

} // namespace ostrel
