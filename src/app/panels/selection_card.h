// The top of a tab: the rows in which source and output folder are chosen, on one card, their columns in line.
#pragma once

#include "app/panels/selection_row.h"

#include <vector>

namespace ostrel {

class SelectionCard : public Card {
    Q_OBJECT

public:
    explicit SelectionCard(const QString& accessibleName, QWidget* parent = nullptr);

    // The card takes both over. `beside` stands at the row's end; rows without one leave its room free.
    void addRow(SelectionRow* row, QWidget* beside = nullptr);
    // Rows that are for the card, but choose nothing.
    void addWidget(QWidget* widget);

private:
    void align();

    std::vector<SelectionRow*> rows_;
    std::vector<QWidget*> ends_; // one a row
};

} // namespace ostrel
