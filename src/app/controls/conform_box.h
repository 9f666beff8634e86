// "Conform headers", alike on every view that makes files, and remembered from one start to the next.
#pragma once

#include "app/controls/bindings.h"
#include "foundation/records/engine_choice.h"

class QCheckBox;

namespace ostrel {

// `bindings` belong to the view that the box stands in; the remembered choice is put into `conforms` at once. With
// another engine than the direct one the box stands disabled, and says why. `tool` is its name in the settings.
QCheckBox* conformBox(Bindings& bindings, QProperty<bool>& conforms, QProperty<EngineChoice>& engine,
                      const QString& tool);

} // namespace ostrel
