// The Split mode of Poly Tools: one poly, or a batch of them. Source and output, options, the channels of the poly or
// the polys of the batch, and the run.
#pragma once

#include "app/controls/bindings.h"
#include "polytools/poly_tools_view_model.h"

#include <QWidget>

class QCheckBox;
class QLabel;
class QPushButton;

namespace ostrel {

class BatchPolyList;
class PageStack;
class RecordTable;
class RunRow;
class SelectionCard;
class SelectionRow;
class SplitOptionsCard;

class PolySplitView : public QWidget {
    Q_OBJECT

public:
    QWidget& lists() const; // where the items stand
    explicit PolySplitView(PolyToolsViewModel& viewModel, QWidget* parent = nullptr);

    RecordTable& channels() { return *channels_; }
    BatchPolyList& batch() { return *batch_; }
    RunRow& runRow() { return *run_; }

private:
    QWidget* makeSource();
    QWidget* makeChannels();
    void connectController();
    void run();
    void rescanFolder();
    void refresh();
    void refreshSource();
    void refreshChannels();
    void refreshRun();

    PolyToolsViewModel& viewModel_;
    Bindings bindings_;
    SelectionCard* sourceSection_ = nullptr;
    SelectionRow* source_ = nullptr;
    SelectionRow* output_ = nullptr;
    QCheckBox* recursive_ = nullptr;
    SplitOptionsCard* options_ = nullptr;
    PageStack* lists_ = nullptr;
    QLabel* heading_ = nullptr;
    QLabel* preparing_ = nullptr;
    QPushButton* playPoly_ = nullptr;
    RecordTable* channels_ = nullptr;
    BatchPolyList* batch_ = nullptr;
    RunRow* run_ = nullptr;
};

} // namespace ostrel
