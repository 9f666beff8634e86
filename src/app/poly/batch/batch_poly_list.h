// The polys of a batch: heading, the buttons that fold and load all of them, and the table, whose rows expand into
// channels and play at a click. For Split and Edit.
#pragma once

#include "app/controls/bindings.h"
#include "polytools/poly_tools_view_model.h"

#include <QWidget>

class QLabel;
class QPushButton;

namespace ostrel {

class BatchPolyModel;
class RecordTable;

class BatchPolyList : public QWidget {
    Q_OBJECT

public:
    explicit BatchPolyList(PolyToolsViewModel& viewModel, QWidget* parent = nullptr);

    RecordTable& table() { return *table_; }
    BatchPolyModel& model() { return *model_; }

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    QWidget* makeHeading();
    void makeTable();
    void setAllExpanded(bool areExpanded);
    bool foldByKey(int key);
    void play(int record);
    void retry(const QList<int>& records);
    QList<int> failed() const;
    void refresh();

    PolyToolsViewModel& viewModel_;
    Bindings bindings_;
    BatchPolyModel* model_;
    RecordTable* table_;
    QLabel* heading_ = nullptr;
    QPushButton* expandAll_ = nullptr;
    QPushButton* collapseAll_ = nullptr;
    QPushButton* loadAll_ = nullptr;
    QPushButton* retryFailed_ = nullptr;
};

} // namespace ostrel
