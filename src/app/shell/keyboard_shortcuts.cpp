#include "app/shell/keyboard_shortcuts.h"

#include <QShortcut>
#include <QWidget>

namespace ostrel {
namespace {

constexpr double kSkip = 5; // seconds

} // namespace

KeyboardShortcutHandler::KeyboardShortcutHandler(QWidget* window) : QObject(window) {
    const auto add = [&](Qt::Key key, auto action) {
        auto* shortcut = new QShortcut(QKeySequence(Qt::CTRL | key), window);
        shortcut->setAutoRepeat(key == Qt::Key_Left || key == Qt::Key_Right);
        connect(shortcut, &QShortcut::activated, this, action);
    };
    add(Qt::Key_I, &KeyboardShortcutHandler::inputSelection);
    add(Qt::Key_O, &KeyboardShortcutHandler::outputSelection);
    add(Qt::Key_S, &KeyboardShortcutHandler::scan);
    add(Qt::Key_R, &KeyboardShortcutHandler::run);
    const Qt::Key tabs[] = {Qt::Key_1, Qt::Key_2, Qt::Key_3};
    const Qt::Key modes[] = {Qt::Key_Comma, Qt::Key_Period, Qt::Key_Slash};
    for (int index = 0; index < 3; ++index) {
        add(tabs[index], [this, index] { Q_EMIT tabChosen(index); });
        add(modes[index], [this, index] { Q_EMIT modeChosen(index); });
    }
    add(Qt::Key_Left, [this] { Q_EMIT skip(-kSkip); });
    add(Qt::Key_Right, [this] { Q_EMIT skip(kSkip); });
}

} // namespace ostrel
