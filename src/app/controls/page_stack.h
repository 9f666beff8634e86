// Several pages in one place, one of them shown. Unlike a QStackedWidget it is only as high as the page that is shown.
#pragma once

#include "app/controls/layouts.h"

#include <vector>

namespace ostrel {

class PageStack : public QWidget {
    Q_OBJECT

public:
    explicit PageStack(QWidget* parent = nullptr);

    void addPage(QWidget* page);
    int current() const { return current_; }
    void setCurrent(int index);
    QWidget* currentPage() const { return pages_[static_cast<std::size_t>(current_)]; }

private:
    std::vector<QWidget*> pages_;
    int current_ = 0;
};

} // namespace ostrel
