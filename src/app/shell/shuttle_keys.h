// J, K and L: backwards, pause, forwards, wherever the focus is. Left alone are text fields, pickers, whose entries are
// found by their letters, dialogs, and a list in which a person is just typing the beginning of a name.
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <functional>

class QKeyEvent;
class QWidget;

namespace ostrel {

class ShuttleKeys : public QObject {
    Q_OBJECT

public:
    // Keys go to `window` only while `isEnabled`.
    ShuttleKeys(QWidget* window, std::function<bool()> isEnabled);

Q_SIGNALS:
    void shuttled(int direction); // -1, 0, 1

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    bool isTyping(const QKeyEvent& key);

    QWidget* window_;
    std::function<bool()> isEnabled_;
    QElapsedTimer sinceTyped_;
};

} // namespace ostrel
