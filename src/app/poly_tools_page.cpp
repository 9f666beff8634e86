#include "app/poly_tools_page.h"

#include "app/controls.h"
#include "app/layouts.h"

namespace ostrel {

PolyToolsPage::PolyToolsPage(QWidget* parent) : TabPage(parent) {
    setAccessibleName(QStringLiteral("Poly Tools"));
    auto* title = new QLabel(QStringLiteral("Poly Tools"));
    scaleFont(*title, 1.3, QFont::DemiBold);
    auto* sentence = new SecondaryLabel(
        QStringLiteral("Splitting, joining and editing polys come to this window in the next version."));
    sentence->setWordWrap(true);
    sentence->setAlignment(Qt::AlignCenter);
    auto* column = columnLayout();
    column->addStretch();
    column->addWidget(title, 0, Qt::AlignHCenter);
    column->addWidget(sentence);
    column->addStretch();
    setLayout(column);
}

} // namespace ostrel
