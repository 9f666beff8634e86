// What the Edit mode is to change. `PolyEditFlow` and the view write it; the polys are those of `SourceState`.
#pragma once

#include "polytools/records/channel_filter_options.h"
#include "polytools/records/channel_plan.h"

#include <QProperty>
#include <QString>
#include <optional>

namespace ostrel {

struct EditState {
    QProperty<std::optional<ChannelFilterOptions>> channelRemovalFilter;
    QProperty<bool> channelRemovalOutputSameFolder{false};
    QProperty<QString> channelRemovalCustomName; // for a single output; empty: none
    QProperty<RenameMap> channelRemovalRenameMap;
    QProperty<ReorderList> channelReorderMap;
    QProperty<bool> editPolyEditInPlace{false};

    // Names only: a reorder means a rebuild, whatever the switch says.
    bool editsInPlace() const { return editPolyEditInPlace.value() && !channelReorderMap.value(); }
};

} // namespace ostrel
