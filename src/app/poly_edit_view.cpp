#include "app/poly_edit_view.h"

namespace ostrel {

PolyEditView::PolyEditView(PolyToolsViewModel& viewModel, QWidget* parent) : QWidget(parent), viewModel_(viewModel) {
    setAccessibleName(rawText(PolyMode::editPoly));
}

} // namespace ostrel
