#include "app/controls/page_stack.h"

namespace ostrel {

PageStack::PageStack(QWidget* parent) : QWidget(parent) { setLayout(columnLayout(0)); }

void PageStack::addPage(QWidget* page) {
    page->setVisible(pages_.empty());
    pages_.push_back(page);
    layout()->addWidget(page);
}

void PageStack::setCurrent(int index) {
    if (index == current_) return;
    // A moment with both would ask for the room of both.
    currentPage()->hide();
    current_ = index;
    currentPage()->show();
}

} // namespace ostrel
