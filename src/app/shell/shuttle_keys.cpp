#include "app/shell/shuttle_keys.h"

#include "app/shell/text_focus.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QKeyEvent>
#include <optional>

namespace ostrel {
namespace {

std::optional<int> directionOf(const QKeyEvent& key) {
    if (key.modifiers() != Qt::NoModifier) return std::nullopt;
    switch (key.key()) {
    case Qt::Key_J: return -1;
    case Qt::Key_K: return 0;
    case Qt::Key_L: return 1;
    default: return std::nullopt;
    }
}

} // namespace

ShuttleKeys::ShuttleKeys(QWidget* window, std::function<bool()> isEnabled)
    : QObject(window), window_(window), isEnabled_(std::move(isEnabled)) {
    qApp->installEventFilter(this);
}

// Letters that follow each other quickly are one word to a list.
bool ShuttleKeys::isTyping(const QKeyEvent& key) {
    if (!qobject_cast<QAbstractItemView*>(QApplication::focusWidget()) || key.text().isEmpty()) return false;
    const bool goesOn = sinceTyped_.isValid() && sinceTyped_.elapsed() < QApplication::keyboardInputInterval();
    if (directionOf(key) && !goesOn) return false;
    sinceTyped_.start();
    return true;
}

bool ShuttleKeys::eventFilter(QObject* object, QEvent* event) {
    if (event->type() != QEvent::KeyPress || QApplication::activeWindow() != window_ ||
        QApplication::activeModalWidget() || QApplication::activePopupWidget())
        return QObject::eventFilter(object, event);
    const auto& key = static_cast<const QKeyEvent&>(*event);
    const QWidget* focus = QApplication::focusWidget();
    if (isTyping(key)) return false;
    const auto direction = directionOf(key);
    if (!direction || takesText(focus) || qobject_cast<const QComboBox*>(focus) || !isEnabled_()) return false;
    if (!key.isAutoRepeat()) Q_EMIT shuttled(*direction);
    return true;
}

} // namespace ostrel
