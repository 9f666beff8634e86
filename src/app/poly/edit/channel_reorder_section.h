// "Channel Reorder": the channels in their new order, moved by buttons, keys or by dragging.
#pragma once

#include "app/poly/edit/edit_section.h"
#include "app/poly/edit/published_edits.h"

namespace ostrel {

class ChannelOrderModel;
class ChannelOrderTable;

class ChannelReorderSection : public EditSection {
    Q_OBJECT

public:
    ChannelReorderSection(PolyEditFlow& edit, PublishedEdits& edits, QWidget* parent = nullptr);

    ChannelOrderTable& table() { return *table_; }

private:
    QWidget* makeList();
    void move(int from, int to);
    void refresh();
    void refreshButtons();

    PolyEditFlow& edit_;
    PublishedEdits& edits_;
    Bindings bindings_;
    ChannelOrderModel* model_;
    ChannelOrderTable* table_ = nullptr;
    QPushButton* up_ = nullptr;
    QPushButton* down_ = nullptr;
    QWidget* list_ = nullptr;
    QLabel* empty_ = nullptr;
};

} // namespace ostrel
