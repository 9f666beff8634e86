// Goes through system, light and dark; the menu sets the same preference.
#pragma once

#include "app/controls/bindings.h"
#include "app/controls/controls.h"
#include "platform/desktop_services.h"

namespace ostrel {

QString displayName(Appearance appearance); // "System"

class AppearanceToggle : public SymbolButton {
    Q_OBJECT

public:
    explicit AppearanceToggle(QProperty<Appearance>& appearance, QWidget* parent = nullptr);

private:
    Bindings bindings_;
};

} // namespace ostrel
