#include "app/controls/controls.h"

#include "app/controls/layouts.h"
#include "app/controls/ostrel_style.h"
#include "app/controls/symbols.h"

#include <QButtonGroup>
#include <QDialog>
#include <QEvent>
#include <QPainter>
#include <QStyleOptionButton>
#include <QStylePainter>

namespace ostrel {
namespace {

constexpr double kPanelRadius = 8;

// The name of a custom-painted view, told to assistive technology when it changes.
void setSpokenText(QWidget& widget, const QString& text) {
    if (widget.accessibleName() != text) widget.setAccessibleName(text);
}

void setTextColor(QLabel& label, const QColor& color) {
    QPalette palette = label.palette();
    if (palette.color(QPalette::Active, QPalette::WindowText) == color) return;
    palette.setColor(QPalette::Active, QPalette::WindowText, color);
    palette.setColor(QPalette::Inactive, QPalette::WindowText, color);
    label.setPalette(palette);
}

bool changesColors(const QEvent& event) {
    return event.type() == QEvent::PaletteChange || event.type() == QEvent::ApplicationPaletteChange;
}

class Segment : public QAbstractButton {
public:
    Segment(const QString& text, const QString& symbol, bool isLarge, QWidget* parent)
        : QAbstractButton(parent), symbol_(symbol), isLarge_(isLarge) {
        setText(text);
        setCheckable(true);
        setAccessibleName(text);
        setFocusPolicy(Qt::StrongFocus);
        setAttribute(Qt::WA_Hover);
        setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    }

    QSize sizeHint() const override {
        QFont bold = font();
        bold.setWeight(QFont::DemiBold); // the widest that it gets: choosing must move nothing
        const QFontMetrics metrics(bold);
        const int icon = symbol_.isEmpty() ? 0 : kIcon + 7;
        const int padding = isLarge_ ? 16 : 12;
        return {metrics.horizontalAdvance(text()) + icon + 2 * padding, metrics.height() + (isLarge_ ? 14 : 8)};
    }

protected:
    void paintEvent(QPaintEvent*) override {
        const Theme& theme = themeOf(palette());
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const QRectF box = QRectF(rect()).adjusted(2.5, 2.5, -2.5, -2.5);
        if (isChecked()) {
            painter.setPen(theme.border);
            painter.setBrush(isDark(palette()) ? theme.pressed : theme.raised);
            painter.drawRoundedRect(box, 5, 5);
        } else if (underMouse() && isEnabled()) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(theme.hover);
            painter.drawRoundedRect(box, 5, 5);
        }
        if (hasFocus()) drawFocusRing(painter, box.adjusted(-1, -1, 1, 1), palette());
        paintContent(painter, theme);
    }

private:
    static constexpr int kIcon = 16;

    void paintContent(QPainter& painter, const Theme& theme) const {
        QFont font = this->font();
        if (isChecked()) font.setWeight(QFont::DemiBold);
        painter.setFont(font);
        const QColor color = !isEnabled() ? theme.disabledText : isChecked() ? theme.text : theme.secondaryText;
        const int textWidth = QFontMetrics(font).horizontalAdvance(text());
        const int iconWidth = symbol_.isEmpty() ? 0 : kIcon + 7;
        double left = (width() - textWidth - iconWidth) / 2.0;
        if (!symbol_.isEmpty()) {
            const QColor tint = isChecked() && isEnabled() ? theme.accentText : color;
            paintSymbol(painter, symbol_, QRectF(left, (height() - kIcon) / 2.0, kIcon, kIcon), tint);
            left += iconWidth;
        }
        painter.setPen(color);
        painter.drawText(QRectF(left, 0, textWidth + 2, height()), Qt::AlignVCenter | Qt::AlignLeft, text());
    }

    QString symbol_;
    bool isLarge_;
};

} // namespace

SecondaryLabel::SecondaryLabel(const QString& text, QWidget* parent) : QLabel(text, parent) { applyColor(); }

void SecondaryLabel::changeEvent(QEvent* event) {
    QLabel::changeEvent(event);
    if (changesColors(*event)) applyColor();
}

void SecondaryLabel::applyColor() { setTextColor(*this, themeOf(palette()).secondaryText); }

ToneLabel::ToneLabel(const QString& text, ProcessingStatus::Color tone, QWidget* parent)
    : QLabel(text, parent), tone_(tone) {
    setWordWrap(true);
    applyColor();
}

