// Draws one group of the review as a card: its output name, how far it can be trusted and by what it was found, its
// timecode and channels, and the symbols that load, play and delete it; below, where it is unfolded, its ISOs. One
// delegate serves all groups, so that thousands of them cost no more than those in sight.
#pragma once

#include <QStyledItemDelegate>
#include <functional>
#include <optional>

namespace ostrel {

class GroupTreeModel;
struct ISOGroupCandidate;
class PolyToolsViewModel;

// How it was found, its timecode, channels and length.
QString groupDetails(const ISOGroupCandidate& group);

class GroupCardView : public QStyledItemDelegate {
    Q_OBJECT

public:
    enum class Action { load, play, remove };

    GroupCardView(PolyToolsViewModel& viewModel, GroupTreeModel& model, QObject* parent = nullptr);

    std::function<void(const QModelIndex& group)> onDelete;

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

    // The symbol at a point of a group's row, if any.
    std::optional<Action> actionAt(const QRect& row, const QPoint& point) const;
    static QRect actionRect(const QRect& row, Action action);
    void perform(Action action, const QModelIndex& group);

private:
    void paintGroup(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;
    void paintHeadline(QPainter& painter, const QRect& line, const QStyleOptionViewItem& option,
                       const QModelIndex& index) const;
    void paintActions(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;
    void paintIso(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;

    PolyToolsViewModel& viewModel_;
    GroupTreeModel& model_;
};

} // namespace ostrel
