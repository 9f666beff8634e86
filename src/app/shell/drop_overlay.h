// Lies over the window while files hover over it.
#pragma once

#include <QWidget>

namespace ostrel {

class DropOverlay : public QWidget {
    Q_OBJECT

public:
    explicit DropOverlay(QWidget* window);
    void appear(); // over the whole window

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace ostrel