void ToneLabel::changeEvent(QEvent* event) {
    QLabel::changeEvent(event);
    if (changesColors(*event)) applyColor();
}

void ToneLabel::applyColor() { setTextColor(*this, themeOf(palette()).tone(tone_)); }

TruncatingText::TruncatingText(Qt::TextElideMode mode, QWidget* parent) : QWidget(parent), mode_(mode) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void TruncatingText::setText(const QString& text, bool isHint) {
    if (text == text_ && isHint == isHint_) return;
    text_ = text;
    isHint_ = isHint;
    setToolTip(isHint ? QString() : text);
    setSpokenText(*this, text);
    update();
}

QSize TruncatingText::sizeHint() const { return {fontMetrics().horizontalAdvance(text_) + 2, fontMetrics().height()}; }

QSize TruncatingText::minimumSizeHint() const { return {40, fontMetrics().height()}; }

void TruncatingText::paintEvent(QPaintEvent*) {
    const Theme& theme = themeOf(palette());
    QPainter painter(this);
    painter.setPen(!isEnabled() ? theme.disabledText : isHint_ ? theme.secondaryText : theme.text);
    painter.drawText(rect(), Qt::AlignVCenter | Qt::AlignLeft, fontMetrics().elidedText(text_, mode_, width()));
}

ToolStatusIndicator::ToolStatusIndicator(const QString& name, QWidget* parent) : QWidget(parent), name_(name) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAvailable(false);
}

void ToolStatusIndicator::setAvailable(bool isAvailable) {
    isAvailable_ = isAvailable;
    setHelp(isAvailable ? name_ + QStringLiteral(" is available") : name_ + QStringLiteral(" not found"));
    update();
}

void ToolStatusIndicator::setHelp(const QString& help) {
    setToolTip(help);
    setSpokenText(*this, help);
}

QSize ToolStatusIndicator::sizeHint() const {
    return {fontMetrics().horizontalAdvance(name_) + 18, fontMetrics().height() + 4};
}

void ToolStatusIndicator::paintEvent(QPaintEvent*) {
    const Theme& theme = themeOf(palette());
    const QColor light = isAvailable_ ? theme.green : theme.red;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF dot(1.5, (height() - 9) / 2.0, 9, 9);
    // Told by shape too: a full light, or a ring with a cross.
    if (isAvailable_) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(light);
        painter.drawEllipse(dot);
    } else {
        paintSymbol(painter, QStringLiteral("xmark.circle.fill"), dot.adjusted(-2, -2, 2, 2), light);
    }
    painter.setPen(isAvailable_ ? theme.secondaryText : theme.red);
    painter.drawText(rect().adjusted(17, 0, 4, 0), Qt::AlignVCenter | Qt::AlignLeft, name_);
}

WarningBanner::WarningBanner(const QString& text, const QString& button, QWidget* parent) : QFrame(parent) {
    auto* layout = rowLayout(10);
    layout->setContentsMargins(40, 10, 14, 10);
    auto* label = new QLabel(text);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    label->setAccessibleName(text);
    layout->addWidget(label, 1);
    if (!button.isEmpty()) {
        QPushButton* push = pushButton(button);
        connect(push, &QPushButton::clicked, this, &WarningBanner::pressed);
        layout->addWidget(push, 0, Qt::AlignVCenter);
    }
    setLayout(layout);
    setAccessibleName(text);
}

void WarningBanner::paintEvent(QPaintEvent*) {
    const Theme& theme = themeOf(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(theme.orange);
    painter.setBrush(theme.badgeFill(theme.orange));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), kPanelRadius, kPanelRadius);
    paintSymbol(painter, QStringLiteral("exclamationmark.triangle"), QRectF(12, 10, 18, 18), theme.orange);
}

OptionSection::OptionSection(const QString& title, QWidget* parent) : QWidget(parent) {
    auto* layout = columnLayout(5);
    layout->setAlignment(Qt::AlignTop);
    layout->addWidget(boldLabel(title));
    setLayout(layout);
    setAccessibleName(title);
}

void OptionSection::add(QWidget* widget) { layout()->addWidget(widget); }

OptionDivider::OptionDivider(QWidget* parent) : QFrame(parent) {
    setFixedWidth(1);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
}

void OptionDivider::paintEvent(QPaintEvent*) { QPainter(this).fillRect(rect(), themeOf(palette()).border); }

StatusCounter::StatusCounter(const QString& word, ProcessingStatus::Color color, QWidget* parent)
    : QWidget(parent), word_(word), color_(color) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAccessibleName(QStringLiteral("0 ") + word);
}

