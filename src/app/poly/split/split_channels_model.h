// The channels of the poly that is to be split, one a row.
#pragma once

#include "app/controls/bindings.h"
#include "app/tables/record_table_model.h"
#include "polytools/state/preview_state.h"
#include "polytools/state/source_state.h"

namespace ostrel {

class SplitChannelsModel : public RecordTableModel<ChannelItem> {
public:
    enum Column { ChannelColumn, TrackColumn, OutputColumn, StatusColumn, ColumnCount };

    SplitChannelsModel(SourceState& source, PreviewState& preview, QObject* parent = nullptr);

    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    QVariant channelCell(const ChannelItem& item, int role) const;

    const PreviewState& preview_;
    Bindings bindings_;
};

} // namespace ostrel
