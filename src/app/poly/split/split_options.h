// How Split names the ISOs and where it puts them.
#pragma once

#include "app/controls/bindings.h"
#include "app/controls/controls.h"
#include "polytools/poly_tools_view_model.h"

class QComboBox;

namespace ostrel {

class SplitOptionsCard : public Card {
    Q_OBJECT

public:
    explicit SplitOptionsCard(PolyToolsViewModel& viewModel, QWidget* parent = nullptr);

private:
    QWidget* patternBlock();
    QWidget* namingBlock();
    QWidget* foldersBlock();
    QWidget* existingBlock();
    QString example() const;
    void refreshNames();

    PolyToolsViewModel& viewModel_;
    Bindings bindings_;
    QLabel* example_ = nullptr;
    QLabel* noSuffix_ = nullptr;
    QLabel* originalName_ = nullptr;
};

} // namespace ostrel
