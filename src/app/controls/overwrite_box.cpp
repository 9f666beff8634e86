#include "app/controls/overwrite_box.h"

#include "app/controls/flag_box.h"
#include "polytools/state/poly_tools_state.h"

#include <QCheckBox>

namespace ostrel {

QCheckBox* overwriteBox(Bindings& bindings, PolyToolsState& state) {
    QCheckBox* box = flagBox(bindings, state.overwriteExisting, QStringLiteral("Overwrite existing"),
                             QStringLiteral("Replace existing outputs"));
    // An output that is skipped is never replaced.
    QObject::connect(box, &QCheckBox::toggled, box, [&state](bool isOn) { state.skipIfExists = !isOn; });
    return box;
}

} // namespace ostrel
