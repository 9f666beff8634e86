// A table whose rows a person moves: by dragging, or with Alt and the arrow keys. It only asks for the move.
#pragma once

#include "app/tables/record_table.h"

#include <QTimer>
#include <optional>

namespace ostrel {

class ChannelOrderTable : public RecordTable {
    Q_OBJECT

public:
    explicit ChannelOrderTable(const QString& accessibleName, QWidget* parent = nullptr);

    bool isDragging() const { return slot_.has_value(); }

Q_SIGNALS:
    // The row stands at `to` afterwards.
    void moveRequested(int from, int to);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    int slotAt(int y) const; // between which rows the row would go: 0 above the first
    void follow(const QPoint& position);
    void scrollStep();
    void endDrag();

    std::optional<QPoint> press_;
    std::optional<int> slot_; // while a row is dragged
    int dragged_ = -1;
    QPoint position_;
    QTimer scroll_; // while the pointer is held beyond an edge
};

} // namespace ostrel
