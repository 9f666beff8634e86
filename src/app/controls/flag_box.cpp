#include "app/controls/flag_box.h"

#include "app/controls/layouts.h"

#include <QCheckBox>

namespace ostrel {

QCheckBox* flagBox(Bindings& bindings, QProperty<bool>& flag, const QString& text, const QString& help) {
    auto* box = named(new QCheckBox(text), text, help);
    QObject::connect(box, &QCheckBox::toggled, box, [&flag](bool isOn) { flag = isOn; });
    bindings.bind(flag, [box, &flag] { box->setChecked(flag.value()); });
    return box;
}

} // namespace ostrel
