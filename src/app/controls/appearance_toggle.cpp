#include "app/controls/appearance_toggle.h"

#include "app/controls/layouts.h"

namespace ostrel {
namespace {

QString symbolOf(Appearance appearance) {
    switch (appearance) {
    case Appearance::system: return QStringLiteral("appearance");
    case Appearance::light: return QStringLiteral("sun");
    case Appearance::dark: break;
    }
    return QStringLiteral("moon");
}

Appearance next(Appearance appearance) {
    switch (appearance) {
    case Appearance::system: return Appearance::light;
    case Appearance::light: return Appearance::dark;
    case Appearance::dark: break;
    }
    return Appearance::system;
}

} // namespace

QString displayName(Appearance appearance) {
    switch (appearance) {
    case Appearance::system: return QStringLiteral("System");
    case Appearance::light: return QStringLiteral("Light");
    case Appearance::dark: break;
    }
    return QStringLiteral("Dark");
}

AppearanceToggle::AppearanceToggle(QProperty<Appearance>& appearance, QWidget* parent)
    : SymbolButton(QStringLiteral("appearance"), QString(), QString(), parent) {
    bindings_.bind(appearance, [this, &appearance] {
        setSymbol(symbolOf(appearance.value()));
        const QString help = QStringLiteral("Appearance: ") + displayName(appearance.value());
        named(this, help, help);
    });
    connect(this, &QToolButton::clicked, this, [&appearance] { appearance = next(appearance.value()); });
}

} // namespace ostrel
