#include "app/panels/tab_header.h"

#include "app/controls/layouts.h"

namespace ostrel {

QWidget* tabHeader(const QString& title, std::initializer_list<QWidget*> beside,
                   std::initializer_list<QWidget*> atTheEnd) {
    auto* label = new QLabel(title);
    scaleFont(*label, 1.35, QFont::DemiBold);
    auto* row = rowLayout(12);
    row->addWidget(label);
    for (QWidget* widget : beside) row->addWidget(widget);
    row->addStretch();
    for (QWidget* widget : atTheEnd) row->addWidget(widget);
    auto* header = new QWidget;
    header->setLayout(row);
    return header;
}

} // namespace ostrel
