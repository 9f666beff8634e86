#include "app/panels/first_steps.h"

#include "app/controls/controls.h"
#include "app/controls/layouts.h"
#include "app/controls/symbols.h"

#include <QEvent>
#include <QPainter>

namespace ostrel {

// A symbol in a disc, as large as the room allows.
class StepPicture : public QWidget {
public:
    StepPicture() { setSize(kLeast); }
    void setSymbol(const QString& symbol) {
        symbol_ = symbol;
        update();
    }
    void setSize(int size) { setFixedSize(size, size); }

    static constexpr int kLeast = 34;
    static constexpr int kMost = 64;

protected:
    void paintEvent(QPaintEvent*) override {
        const Theme& theme = themeOf(palette());
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(theme.badgeFill(theme.accentText));
        painter.drawEllipse(rect());
        const double inset = width() * 0.25;
        paintSymbol(painter, symbol_, QRectF(rect()).adjusted(inset, inset, -inset, -inset), theme.accentText);
    }

private:
    QString symbol_;
};

FirstSteps::FirstSteps(QWidget& host, const Texts& texts)
    : QWidget(&host), sentence_(new QLabel),
      demo_(pushButton(QStringLiteral("Try it with demo recordings"), QString(),
                       QStringLiteral("Makes a few small recordings in a folder of your own and selects them"))) {
    setAccessibleName(QStringLiteral("First steps"));
    sentence_->setWordWrap(true);
    sentence_->setAlignment(Qt::AlignCenter);
    scaleFont(*sentence_, 1.08, QFont::DemiBold);
    auto* steps = rowLayout(20);
    steps->addStretch(1);
    for (std::size_t step = 0; step < words_.size(); ++step) {
        pictures_[step] = new StepPicture;
        words_[step] = new QLabel;
        words_[step]->setWordWrap(true);
        words_[step]->setMaximumWidth(fontMetrics().averageCharWidth() * 26);
        auto* one = rowLayout(10);
        one->addWidget(pictures_[step]);
        one->addWidget(words_[step], 1);
        steps->addLayout(one, 6);
    }
    steps->addStretch(1);
    auto* column = columnLayout(8);
    column->setContentsMargins(12, 8, 12, 8);
    column->addStretch();
    column->addWidget(sentence_);
    column->addLayout(steps);
    column->addWidget(demo_, 0, Qt::AlignCenter);
    column->addStretch();
    setLayout(column);
    setTexts(texts);
    connect(demo_, &QPushButton::clicked, this, &FirstSteps::demoRequested);
    host.installEventFilter(this);
    fit();
    putBehind(host, *demo_);
}

void FirstSteps::setTexts(const Texts& texts) {
    sentence_->setText(texts.sentence);
    for (std::size_t step = 0; step < words_.size(); ++step) {
        pictures_[step]->setSymbol(texts.steps[step].symbol);
        words_[step]->setText(texts.steps[step].text);
    }
    setAccessibleDescription(texts.sentence);
}

void FirstSteps::fit() {
    setGeometry(parentWidget()->rect());
    const int room = height() - sentence_->sizeHint().height() - demo_->sizeHint().height() - 40;
    for (StepPicture* picture : pictures_) picture->setSize(std::clamp(room, StepPicture::kLeast, StepPicture::kMost));
    raise();
}

bool FirstSteps::eventFilter(QObject* object, QEvent* event) {
    if (object == parentWidget() && event->type() == QEvent::Resize) fit();
    return QWidget::eventFilter(object, event);
}

// Covers what is empty beneath.
void FirstSteps::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setPen(themeOf(palette()).border);
    painter.setBrush(palette().base());
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

} // namespace ostrel
