// The ISOs of a single join: how they were ordered, the table, and the buttons that choose, order, show and play them.
#pragma once

#include "app/controls/bindings.h"
#include "app/controls/controls.h"
#include "polytools/poly_tools_view_model.h"

class QMenu;

namespace ostrel {

class IsoTableModel;
class RecordTable;

class IsoListSection : public QWidget {
    Q_OBJECT

public:
    explicit IsoListSection(PolyToolsViewModel& viewModel, QWidget* parent = nullptr);

    RecordTable& table() { return *table_; }
    IsoTableModel& model() { return *model_; }

private:
    QWidget* makeHeading();
    QWidget* makeActions();
    void makeTable();
    QPushButton* action(const QString& text, const QString& help, std::function<void()> perform);
    void move(int step);
    void previewAll();
    void onClicked(int record, int column);
    void addMoves(QMenu& menu, int record);
    void refresh();
    void refreshMoves();

    PolyToolsViewModel& viewModel_;
    Bindings bindings_;
    IsoTableModel* model_;
    RecordTable* table_;
    QLabel* count_ = nullptr;
    SecondaryLabel* order_ = nullptr;
    QPushButton* addFiles_ = nullptr;
    QPushButton* selectAll_ = nullptr;
    QPushButton* deselectAll_ = nullptr;
    QPushButton* moveUp_ = nullptr;
    QPushButton* moveDown_ = nullptr;
    QPushButton* reveal_ = nullptr;
    QPushButton* playAll_ = nullptr;
    QPushButton* previewAll_ = nullptr;
    QPushButton* clearPreview_ = nullptr;
};

} // namespace ostrel
