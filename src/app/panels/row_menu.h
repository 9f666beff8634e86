// What a right click, the Menu key and Shift+F10 offer on the rows of a table: one menu for all tables. Each table
// tells what its records are; what it doesn't tell is not offered.
#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <functional>

class QMenu;

namespace ostrel {

class DesktopServices;
class RecordTable;

struct RowMenu {
    std::function<void(int record)> play;
    std::function<QStringList(int record)> sources;
    std::function<QStringList(int record)> outputs; // that a run made of it, if any
    std::function<QString(int record)> error;       // empty: none
    int includeColumn = -1;                         // of check boxes; -1: none
    std::function<bool()> isFree;                   // may anything be changed? Absent: yes
    std::function<bool(int record)> canRetry;
    std::function<void(const QList<int>& records)> retry;
    std::function<void(QMenu& menu, int record)> more; // entries of the table's own, ahead of the order's
};

// Files, errors and switches go by all selected rows where the one that was asked for is among them.
void addRowMenu(RecordTable& table, DesktopServices& desktop, RowMenu menu);

} // namespace ostrel
