// The switch "Engine: ffmpeg | Direct" of each tool's options. What was chosen is remembered, a tool at a time.
#pragma once

#include "app/controls/bindings.h"
#include "foundation/records/engine_choice.h"

class QWidget;

namespace ostrel {

// `bindings` belong to the view that the switch stands in. The remembered choice is put into `engine` at once; until
// there is one, what the environment says (defaultEngine). `tool` is its key: several switches of one tool share it.
QWidget* engineSwitch(Bindings& bindings, QProperty<EngineChoice>& engine, const QString& tool);

} // namespace ostrel
