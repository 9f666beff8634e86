#include "app/poly_split_view.h"

namespace ostrel {

PolySplitView::PolySplitView(PolyToolsViewModel& viewModel, QWidget* parent) : QWidget(parent), viewModel_(viewModel) {
    setAccessibleName(rawText(PolyMode::split));
}

} // namespace ostrel
