// Small tables within a section of options: as high as their rows, up to a limit.
#pragma once

#include "app/tables/record_table.h"

#include <QHeaderView>
#include <algorithm>

namespace ostrel {

inline constexpr int kMostSectionRows = 8;

inline void fitRows(RecordTable& table) {
    const int rows = std::clamp(table.model()->rowCount(), 2, kMostSectionRows);
    const int height =
        table.horizontalHeader()->sizeHint().height() + rows * table.verticalHeader()->defaultSectionSize() + 2;
    if (table.height() != height || table.minimumHeight() != height) table.setFixedHeight(height);
}

} // namespace ostrel
