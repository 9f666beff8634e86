// A page that fills its room and scrolls where the room is lower than what must be seen. (A resizable QScrollArea takes
// the preferred height of wrapped text for the least one, and then scrolls a page that would have fitted.)
#pragma once

#include <QScrollArea>

namespace ostrel {

class ScrolledPage : public QScrollArea {
public:
    explicit ScrolledPage(QLayout* content, QWidget* parent = nullptr);

protected:
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    void fit();
};

} // namespace ostrel
