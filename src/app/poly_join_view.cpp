#include "app/poly_join_view.h"

namespace ostrel {

PolyJoinView::PolyJoinView(PolyToolsViewModel& viewModel, QWidget* parent) : QWidget(parent), viewModel_(viewModel) {
    setAccessibleName(rawText(PolyMode::join));
}

} // namespace ostrel
