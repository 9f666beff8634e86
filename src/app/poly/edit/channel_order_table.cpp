#include "app/poly/edit/channel_order_table.h"

#include "app/controls/theme.h"

#include <QApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>

namespace ostrel {
namespace {

constexpr int kScrollInterval = 30; // ms
constexpr int kEdge = 10;           // within this many pixels of an edge the table scrolls

} // namespace

ChannelOrderTable::ChannelOrderTable(const QString& accessibleName, QWidget* parent)
    : RecordTable(accessibleName, parent) {
    setSelectionMode(SingleSelection);
    scroll_.setInterval(kScrollInterval);
    connect(&scroll_, &QTimer::timeout, this, &ChannelOrderTable::scrollStep);
}

void ChannelOrderTable::mousePressEvent(QMouseEvent* event) {
    RecordTable::mousePressEvent(event);
    const QPoint position = event->position().toPoint();
    if (event->button() != Qt::LeftButton || !indexAt(position).isValid()) return;
    press_ = position;
    dragged_ = indexAt(position).row();
}

void ChannelOrderTable::mouseMoveEvent(QMouseEvent* event) {
    const QPoint position = event->position().toPoint();
    if (!press_ || !event->buttons().testFlag(Qt::LeftButton)) return RecordTable::mouseMoveEvent(event);
    if (!isDragging() && (position - *press_).manhattanLength() < QApplication::startDragDistance()) return;
    viewport()->setCursor(Qt::ClosedHandCursor);
    follow(position);
}

void ChannelOrderTable::mouseReleaseEvent(QMouseEvent* event) {
    const std::optional<int> slot = slot_;
    const int from = dragged_;
    endDrag();
    if (!slot) return RecordTable::mouseReleaseEvent(event);
    setState(NoState);
    const int to = *slot > from ? *slot - 1 : *slot;
    if (to != from) Q_EMIT moveRequested(from, to);
}

void ChannelOrderTable::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape && isDragging()) return endDrag();
    const int step = event->key() == Qt::Key_Up ? -1 : event->key() == Qt::Key_Down ? 1 : 0;
    if (step == 0 || event->modifiers() != Qt::AltModifier) return RecordTable::keyPressEvent(event);
    const int row = currentIndex().row();
    const int to = row + step;
    if (row >= 0 && to >= 0 && to < model()->rowCount()) Q_EMIT moveRequested(row, to);
}

void ChannelOrderTable::focusOutEvent(QFocusEvent* event) {
    endDrag();
    RecordTable::focusOutEvent(event);
}

int ChannelOrderTable::slotAt(int y) const {
    for (int row = 0; row < model()->rowCount(); ++row) {
        if (y < rowViewportPosition(row) + rowHeight(row) / 2) return row;
    }
    return model()->rowCount();
}

void ChannelOrderTable::follow(const QPoint& position) {
    position_ = position;
    slot_ = slotAt(position.y());
    const bool isAtEdge = position.y() < kEdge || position.y() > viewport()->height() - kEdge;
    if (isAtEdge != scroll_.isActive()) isAtEdge ? scroll_.start() : scroll_.stop();
    viewport()->update();
}

void ChannelOrderTable::scrollStep() {
    const int step = verticalHeader()->defaultSectionSize() / 3;
    verticalScrollBar()->setValue(verticalScrollBar()->value() + (position_.y() < kEdge ? -step : step));
    follow(position_);
}

void ChannelOrderTable::endDrag() {
    press_.reset();
    if (!isDragging()) return;
    slot_.reset();
    scroll_.stop();
    viewport()->unsetCursor();
    viewport()->update();
}

void ChannelOrderTable::paintEvent(QPaintEvent* event) {
    RecordTable::paintEvent(event);
    if (!slot_) return;
    const int rows = model()->rowCount();
    const int y = *slot_ < rows ? rowViewportPosition(*slot_) : rowViewportPosition(rows - 1) + rowHeight(rows - 1);
    QPainter painter(viewport());
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(themeOf(palette()).accentText, 2));
    const int line = std::clamp(y, 1, viewport()->height() - 1);
    painter.drawLine(QPoint(8, line), QPoint(viewport()->width() - 4, line));
    painter.drawEllipse(QPoint(5, line), 3, 3);
}

} // namespace ostrel
