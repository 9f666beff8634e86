// The two kinds of keys that Qt's shortcuts and controls leave alone. One filter over the application's events.
//
// Return presses the control in focus: a button, a switch, a badge; a picker opens. Space does that in Qt, and belongs
// to playback as soon as something is loaded. In a dialog Return is the dialog's.
//
// Ctrl and a digit go by the key's place in the row of digits. Which letter stands there without Shift is the layout's:
// on a French keyboard Ctrl+1 and Ctrl+Shift+1 would otherwise be one press. Where the platform tells no places (and on
// the keypad) Qt's shortcuts hold alone.
#pragma once

#include <QObject>

class QKeyEvent;
class QWidget;

namespace ostrel {

class WindowKeys : public QObject {
    Q_OBJECT

public:
    explicit WindowKeys(QWidget* window);

    // The digit that is printed on the pressed key of the digit row, by `platform`'s numbers of keys; -1: another key.
    static int digitOfRow(quint32 scanCode, const QString& platform);

Q_SIGNALS:
    void tabChosen(int index);        // Ctrl+1, 2, 3
    void appearanceChosen(int index); // Ctrl+Shift+0, 1, 2

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    bool takesDigit(const QKeyEvent& key, bool acts);
    bool isInFront() const;

    QWidget* window_;
};

} // namespace ostrel
