// The review of grouped ISOs: every group as a card, the files that are in none, and what a person can change about
// them before they are joined. Everything that the pointer does can be done by the buttons and the keyboard too.
#pragma once

#include "app/controls/bindings.h"
#include "app/controls/controls.h"
#include "polytools/poly_tools_view_model.h"

#include <QPointer>

class QMenu;

namespace ostrel {

class GroupCardView;
class GroupPicker;
class GroupTree;
class GroupTreeModel;
class IsoWaveforms;
class RecordTable;
class UngroupedTableModel;

class GroupReviewView : public QWidget {
    Q_OBJECT

public:
    explicit GroupReviewView(PolyToolsViewModel& viewModel, QWidget* parent = nullptr);

    GroupTree& tree() { return *tree_; }
    GroupTreeModel& groups() { return *groups_; }
    RecordTable& ungrouped() { return *ungrouped_; }
    GroupPicker* picker() const; // null while it is closed

Q_SIGNALS:
    void groupsUpdated(); // by a person

private:
    QWidget* makeHeading();
    QWidget* makeActions();
    QWidget* makeUngrouped();
    QWidget* makeLists();
    QPushButton* action(const QString& text, const QString& help, void (GroupReviewView::*perform)());
    void loadGroup();
    void playGroup();
    void moveToGroup();
    void moveToNewGroup();
    void ungroup();
    void deleteGroups();
    void deleteSelected();
    void showMenu(const QPoint& position);
    void addMoves(QMenu& menu);
    QSet<QUuid> selectedIsos() const;
    QSet<QUuid> selectedGroups() const;
    std::optional<QModelIndex> currentGroup() const;
    void refresh();
    void refreshActions();
    void refreshWaveforms();

    PolyToolsViewModel& viewModel_;
    Bindings bindings_;
    GroupTreeModel* groups_;
    UngroupedTableModel* ungroupedFiles_;
    GroupCardView* cards_;
    GroupTree* tree_;
    IsoWaveforms* waveforms_ = nullptr; // none without a sound output
    RecordTable* ungrouped_ = nullptr;
    QWidget* ungroupedSection_ = nullptr;
    SecondaryLabel* total_ = nullptr;
    StatusCounter* ungroupedCount_ = nullptr;
    SecondaryLabel* ungroupedNote_ = nullptr;
    QPushButton* expandAll_ = nullptr;
    QPushButton* collapseAll_ = nullptr;
    QPushButton* load_ = nullptr;
    QPushButton* play_ = nullptr;
    QPushButton* move_ = nullptr;
    QPushButton* newGroup_ = nullptr;
    QPushButton* ungroup_ = nullptr;
    QPushButton* delete_ = nullptr;
    QPointer<GroupPicker> picker_;
};

} // namespace ostrel
