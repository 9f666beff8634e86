#include "app/validator/classification_badge.h"

#include "app/controls/layouts.h"
#include "app/controls/ostrel_style.h"
#include "app/controls/symbols.h"
#include "app/controls/theme.h"

#include <QPainter>
#include <array>

namespace ostrel {
namespace {

using Color = ProcessingStatus::Color;

struct Look {
    const char16_t* label;
    const char16_t* symbol;
    Color color;
};

// In the order of the enumeration.
constexpr std::array<Look, 10> kLooks{{
    {u"Dual Mono", u"doc.on.doc", Color::blue},
    {u"Dual Mono", u"doc.on.doc", Color::purple},
    {u"Near Mono", u"exclamationmark.circle", Color::yellow},
    {u"True Stereo", u"checkmark.circle.fill", Color::green},
    {u"Broken", u"xmark.circle.fill", Color::red},
    {u"One-Sided", u"circle.lefthalf.filled", Color::orange},
    {u"One-Sided", u"circle.righthalf.filled", Color::orange},
    {u"Silent", u"minus.circle", Color::secondary},
    {u"True Mono", u"circle", Color::cyan},
    {u"Unsupported", u"exclamationmark.triangle", Color::secondary},
}};

} // namespace

Badge badgeOf(StereoClassification classification) {
    const Look& look = kLooks[static_cast<std::size_t>(classification)];
    return {QString::fromUtf16(look.symbol), QString::fromUtf16(look.label), look.color};
}

Badge badgeOf(Trust trust) {
    switch (trust) {
    case Trust::sure: return {QStringLiteral("checkmark.circle.fill"), displayName(trust), Color::green};
    case Trust::likely: return {QStringLiteral("exclamationmark.circle"), displayName(trust), Color::yellow};
    case Trust::unsure: break;
    }
    return {QStringLiteral("exclamationmark.triangle"), displayName(trust), Color::orange};
}

ClassificationBadge::ClassificationBadge(StereoClassification classification, int count, QWidget* parent)
    : QAbstractButton(parent), classification_(classification), count_(count) {
    setCheckable(true);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
    setText(QStringLiteral("%1 %2").arg(count).arg(badgeOf(classification).word));
    named(this, QStringLiteral("%1 %2").arg(count).arg(displayName(classification)),
          QStringLiteral("Show only: ") + displayName(classification));
}

QSize ClassificationBadge::sizeHint() const {
    QFont bold = font();
    bold.setWeight(QFont::DemiBold);
    const QString count = QString::number(count_);
    return {14 + 6 + QFontMetrics(bold).horizontalAdvance(count) + 5 +
                fontMetrics().horizontalAdvance(badgeOf(classification_).word) + 22,
            fontMetrics().height() + 9};
}

void ClassificationBadge::paintEvent(QPaintEvent*) {
    const Theme& theme = themeOf(palette());
    const Badge badge = badgeOf(classification_);
    const QColor tone = theme.tone(badge.color);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(isChecked() ? tone : theme.border, isChecked() ? 1.75 : 1));
    painter.setBrush(isChecked() ? theme.badgeFill(tone) : underMouse() ? theme.hover : theme.raised);
    const double radius = (height() - 2) / 2.0;
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), radius, radius);
    if (hasFocus()) drawFocusRing(painter, rect(), palette(), radius);
    paintSymbol(painter, badge.symbol, QRectF(10, height() / 2.0 - 7, 14, 14), tone);
    QFont bold = font();
    bold.setWeight(QFont::DemiBold);
    painter.setFont(bold);
    painter.setPen(theme.text);
    const QString count = QString::number(count_);
    painter.drawText(QRect(30, 0, width(), height()), Qt::AlignVCenter | Qt::AlignLeft, count);
    const int left = 30 + QFontMetrics(bold).horizontalAdvance(count) + 5;
    painter.setFont(font());
    painter.drawText(QRect(left, 0, width() - left, height()), Qt::AlignVCenter | Qt::AlignLeft, badge.word);
}

} // namespace ostrel
