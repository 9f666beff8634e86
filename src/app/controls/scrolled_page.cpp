#include "app/controls/scrolled_page.h"

#include <QEvent>
#include <QLayout>

namespace ostrel {

ScrolledPage::ScrolledPage(QLayout* content, QWidget* parent) : QScrollArea(parent) {
    auto* page = new QWidget;
    page->setLayout(content);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus);
    setWidget(page);
    page->setAutoFillBackground(false);
    page->installEventFilter(this);
}

void ScrolledPage::resizeEvent(QResizeEvent* event) {
    QScrollArea::resizeEvent(event);
    fit();
}

bool ScrolledPage::eventFilter(QObject* object, QEvent* event) {
    if (object == widget() && event->type() == QEvent::LayoutRequest) fit();
    return QScrollArea::eventFilter(object, event);
}

void ScrolledPage::fit() {
    const QLayout* layout = widget()->layout();
    const int width = viewport()->width();
    const int least =
        layout->hasHeightForWidth() ? layout->totalMinimumHeightForWidth(width) : layout->totalMinimumSize().height();
    widget()->resize(width, std::max(viewport()->height(), least));
}

} // namespace ostrel
