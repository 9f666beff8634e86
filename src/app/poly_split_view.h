// The Split mode of Poly Tools: one poly, or a batch of them.
#pragma once

#include "app/bindings.h"
#include "polytools/poly_tools_view_model.h"

#include <QWidget>

namespace ostrel {

class PolySplitView : public QWidget {
    Q_OBJECT

public:
    explicit PolySplitView(PolyToolsViewModel& viewModel, QWidget* parent = nullptr);

private:
    PolyToolsViewModel& viewModel_;
    Bindings bindings_;
};

} // namespace ostrel
