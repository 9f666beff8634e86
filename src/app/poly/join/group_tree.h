// The list of the review: groups as cards, their ISOs below them. Tells what a person did; changes nothing itself.
#pragma once

#include "app/poly/join/group_card_view.h"

#include <QTreeView>

namespace ostrel {

class GroupTreeModel;

class GroupTree : public QTreeView {
    Q_OBJECT

public:
    GroupTree(GroupTreeModel& model, GroupCardView& cards, const QString& accessibleName, QWidget* parent = nullptr);
    QSize sizeHint() const override { return {400, minimumHeight()}; }

    void unfold(const QModelIndex& group, bool isUnfolded);
    void unfoldAll(bool isUnfolded);

Q_SIGNALS:
    void isoChosen(const QModelIndex& iso); // by a click or by Return
    void deletePressed();
    void menuRequested(const QPoint& globalPosition);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void drawRow(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void paintEvent(QPaintEvent* event) override;

private:
    void onClicked(const QModelIndex& index);

    GroupTreeModel& model_;
    GroupCardView& cards_;
    QPoint pressedAt_;
    Qt::KeyboardModifiers pressedWith_;
};

} // namespace ostrel
