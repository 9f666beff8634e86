#include "app/controls/progress_line.h"

#include "app/controls/theme.h"

#include <QPainter>

namespace ostrel {

ProgressLine::ProgressLine(const QString& accessibleName, QWidget* parent) : QWidget(parent), name_(accessibleName) {
    setFixedHeight(4);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAccessibleName(name_);
}

void ProgressLine::setProgress(double progress) {
    if (progress == progress_) return;
    progress_ = progress;
    setAccessibleDescription(progress < 0 ? QString() : QStringLiteral("%1%").arg(static_cast<int>(progress * 100)));
    update();
}

void ProgressLine::paintEvent(QPaintEvent*) {
    if (progress_ < 0) return;
    const Theme& theme = themeOf(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(theme.border);
    painter.drawRoundedRect(rect(), 2, 2);
    painter.setBrush(theme.accent);
    painter.drawRoundedRect(QRectF(0, 0, width() * std::min(progress_, 1.0), height()), 2, 2);
}

} // namespace ostrel
