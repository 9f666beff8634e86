// A row that folds what stands under it: a chevron, a title, and at the right what the hidden part comes to.
#pragma once

#include "app/controls/bindings.h"

#include <QAbstractButton>

namespace ostrel {

struct Theme;

class FoldingHeader : public QAbstractButton {
    Q_OBJECT

public:
    struct Helps {
        QString collapse;
        QString expand;
    };
    FoldingHeader(const QString& title, QProperty<bool>& isOpen, const Helps& helps, QWidget* parent = nullptr);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    virtual void paintSummary(QPainter& /*painter*/, const Theme& /*theme*/) {}

private:
    QProperty<bool>& isOpen_;
    Bindings bindings_;
};

} // namespace ostrel
