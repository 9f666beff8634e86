// A check box that shows a flag of a controller and sets it.
#pragma once

#include "app/controls/bindings.h"

class QCheckBox;

namespace ostrel {

// `bindings` belong to the view that the box stands in.
QCheckBox* flagBox(Bindings& bindings, QProperty<bool>& flag, const QString& text, const QString& help = QString());

} // namespace ostrel
