#include "app/tables/record_table.h"

#include "app/controls/item_delegates.h"
#include "app/controls/theme.h"

#include <QActionGroup>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
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
    connect(this, &QTableView::clicked, this,
            [this](const QModelIndex& cell) { Q_EMIT cellClicked(recordOf(cell), cell.column()); });
}

void RecordTable::setRecords(QAbstractItemModel& records, ArrangedRows::Telling telling) {
    const bool areDragged = static_cast<bool>(telling.files);
    rows_ = new ArrangedRows(records, std::move(telling), this);
    setModel(rows_);
    if (areDragged) setDragEnabled(true);
    horizontalHeader()->setSectionsClickable(true);
    horizontalHeader()->setSortIndicatorClearable(true);
    horizontalHeader()->setSortIndicator(-1, Qt::AscendingOrder);
    setSortingEnabled(true); // sorts at once by what the header shows: nothing
    horizontalHeader()->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(horizontalHeader(), &QWidget::customContextMenuRequested, this, [this](const QPoint& at) {
        QMenu menu(this);
        addSortMenu(menu);
        menu.exec(horizontalHeader()->mapToGlobal(at));
    });
}

QAbstractItemModel& RecordTable::records() const { return rows_ ? *rows_->sourceModel() : *model(); }

int RecordTable::recordOf(const QModelIndex& shown) const {
    if (!shown.isValid()) return -1;
    return rows_ ? rows_->recordOf(shown.row()) : shown.row();
}

QModelIndex RecordTable::shownIndex(int record, int column) const {
    return rows_ ? rows_->mapFromSource(records().index(record, column)) : model()->index(record, column);
}

QList<int> RecordTable::selectedRecords() const {
    QModelIndexList rows = selectionModel()->selectedRows();
    std::sort(rows.begin(), rows.end());
    QList<int> records;
    for (const QModelIndex& row : std::as_const(rows)) records << recordOf(row);
    return records;
}

void RecordTable::addSortMenu(QMenu& menu) {
    if (!rows_) return;
    QMenu* orders = menu.addMenu(QStringLiteral("Sort By"));
    auto* group = new QActionGroup(orders);
    const auto add = [&](const QString& text, int column) {
        QAction* action = orders->addAction(text, this, [this, column] {
            const bool isAgain = column >= 0 && column == rows_->sortColumn();
            const bool isUp = horizontalHeader()->sortIndicatorOrder() == Qt::AscendingOrder;
            horizontalHeader()->setSortIndicator(column, isAgain && isUp ? Qt::DescendingOrder : Qt::AscendingOrder);
        });
        action->setCheckable(true);
        action->setChecked(column == rows_->sortColumn());
        group->addAction(action);
    };
    add(QStringLiteral("Order of the List"), -1);
    orders->addSeparator();
    for (int column = 0; column < rows_->columnCount(); ++column) {
        QString text = rows_->headerData(column, Qt::Horizontal).toString();
        if (text.isEmpty()) text = rows_->headerData(column, Qt::Horizontal, Qt::AccessibleTextRole).toString();
        if (!isColumnHidden(column) && !text.isEmpty()) add(text, column);
    }
}

// Ctrl+F in a table is the table's, wherever else in the window it would find another one.
bool RecordTable::event(QEvent* event) {
    const bool isShortcut = event->type() == QEvent::ShortcutOverride;
    if (rows_ && (isShortcut || event->type() == QEvent::KeyPress)) {
        auto* key = static_cast<QKeyEvent*>(event);
        if (key->matches(QKeySequence::Find)) {
            event->accept();
            if (!isShortcut) Q_EMIT findRequested();
            return true;
        }
    }
    return QTableView::event(event);
}

// Whoever takes the files copies them: a drag must not be a way to lose a source.
void RecordTable::startDrag(Qt::DropActions) { QTableView::startDrag(Qt::CopyAction); }

