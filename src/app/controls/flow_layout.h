// Puts widgets side by side and goes on in the next line where the width ends.
#pragma once

#include <QLayout>
#include <vector>

namespace ostrel {

class FlowLayout : public QLayout {
public:
    explicit FlowLayout(int spacing);
    ~FlowLayout() override;

    void addItem(QLayoutItem* item) override;
    int count() const override { return static_cast<int>(items_.size()); }
    QLayoutItem* itemAt(int index) const override;
    QLayoutItem* takeAt(int index) override;
    Qt::Orientations expandingDirections() const override { return {}; }
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override { return arrange(QRect(0, 0, width, 0), false); }
    QSize minimumSize() const override;
    QSize sizeHint() const override { return minimumSize(); }
    void setGeometry(const QRect& rect) override;

private:
    int arrange(const QRect& rect, bool apply) const; // the height it takes

    std::vector<QLayoutItem*> items_; // owned, as a QLayout's items are
};

} // namespace ostrel
