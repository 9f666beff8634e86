// The switch of Poly Tools that lets a run replace what is there already. One setting serves all modes, so each mode
// shows it: nobody should be surprised by what was switched on elsewhere.
#pragma once

#include "app/controls/bindings.h"

class QCheckBox;

namespace ostrel {

struct PolyToolsState;

// `bindings` belong to the view that the box stands in.
QCheckBox* overwriteBox(Bindings& bindings, PolyToolsState& state);

} // namespace ostrel
