#include "app/controls/flow_layout.h"

#include <QWidget>

namespace ostrel {

FlowLayout::FlowLayout(int spacing) {
    setContentsMargins(0, 0, 0, 0);
    setSpacing(spacing);
}

FlowLayout::~FlowLayout() {
    for (QLayoutItem* item : items_) delete item;
}

void FlowLayout::addItem(QLayoutItem* item) { items_.push_back(item); }

QLayoutItem* FlowLayout::itemAt(int index) const {
    return index >= 0 && index < count() ? items_[static_cast<std::size_t>(index)] : nullptr;
}

QLayoutItem* FlowLayout::takeAt(int index) {
    QLayoutItem* item = itemAt(index);
    if (item) items_.erase(items_.begin() + index);
    return item;
}

QSize FlowLayout::minimumSize() const {
    QSize size;
    for (const QLayoutItem* item : items_) size = size.expandedTo(item->minimumSize());
    return size;
}

void FlowLayout::setGeometry(const QRect& rect) {
    QLayout::setGeometry(rect);
    arrange(rect, true);
}

int FlowLayout::arrange(const QRect& rect, bool apply) const {
    int x = rect.left();
    int y = rect.top();
    int line = 0;
    for (QLayoutItem* item : items_) {
        const QSize size = item->sizeHint();
        if (x > rect.left() && x + size.width() > rect.right() + 1) {
            x = rect.left();
            y += line + spacing();
            line = 0;
        }
        if (apply) item->setGeometry(QRect(QPoint(x, y), size));
        x += size.width() + spacing();
        line = std::max(line, size.height());
    }
    return y + line - rect.top();
}

} // namespace ostrel
