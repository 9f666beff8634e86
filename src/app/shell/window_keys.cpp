#include "app/shell/window_keys.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QKeyEvent>

namespace ostrel {
namespace {

constexpr int kTabs = 3;
constexpr int kAppearances = 3;

bool isPlainReturn(const QKeyEvent& key) {
    const bool isReturn = key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter;
    return isReturn && (key.modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier && !key.isAutoRepeat();
}

// Whether it is a control that Return presses.
bool pressControl(QWidget* focus) {
    if (auto* button = qobject_cast<QAbstractButton*>(focus); button && button->isEnabled()) {
        button->click();
        return true;
    }
    if (auto* picker = qobject_cast<QComboBox*>(focus); picker && picker->isEnabled() && !picker->isEditable()) {
        picker->showPopup();
        return true;
    }
    return false;
}

} // namespace

WindowKeys::WindowKeys(QWidget* window) : QObject(window), window_(window) { qApp->installEventFilter(this); }

int WindowKeys::digitOfRow(quint32 scanCode, const QString& platform) {
    // X11 and Wayland alike number keys as the kernel does, plus 8: 1 to 9 are 10 to 18, and 0 follows.
    constexpr quint32 first = 10;
    if (platform != QStringLiteral("xcb") && !platform.startsWith(QStringLiteral("wayland"))) return -1;
    if (scanCode < first || scanCode >= first + 10) return -1;
    return static_cast<int>((scanCode - first + 1) % 10);
}

bool WindowKeys::isInFront() const {
    return QApplication::activeWindow() == window_ && !QApplication::activeModalWidget() &&
           !QApplication::activePopupWidget();
}

bool WindowKeys::takesDigit(const QKeyEvent& key, bool acts) {
    const Qt::KeyboardModifiers modifiers = key.modifiers();
    const bool shifted = modifiers == (Qt::ControlModifier | Qt::ShiftModifier);
    if (!shifted && modifiers != Qt::ControlModifier) return false;
    const int digit = digitOfRow(key.nativeScanCode(), QGuiApplication::platformName());
    const int index = shifted ? digit : digit - 1;
    if (digit < 0 || index < 0 || index >= (shifted ? kAppearances : kTabs)) return false;
    if (acts && !key.isAutoRepeat()) shifted ? Q_EMIT appearanceChosen(index) : Q_EMIT tabChosen(index);
    return true;
}

// An accepted ShortcutOverride keeps the press from Qt's shortcuts and makes a key event of it.
bool WindowKeys::eventFilter(QObject* object, QEvent* event) {
    const bool isOverride = event->type() == QEvent::ShortcutOverride;
    if ((!isOverride && event->type() != QEvent::KeyPress) || !isInFront()) return QObject::eventFilter(object, event);
    const auto& key = static_cast<const QKeyEvent&>(*event);
    if (takesDigit(key, !isOverride)) {
        event->accept();
        return true;
    }
    if (!isOverride && isPlainReturn(key) && pressControl(QApplication::focusWidget())) return true;
    return QObject::eventFilter(object, event);
}

} // namespace ostrel
