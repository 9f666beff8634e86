#include "app/controls/alert_dialog.h"

#include "app/controls/controls.h"
#include "app/controls/layouts.h"
#include "app/controls/ostrel_style.h"
#include "app/controls/symbols.h"

#include <QPainter>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>

namespace ostrel {
namespace {

constexpr int kTextWidth = 64;   // characters
constexpr int kAroundText = 210; // pixels that title, buttons, margins and the window's frame take

class AlertSymbol : public QWidget {
public:
    explicit AlertSymbol(AlertRequest::Style style) : style_(style) { setFixedSize(36, 36); }

protected:
    void paintEvent(QPaintEvent*) override {
        const Theme& theme = themeOf(palette());
        QPainter painter(this);
        switch (style_) {
        case AlertRequest::Style::informational:
            return paintSymbol(painter, QStringLiteral("info.circle.fill"), rect(), theme.blue);
        case AlertRequest::Style::warning:
            return paintSymbol(painter, QStringLiteral("exclamationmark.triangle"), rect(), theme.orange);
        case AlertRequest::Style::critical:
            return paintSymbol(painter, QStringLiteral("exclamationmark.triangle"), rect(), theme.red);
        }
    }

private:
    AlertRequest::Style style_;
};

// The text itself, or, where the screen has not the height for it, a page that scrolls.
QWidget* withinScreen(QLabel* text, const QScreen& screen) {
    const int room = screen.availableGeometry().height() - kAroundText;
    const int height = text->heightForWidth(text->width());
    if (height <= room) return text;
    auto* page = new QScrollArea;
    page->setFrameShape(QFrame::NoFrame);
    page->setWidget(text);
    page->setAccessibleName(QStringLiteral("Text"));
    page->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    text->resize(text->width(), height);
    page->setFixedSize(text->width() + page->verticalScrollBar()->sizeHint().width(), room);
    return page;
}

} // namespace

AlertDialog::AlertDialog(const AlertRequest& request, QWidget* parent)
    : QDialog(parent), choice_(std::max(0, static_cast<int>(request.buttons.size()) - 1)) {
    setWindowTitle(request.title);
    setModal(true);
    auto* title = new QLabel(request.title);
    scaleFont(*title, 1.2, QFont::DemiBold);
    title->setWordWrap(true);
    auto* text = new QLabel(request.text);
    text->setWordWrap(true);
    text->setTextFormat(Qt::PlainText);
    text->setTextInteractionFlags(Qt::TextSelectableByMouse);
    const int widest = (parent ? parent->screen() : screen())->availableGeometry().width() * 4 / 5;
    text->setFixedWidth(std::min(fontMetrics().averageCharWidth() * kTextWidth, widest));

    auto* words = columnLayout(10);
    words->addWidget(title);
    if (!request.text.isEmpty()) words->addWidget(withinScreen(text, *(parent ? parent->screen() : screen())));
    auto* top = rowLayout(16);
    auto* symbol = new AlertSymbol(request.style);
    top->addWidget(symbol, 0, Qt::AlignTop);
    top->addLayout(words);

    auto* buttons = rowLayout();
    buttons->addStretch();
    const QStringList labels = request.buttons.isEmpty() ? QStringList{QStringLiteral("OK")} : request.buttons;
    const auto addButton = [&](int index) {
        auto* button = pushButton(labels.at(index));
        if (index == request.destructiveButton) makeDestructive(*button);
        connect(button, &QPushButton::clicked, this, [this, index] {
            choice_ = index;
            accept();
        });
        buttons->addWidget(button);
        return button;
    };
    for (int index = static_cast<int>(labels.size()) - 1; index >= 0; --index) {
        if (index != request.defaultButton) addButton(index);
    }
    // The default stands outermost, where the pointer and the eye end.
    QPushButton* standard = addButton(request.defaultButton);
    standard->setFocus();
    auto* layout = columnLayout(20);
    layout->setContentsMargins(22, 22, 22, 18);
    layout->addLayout(top);
    layout->addLayout(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    setLayout(layout);
    setDefaultButton(*this, *standard);
    setAccessibleName(request.title);
    setAccessibleDescription(request.text);
}

} // namespace ostrel
