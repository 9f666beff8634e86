// The switch "Prove that nothing changed" of each tool's options. What was chosen is remembered, a tool at a time.
#pragma once

#include "app/controls/bindings.h"

class QCheckBox;

namespace ostrel {

// `bindings` belong to the view that the box stands in; the remembered choice is put into `proves` at once. `tool` is
// its key: several boxes of one tool share it.
QCheckBox* proofBox(Bindings& bindings, QProperty<bool>& proves, const QString& tool);

} // namespace ostrel
