#include "app/controls/record_table.h"

#include "app/controls/item_delegates.h"
#include "app/controls/theme.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QPainter>

namespace ostrel {

RecordTable::RecordTable(const QString& accessibleName, QWidget* parent) : QTableView(parent) {
    setAccessibleName(accessibleName);
    setSelectionBehavior(SelectRows);
    setSelectionMode(ExtendedSelection);
    setShowGrid(false);
    setAlternatingRowColors(true);
    setWordWrap(false);
    setTabKeyNavigation(false);
    setEditTriggers(NoEditTriggers);
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollMode(ScrollPerPixel);
    setItemDelegate(new TextDelegate(this));
    setCornerButtonEnabled(false);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 9);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setMinimumSectionSize(28);
    horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    horizontalHeader()->setAccessibleName(accessibleName + QStringLiteral(" columns"));
    verticalHeader()->setAccessibleName(accessibleName + QStringLiteral(" rows"));
}

void RecordTable::setColumnText(int column, const QString& typical, int extra) {
    setColumnWidth(column, fontMetrics().horizontalAdvance(typical) + 18 + extra);
}

void RecordTable::setStretchColumns(const QList<int>& columns) {
    stretchColumns_ = columns;
    stretchMinimums_.clear();
    for (const int column : columns) stretchMinimums_ << columnWidth(column);
    stretch();
}

void RecordTable::setMinimumRows(int rows) {
    setMinimumHeight(horizontalHeader()->sizeHint().height() + rows * verticalHeader()->defaultSectionSize() + 2);
}

// Stretched by hand and not by the header's own mode, so that a person may still drag every column's edge.
void RecordTable::stretch() {
    if (stretchColumns_.isEmpty() || !model()) return;
    int taken = 0;
    for (int column = 0; column < model()->columnCount(); ++column) {
        if (!isColumnHidden(column) && !stretchColumns_.contains(column)) taken += columnWidth(column);
    }
    for (const int minimum : stretchMinimums_) taken += minimum;
    const int share = std::max(0, viewport()->width() - taken) / static_cast<int>(stretchColumns_.size());
    for (qsizetype each = 0; each < stretchColumns_.size(); ++each) {
        setColumnWidth(stretchColumns_.at(each), stretchMinimums_.at(each) + share);
    }
}

// Qt repaints the whole view for a change of more than one cell.
void RecordTable::dataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight, const QList<int>& roles) {
    if (topLeft.row() != bottomRight.row()) return QTableView::dataChanged(topLeft, bottomRight, roles);
    const int top = rowViewportPosition(topLeft.row());
    viewport()->update(0, top, viewport()->width(), rowHeight(topLeft.row()));
}

void RecordTable::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
    QTableView::currentChanged(current, previous);
    if (current.isValid() && current.row() != previous.row()) Q_EMIT rowChosen(current.row());
}

void RecordTable::keyPressEvent(QKeyEvent* event) {
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isEnter && event->modifiers() == Qt::NoModifier && currentIndex().isValid()) {
        Q_EMIT rowActivated(currentIndex().row());
        return;
    }
    QTableView::keyPressEvent(event);
}

void RecordTable::contextMenuEvent(QContextMenuEvent* event) {
    const bool byKey = event->reason() == QContextMenuEvent::Keyboard;
    const QModelIndex index = byKey ? currentIndex() : indexAt(viewport()->mapFromGlobal(event->globalPos()));
    if (!index.isValid()) return;
    const QPoint position = byKey ? viewport()->mapToGlobal(visualRect(index).bottomLeft()) : event->globalPos();
    Q_EMIT menuRequested(index.row(), position);
}

void RecordTable::paintEvent(QPaintEvent* event) {
    QTableView::paintEvent(event);
    if (emptyText_.isEmpty() || !model() || model()->rowCount() > 0) return;
    QPainter painter(viewport());
    painter.setPen(themeOf(palette()).secondaryText);
    painter.drawText(viewport()->rect().adjusted(24, 8, -24, -8), Qt::AlignCenter | Qt::TextWordWrap, emptyText_);
}

void RecordTable::resizeEvent(QResizeEvent* event) {
    QTableView::resizeEvent(event);
    stretch();
}

} // namespace ostrel
