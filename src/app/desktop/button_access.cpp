#include "app/desktop/button_access.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QAccessibleWidget>

namespace ostrel {
namespace {

class CheckableAccess : public QAccessibleWidget {
public:
    explicit CheckableAccess(QAbstractButton& button)
        : QAccessibleWidget(&button, button.group() ? QAccessible::RadioButton : QAccessible::CheckBox) {}

    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.checkable = true;
        state.checked = button().isChecked();
        state.pressed = button().isDown();
        return state;
    }

    QString text(QAccessible::Text kind) const override {
        const QString text = QAccessibleWidget::text(kind);
        return text.isEmpty() && kind == QAccessible::Name ? button().text().remove(u'&') : text;
    }

    QStringList actionNames() const override {
        QStringList names = QAccessibleWidget::actionNames();
        if (button().isEnabled()) names.prepend(toggleAction());
        return names;
    }

    void doAction(const QString& name) override {
        if (name == toggleAction() || name == pressAction()) return button().click();
        QAccessibleWidget::doAction(name);
    }

    QStringList keyBindingsForAction(const QString&) const override { return {}; }

private:
    QAbstractButton& button() const { return *static_cast<QAbstractButton*>(object()); }
};

QAccessibleInterface* accessOf(const QString&, QObject* object) {
    auto* button = qobject_cast<QAbstractButton*>(object);
    return button && button->isCheckable() ? new CheckableAccess(*button) : nullptr;
}

} // namespace

void installButtonAccess() { QAccessible::installFactory(accessOf); }

} // namespace ostrel
