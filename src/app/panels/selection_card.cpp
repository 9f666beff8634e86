#include "app/panels/selection_card.h"

#include "app/controls/layouts.h"

namespace ostrel {

SelectionCard::SelectionCard(const QString& accessibleName, QWidget* parent) : Card(parent) {
    setAccessibleName(accessibleName);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    auto* column = columnLayout(6);
    column->setContentsMargins(14, 8, 10, 8);
    setLayout(column);
}

void SelectionCard::addRow(SelectionRow* row, QWidget* beside) {
    auto* line = rowLayout(12);
    line->addWidget(row, 1);
    QWidget* end = beside ? beside : new QWidget;
    QSizePolicy policy = end->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    end->setSizePolicy(policy);
    line->addWidget(end);
    static_cast<QVBoxLayout*>(layout())->addLayout(line);
    rows_.push_back(row);
    ends_.push_back(end);
    align();
}

void SelectionCard::addWidget(QWidget* widget) { layout()->addWidget(widget); }

void SelectionCard::align() {
    int label = 0;
    int button = 0;
    int end = 0;
    for (SelectionRow* row : rows_) {
        label = std::max(label, row->labelWidth());
        button = std::max(button, row->button().sizeHint().width());
    }
    for (const QWidget* widget : ends_) end = std::max(end, widget->sizeHint().width());
    for (SelectionRow* row : rows_) {
        row->setLabelWidth(label);
        row->button().setFixedWidth(button);
    }
    for (QWidget* widget : ends_) widget->setFixedWidth(end);
}

} // namespace ostrel
