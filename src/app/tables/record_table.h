// The table of a tab: rows that are selected whole, a text where there are none yet, one row repainted for one change.
// Over a list (`setRecords`) a person may sort by any column and filter by a text; then the row numbers of signals and
// questions are those of the records, wherever they are shown.
#pragma once

#include "app/tables/arranged_rows.h"

#include <QTableView>

class QMenu;

namespace ostrel {

class RecordTable : public QTableView {
    Q_OBJECT

public:
    explicit RecordTable(const QString& accessibleName, QWidget* parent = nullptr);

    // A click on a heading sorts by it: upwards, downwards, and back to the order of the list.
    void setRecords(QAbstractItemModel& records, ArrangedRows::Telling telling = {});
    ArrangedRows* rows() const { return rows_; } // null: as the model has them
    // The list itself; the view's own model where rows are not arranged.
    QAbstractItemModel& records() const;
    int recordOf(const QModelIndex& shown) const;             // -1: none
    QModelIndex shownIndex(int record, int column = 0) const; // invalid: hidden
    int currentRecord() const { return recordOf(currentIndex()); }
    QList<int> selectedRecords() const; // in the order that is shown
    // The entries that sort, for the keyboard too.
    void addSortMenu(QMenu& menu);

    void setEmptyText(const QString& text) { emptyText_ = text; }
    // The width of a column as that of a typical text, in this font.
    void setColumnText(int column, const QString& typical, int extra = 0);
    // These share what the other columns leave; none gets narrower than it is now.
    void setStretchColumns(const QList<int>& columns);
    void stretch();
    // Never lower than its header and so many rows.
    void setMinimumRows(int rows);
    QSize sizeHint() const override { return {400, minimumHeight()}; }

Q_SIGNALS:
    // A person went to this record, by pointer or key.
    void rowChosen(int record);
    // Return or Enter on a row.
    void rowActivated(int record);
    void cellClicked(int record, int column);
    void menuRequested(int record, const QPoint& globalPosition);
    void findRequested(); // Ctrl+F

protected:
    bool event(QEvent* event) override;
    void startDrag(Qt::DropActions actions) override;
    void dataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight, const QList<int>& roles) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void paintNotes();

    ArrangedRows* rows_ = nullptr;
    QString emptyText_;
    QList<int> stretchColumns_;
    QList<int> stretchMinimums_;
};

} // namespace ostrel
