#include "app/controls/alert_dialog.h"

#include "app/controls/controls.h"
#include "app/controls/layouts.h"
#include "app/controls/symbols.h"

#include <QPainter>
#include <QScrollArea>

namespace ostrel {
namespace {

constexpr int kTextWidth = 64; // characters

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
    text->setFixedWidth(fontMetrics().averageCharWidth() * kTextWidth);

    auto* words = columnLayout(10);
    words->addWidget(title);
    if (!request.text.isEmpty()) words->addWidget(text);
    auto* top = rowLayout(16);
    auto* symbol = new AlertSymbol(request.style);
    top->addWidget(symbol, 0, Qt::AlignTop);
    top->addLayout(words);

    auto* buttons = rowLayout();
    buttons->addStretch();
    const QStringList labels = request.buttons.isEmpty() ? QStringList{QStringLiteral("OK")} : request.buttons;
    const auto addButton = [&](int index) {
        auto* button = pushButton(labels.at(index));
        button->setAutoDefault(index == request.defaultButton);
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
    standard->setDefault(true);
    standard->setFocus();
    auto* layout = columnLayout(20);
    layout->setContentsMargins(22, 22, 22, 18);
    layout->addLayout(top);
    layout->addLayout(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    setLayout(layout);
    setAccessibleName(request.title);
    setAccessibleDescription(request.text);
}

} // namespace ostrel