void RecordTable::setColumnText(int column, const QString& typical, int extra) {
    const int text = fontMetrics().horizontalAdvance(typical) + 18 + extra;
    if (!rows_) return setColumnWidth(column, text);
    constexpr int kOrderMark = 14; // beside the heading of the column that is sorted by
    const QString heading = rows_->headerData(column, Qt::Horizontal).toString();
    setColumnWidth(column, std::max(text, fontMetrics().horizontalAdvance(heading) + 18 + kOrderMark));
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
    if (current.isValid() && current.row() != previous.row()) Q_EMIT rowChosen(recordOf(current));
}

void RecordTable::keyPressEvent(QKeyEvent* event) {
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isEnter && event->modifiers() == Qt::NoModifier && currentIndex().isValid()) {
        Q_EMIT rowActivated(currentRecord());
        return;
    }
    if (event->key() == Qt::Key_F10 && event->modifiers() == Qt::ShiftModifier) { // Qt knows the Menu key alone
        QContextMenuEvent request(QContextMenuEvent::Keyboard, QPoint(), QPoint());
        return contextMenuEvent(&request);
    }
    QTableView::keyPressEvent(event);
}

void RecordTable::contextMenuEvent(QContextMenuEvent* event) {
    const bool byKey = event->reason() == QContextMenuEvent::Keyboard;
    QModelIndex index = byKey ? currentIndex() : indexAt(viewport()->mapFromGlobal(event->globalPos()));
    // Select All alone makes no row the current one.
    if (byKey && !index.isValid()) index = selectionModel()->selectedRows().value(0);
    if (!index.isValid()) return;
    const QPoint position = byKey ? viewport()->mapToGlobal(visualRect(index).bottomLeft()) : event->globalPos();
    Q_EMIT menuRequested(recordOf(index), position);
}

// At the end of the widest column, over what stands there.
void RecordTable::paintNotes() {
    if (!rows_ || !model() || model()->rowCount() == 0) return;
    const int first = std::max(0, rowAt(0));
    const int below = rowAt(viewport()->height() - 1);
    const int last = below < 0 ? model()->rowCount() - 1 : below;
    int widest = -1;
    for (int column = 0; column < model()->columnCount(); ++column) {
        if (!isColumnHidden(column) && (widest < 0 || columnWidth(column) > columnWidth(widest))) widest = column;
    }
    const Theme& theme = themeOf(palette());
    for (int row = first; row <= last; ++row) {
        const QString note = rows_->noteOf(rows_->recordOf(row));
        if (note.isEmpty() || widest < 0) continue;
        const QRect cell = visualRect(model()->index(row, widest)).adjusted(4, 2, -4, -2);
        const QString text =
            fontMetrics().horizontalAdvance(note) + 34 < cell.width() * 2 / 3 ? note : note.section(u':', 0, 0);
        const QRect chip = cell.adjusted(cell.width() - fontMetrics().horizontalAdvance(text) - 34, 0, 0, 0);
        QPainter painter(viewport());
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(theme.base);
        painter.drawRect(chip);
        painter.setBrush(theme.badgeFill(theme.orange));
        painter.drawRoundedRect(chip, 4, 4);
        const Badge badge{QStringLiteral("exclamationmark.triangle"), text, ProcessingStatus::Color::orange};
        paintBadge(painter, chip.adjusted(7, 0, -4, 0), badge, theme);
    }
}

void RecordTable::paintEvent(QPaintEvent* event) {
    QTableView::paintEvent(event);
    paintNotes();
    if (emptyText_.isEmpty() || !model() || model()->rowCount() > 0) return;
    QPainter painter(viewport());
    painter.setPen(themeOf(palette()).secondaryText);
    const bool areHidden = rows_ && rows_->hiddenCount() > 0;
    painter.drawText(viewport()->rect().adjusted(24, 8, -24, -8), Qt::AlignCenter | Qt::TextWordWrap,
                     areHidden ? QStringLiteral("No row matches the filter.") : emptyText_);
}

void RecordTable::resizeEvent(QResizeEvent* event) {
    QTableView::resizeEvent(event);
    stretch();
}

} // namespace ostrel
