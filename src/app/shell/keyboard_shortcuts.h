// The keyboard commands of the window, all with Ctrl, as signals. They work on every tab and in every field.
#pragma once

#include <QObject>

class QWidget;

namespace ostrel {

class KeyboardShortcutHandler : public QObject {
    Q_OBJECT

public:
    explicit KeyboardShortcutHandler(QWidget* window);

Q_SIGNALS:
    void inputSelection();      // Ctrl+I
    void outputSelection();     // Ctrl+O
    void scan();                // Ctrl+S
    void run();                 // Ctrl+R
    void tabChosen(int index);  // Ctrl+1, 2, 3
    void modeChosen(int index); // Ctrl+comma, point, slash
    void skip(double seconds);  // Ctrl+Left, Right
};

} // namespace ostrel
