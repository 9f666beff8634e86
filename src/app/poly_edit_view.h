// The Edit mode of Poly Tools.
//
// Pieces that the three modes share: SelectionCard with SelectionRow (source and output), RunRow (run, stop, progress,
// results, CSV report), flagBox (a switch), PageStack (pages in one place), BatchPolyList (the polys of a batch).
#pragma once

#include "app/bindings.h"
#include "polytools/poly_tools_view_model.h"

#include <QWidget>

namespace ostrel {

class PolyEditView : public QWidget {
    Q_OBJECT

public:
    explicit PolyEditView(PolyToolsViewModel& viewModel, QWidget* parent = nullptr);

private:
    PolyToolsViewModel& viewModel_;
    Bindings bindings_;
};

} // namespace ostrel
