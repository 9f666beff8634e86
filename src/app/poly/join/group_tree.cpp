#include "app/poly/join/group_tree.h"

#include "app/controls/theme.h"
#include "app/poly/join/group_tree_model.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

namespace ostrel {

GroupTree::GroupTree(GroupTreeModel& model, GroupCardView& cards, const QString& accessibleName, QWidget* parent)
    : QTreeView(parent), model_(model), cards_(cards) {
    setAccessibleName(accessibleName);
    setModel(&model);
    setItemDelegate(&cards);
    setHeaderHidden(true);
    header()->setAccessibleName(accessibleName + QStringLiteral(" columns"));
    setRootIsDecorated(false);
    setIndentation(0);
    setSelectionMode(ExtendedSelection);
    setEditTriggers(NoEditTriggers);
    setExpandsOnDoubleClick(false);
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFrameShape(QFrame::NoFrame);
    setDragDropMode(DragDrop);
    setDefaultDropAction(Qt::MoveAction);
    setDragDropOverwriteMode(true);
    setMouseTracking(true);
    viewport()->setAutoFillBackground(false);
    connect(this, &QTreeView::clicked, this, &GroupTree::onClicked);
    connect(&model, &GroupTreeModel::looksChanged, viewport(), qOverload<>(&QWidget::update));
    // A card grows by a line when it is unfolded: its height has to be asked for again.
    const auto resized = [this](const QModelIndex& index) { dataChanged(index, index); };
    connect(this, &QTreeView::expanded, this, resized);
    connect(this, &QTreeView::collapsed, this, resized);
}

void GroupTree::unfold(const QModelIndex& group, bool isUnfolded) { setExpanded(group, isUnfolded); }

void GroupTree::unfoldAll(bool isUnfolded) {
    const QSignalBlocker quiet(this); // one new layout, not one a card
    isUnfolded ? expandAll() : collapseAll();
}

void GroupTree::mousePressEvent(QMouseEvent* event) {
    pressedAt_ = event->position().toPoint();
    pressedWith_ = event->modifiers();
    QTreeView::mousePressEvent(event);
}

void GroupTree::onClicked(const QModelIndex& index) {
    if (pressedWith_ & (Qt::ControlModifier | Qt::ShiftModifier)) return; // it only extends the selection
    if (model_.isIso(index)) return Q_EMIT isoChosen(index);
    if (const auto action = cards_.actionAt(visualRect(index), pressedAt_)) return cards_.perform(*action, index);
    setExpanded(index, !isExpanded(index));
}

void GroupTree::keyPressEvent(QKeyEvent* event) {
    const QModelIndex current = currentIndex();
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isEnter && current.isValid()) {
        if (model_.isIso(current)) return Q_EMIT isoChosen(current);
        return setExpanded(current, !isExpanded(current));
    }
    if (event->key() == Qt::Key_Delete || event->key() == Qt::Key_Backspace) return Q_EMIT deletePressed();
    QTreeView::keyPressEvent(event);
}

void GroupTree::contextMenuEvent(QContextMenuEvent* event) {
    const bool byKey = event->reason() == QContextMenuEvent::Keyboard;
    const QModelIndex index = byKey ? currentIndex() : indexAt(viewport()->mapFromGlobal(event->globalPos()));
    if (!index.isValid()) return;
    Q_EMIT menuRequested(byKey ? viewport()->mapToGlobal(visualRect(index).bottomLeft()) : event->globalPos());
}

// The cards paint their own background.
void GroupTree::drawRow(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    QStyleOptionViewItem row = option;
    row.state.setFlag(QStyle::State_Selected, selectionModel()->isSelected(index));
    row.state.setFlag(QStyle::State_Open, isExpanded(index));
    cards_.paint(painter, row, index);
    if (index == currentIndex() && hasFocus()) {
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(QPen(themeOf(palette()).accentText, 1.5));
        painter->setBrush(Qt::NoBrush);
        painter->drawRoundedRect(QRectF(row.rect).adjusted(1, model_.isGroup(index) ? 3.75 : 0.75, -2.75,
                                                           model_.isGroup(index) ? -3.75 : -0.75),
                                 6, 6);
        painter->restore();
    }
}

void GroupTree::paintEvent(QPaintEvent* event) {
    QTreeView::paintEvent(event);
    if (model_.rowCount() > 0) return;
    QPainter painter(viewport());
    painter.setPen(themeOf(palette()).secondaryText);
    painter.drawText(viewport()->rect(), Qt::AlignCenter, QStringLiteral("No groups found"));
}

} // namespace ostrel
