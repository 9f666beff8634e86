// A table whose last column is fields: a click or a key opens one, Return and Tab go on to the next.
#pragma once

#include "app/tables/record_table.h"

namespace ostrel {

class ChannelNamesModel;

class ChannelNamesTable : public RecordTable {
    Q_OBJECT

public:
    ChannelNamesTable(ChannelNamesModel& model, const QString& accessibleName, QWidget* parent = nullptr);

protected:
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    void focusInEvent(QFocusEvent* event) override;
};

} // namespace ostrel
