#include "app/controls/folding_header.h"

#include "app/controls/layouts.h"
#include "app/controls/ostrel_style.h"
#include "app/controls/symbols.h"
#include "app/controls/theme.h"

#include <QPainter>

namespace ostrel {

FoldingHeader::FoldingHeader(const QString& title, QProperty<bool>& isOpen, const Helps& helps, QWidget* parent)
    : QAbstractButton(parent), isOpen_(isOpen) {
    setText(title);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    bindings_.bind(isOpen, [this, helps] {
        named(this, text(), isOpen_.value() ? helps.collapse : helps.expand);
        update();
    });
    connect(this, &QAbstractButton::clicked, this, [this] { isOpen_ = !isOpen_.value(); });
}

QSize FoldingHeader::sizeHint() const { return {300, fontMetrics().height() + 10}; }

void FoldingHeader::paintEvent(QPaintEvent*) {
    const Theme& theme = themeOf(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (underMouse()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(theme.hover);
        painter.drawRoundedRect(QRectF(rect()).adjusted(0.75, 0.75, -0.75, -0.75), 5, 5);
    }
    if (hasFocus()) drawFocusRing(painter, rect(), palette());
    const auto* chevron = isOpen_.value() ? u"chevron.down" : u"chevron.right";
    paintSymbol(painter, QString::fromUtf16(chevron), QRectF(5, height() / 2.0 - 7, 14, 14), theme.secondaryText);
    QFont bold = font();
    bold.setWeight(QFont::DemiBold);
    painter.setFont(bold);
    painter.setPen(theme.text);
    painter.drawText(rect().adjusted(25, 0, 0, 0), Qt::AlignVCenter | Qt::AlignLeft, text());
    painter.setFont(font());
    paintSummary(painter, theme);
}

} // namespace ostrel
