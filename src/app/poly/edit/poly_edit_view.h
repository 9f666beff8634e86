// The Edit mode of Poly Tools: what is edited and where to, the polys with their channels, and the three kinds of
// change.
#pragma once

#include "app/controls/bindings.h"
#include "app/poly/edit/published_edits.h"
#include "polytools/poly_tools_view_model.h"

#include <QPointer>
#include <QWidget>

class QLabel;
class QPushButton;

namespace ostrel {

class BatchChannelRemovalConfigView;
class BatchPolyList;
class ChannelRemovalSection;
class ChannelRenameSection;
class ChannelReorderSection;
class PageStack;
class RunRow;
class SegmentedControl;
class SelectionRow;

class PolyEditView : public QWidget {
    Q_OBJECT

public:
    QWidget& lists() const; // where the items stand
    explicit PolyEditView(PolyToolsViewModel& viewModel, QWidget* parent = nullptr);

    PublishedEdits& edits() { return edits_; }
    ChannelReorderSection& reorderSection() { return *reorder_; }
    ChannelRenameSection& renameSection() { return *rename_; }
    BatchPolyList& polys() { return *polys_; }
    RunRow& runRow() { return *runRow_; }
    BatchChannelRemovalConfigView* configDialog() const; // null while it is closed

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    QWidget* makeSource();
    QWidget* makeOutputMode();
    QWidget* makeEdits();
    QWidget* makeEditsHeading();
    void connectController();
    void rescanFolder();
    void listSinglePoly();
    void clearAll();
    void openDialog();
    QString sourceText() const;
    void refresh();
    void showResults();

    PolyToolsViewModel& viewModel_;
    PublishedEdits edits_;
    Bindings bindings_;
    QWidget* source_ = nullptr;
    SelectionRow* sourceRow_ = nullptr;
    SelectionRow* outputRow_ = nullptr;
    QLabel* required_ = nullptr;
    SegmentedControl* outputModes_ = nullptr;
    PageStack* modeNotes_ = nullptr;
    BatchPolyList* polys_ = nullptr;
    QWidget* editColumn_ = nullptr;
    QPushButton* configure_ = nullptr;
    QPushButton* clearEdits_ = nullptr;
    QPushButton* clearAll_ = nullptr;
    ChannelRemovalSection* removal_ = nullptr;
    ChannelReorderSection* reorder_ = nullptr;
    ChannelRenameSection* rename_ = nullptr;
    RunRow* runRow_ = nullptr;
    QPointer<BatchChannelRemovalConfigView> dialog_;
};

} // namespace ostrel
