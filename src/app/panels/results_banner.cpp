#include "app/panels/results_banner.h"

#include "app/controls/symbols.h"
#include "app/controls/theme.h"

#include <QPainter>

namespace ostrel {
namespace {

constexpr int kIcon = 16;
constexpr int kGap = 14; // between entries

} // namespace

ResultsBanner::ResultsBanner(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAccessibleName(QStringLiteral("Results"));
}

void ResultsBanner::setResults(const QString& title, const QList<Entry>& entries) {
    title_ = title;
    entries_ = entries;
    setAccessibleName(isEmpty() ? QStringLiteral("Results") : text());
    setToolTip(text());
    updateGeometry();
    update();
}

bool ResultsBanner::hasFailures() const {
    return std::any_of(entries_.begin(), entries_.end(), [](const Entry& entry) {
        return entry.count > 0 && entry.color == ProcessingStatus::Color::red;
    });
}

QString ResultsBanner::text() const {
    QStringList parts;
    if (!title_.isEmpty()) parts << title_;
    for (const Entry& entry : entries_) parts << entry.label + QString::number(entry.count);
    return parts.join(QStringLiteral("  "));
}

QSize ResultsBanner::sizeHint() const {
    int width = kIcon + 8;
    for (const Entry& entry : entries_)
        width += fontMetrics().horizontalAdvance(entry.label + QString::number(entry.count)) + kGap;
    return {width, fontMetrics().height() + 6};
}

void ResultsBanner::paintEvent(QPaintEvent*) {
    if (isEmpty()) return;
    const Theme& theme = themeOf(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor tone = hasFailures() ? theme.red : theme.green;
    const QString symbol =
        hasFailures() ? QStringLiteral("exclamationmark.triangle") : QStringLiteral("checkmark.circle.fill");
    paintSymbol(painter, symbol, QRectF(0, (height() - kIcon) / 2.0, kIcon, kIcon), tone);
    int left = kIcon + 8;
    const auto write = [&](const QString& text, const QColor& color, const QFont& font) {
        painter.setFont(font);
        painter.setPen(color);
        painter.drawText(QRect(left, 0, width() - left, height()), Qt::AlignVCenter | Qt::AlignLeft, text);
        left += QFontMetrics(font).horizontalAdvance(text);
    };
    QFont bold = font();
    bold.setWeight(QFont::DemiBold);
    if (!title_.isEmpty()) {
        write(title_, theme.text, bold);
        left += kGap;
    }
    for (const Entry& entry : entries_) {
        write(entry.label, theme.secondaryText, font());
        write(QString::number(entry.count), entry.count > 0 ? theme.tone(entry.color) : theme.secondaryText, bold);
        left += kGap;
    }
}

} // namespace ostrel