void StatusCounter::setCount(int count) {
    if (count == count_) return;
    count_ = count;
    setSpokenText(*this, QStringLiteral("%1 %2").arg(count).arg(word_));
    updateGeometry();
    update();
}

QSize StatusCounter::sizeHint() const {
    // Room for four digits at all times, so that counting moves nothing.
    const QString number = QString::number(std::max(count_, 8888));
    return {fontMetrics().horizontalAdvance(number + u' ' + word_) + 16, fontMetrics().height() + 6};
}

void StatusCounter::paintEvent(QPaintEvent*) {
    const Theme& theme = themeOf(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor tone = count_ > 0 ? theme.tone(color_) : theme.secondaryText;
    painter.setPen(tone);
    painter.drawText(rect(), Qt::AlignCenter, QStringLiteral("%1 %2").arg(count_).arg(word_));
}

Card::Card(QWidget* parent) : QFrame(parent) {}

void Card::paintEvent(QPaintEvent*) {
    const Theme& theme = themeOf(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(theme.border);
    painter.setBrush(theme.raised);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), kPanelRadius, kPanelRadius);
}

SegmentedControl::SegmentedControl(const QString& accessibleName, Size size, QWidget* parent)
    : QWidget(parent), group_(new QButtonGroup(this)), layout_(rowLayout(0)), size_(size) {
    setAccessibleName(accessibleName);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    layout_->setContentsMargins(1, 1, 1, 1);
    setLayout(layout_);
    connect(group_, &QButtonGroup::idClicked, this, &SegmentedControl::chosen);
}

void SegmentedControl::addSegment(const QString& text, const QString& symbol, const QString& help) {
    auto* button = new Segment(text, symbol, size_ == Size::large, this);
    if (!help.isEmpty()) named(button, text, help);
    // Behind the one before it, or, when the choices are made anew, where the control has its place.
    const int last = count() - 1;
    putBehind(last < 0 ? static_cast<QWidget&>(*this) : *group_->button(last), *button);
    group_->addButton(button, count());
    layout_->addWidget(button);
    if (count() == 1) button->setChecked(true);
}

void SegmentedControl::clear() {
    const auto buttons = group_->buttons();
    for (QAbstractButton* button : buttons) {
        group_->removeButton(button);
        layout_->removeWidget(button);
        button->hide();
        button->deleteLater();
    }
}

int SegmentedControl::count() const { return static_cast<int>(group_->buttons().size()); }

int SegmentedControl::current() const { return group_->checkedId(); }

void SegmentedControl::setCurrent(int index) {
    if (QAbstractButton* button = group_->button(index)) {
        button->setChecked(true);
    } else if (QAbstractButton* checked = group_->checkedButton()) {
        group_->setExclusive(false);
        checked->setChecked(false);
        group_->setExclusive(true);
    }
}

QAbstractButton* SegmentedControl::segment(int index) const { return group_->button(index); }

void SegmentedControl::paintEvent(QPaintEvent*) {
    const Theme& theme = themeOf(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(theme.border);
    painter.setBrush(isDark(palette()) ? theme.base : theme.hover);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 7, 7);
}

SymbolButton::SymbolButton(const QString& symbol, const QString& name, const QString& help, QWidget* parent)
    : QToolButton(parent) {
    setAutoRaise(true);
    setFocusPolicy(Qt::StrongFocus);
    setSymbol(symbol);
    named(this, name, help);
}

void SymbolButton::setSymbol(const QString& symbol) { setIcon(symbolIcon(symbol)); }

void putBehind(QWidget& anchor, QWidget& widget) {
    QWidget* before = &anchor;
    while (before->focusPolicy() == Qt::NoFocus) {
        before = before->previousInFocusChain();
        if (before == &anchor) return; // there is nothing else yet
    }
    QWidget::setTabOrder(before, &widget);
}

void setDefaultButton(QDialog& dialog, QPushButton& standard) {
    const auto buttons = dialog.findChildren<QPushButton*>();
    for (QPushButton* button : buttons) button->setAutoDefault(true);
    standard.setDefault(true);
}

QPushButton* pushButton(const QString& text, const QString& symbol, const QString& help) {
    auto* button = new QPushButton(text);
    if (!symbol.isEmpty()) button->setIcon(symbolIcon(symbol));
    button->setAutoDefault(false);
    return named(button, text, help);
}

} // namespace ostrel
