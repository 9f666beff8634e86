#include "app/panels/activity_footer.h"

#include "app/controls/bindings.h"
#include "app/controls/layouts.h"
#include "app/panels/log_popover_view.h"
#include "platform/paths.h"

#include <QPainter>
#include <cmath>

namespace ostrel {

QString displayText(ActivityState state) {
    switch (state) {
    case ActivityState::ready: return QStringLiteral("Ready");
    case ActivityState::scanning: return QStringLiteral("Scanning");
    case ActivityState::running: return QStringLiteral("Running");
    case ActivityState::done: return QStringLiteral("Done");
    case ActivityState::error: break;
    }
    return QStringLiteral("Error");
}

ProcessingStatus::Color colorOf(ActivityState state) {
    using Color = ProcessingStatus::Color;
    switch (state) {
    case ActivityState::ready: return Color::secondary;
    case ActivityState::scanning: return Color::blue;
    case ActivityState::running: return Color::purple;
    case ActivityState::done: return Color::green;
    case ActivityState::error: break;
    }
    return Color::red;
}

QString timeLeftText(qint64 elapsed, double share) {
    if (elapsed < 5000 || share < 0.02 || share >= 1) return {};
    const double seconds = static_cast<double>(elapsed) / 1000 * (1 - share) / share;
    if (seconds < 60) return QStringLiteral("%1 s left").arg(static_cast<int>(std::ceil(seconds / 5)) * 5);
    if (seconds < 3600) return QStringLiteral("%1 min left").arg(static_cast<int>(std::ceil(seconds / 60)));
    return QStringLiteral("%1 h left").arg(seconds / 3600, 0, 'f', 1);
}

class ActivityFooter::StateIndicator : public QWidget {
public:
    StateIndicator() { setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed); }

    void setState(ActivityState state) {
        state_ = state;
        setAccessibleName(displayText(state));
        update();
    }
    // As wide as the longest word, so that the message beside it never moves.
    QSize sizeHint() const override {
        return {fontMetrics().horizontalAdvance(displayText(ActivityState::scanning)) + 20, fontMetrics().height()};
    }

protected:
    void paintEvent(QPaintEvent*) override {
        const Theme& theme = themeOf(palette());
        const QColor tone = theme.tone(colorOf(state_));
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(tone);
        painter.drawEllipse(QRectF(0.5, (height() - 8) / 2.0, 8, 8));
        painter.setPen(tone);
        painter.drawText(rect().adjusted(15, 0, 5, 0), Qt::AlignVCenter | Qt::AlignLeft, displayText(state_));
    }

private:
    ActivityState state_ = ActivityState::ready;
};

ActivityFooter::ActivityFooter(ActivityFeed& feed, QWidget* parent)
    : QWidget(parent), feed_(feed), state_(new StateIndicator), progress_(new SecondaryLabel),
      left_(new SecondaryLabel), message_(new TruncatingText(Qt::ElideRight)),
      open_(pushButton(QStringLiteral("Open Output Folder"), QString(),
                       QStringLiteral("Open the folder that the last run wrote into"))),
      chevron_(new SymbolButton(QStringLiteral("chevron.up"), QStringLiteral("View full activity log"),
                                QStringLiteral("View full activity log"))) {
    setAccessibleName(QStringLiteral("Activity"));
    progress_->setFixedWidth(fontMetrics().horizontalAdvance(QStringLiteral("100%")) + 4);
    progress_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    progress_->setAccessibleName(QStringLiteral("Progress"));
    auto* row = rowLayout(10);
    row->setContentsMargins(kMargin, 3, kMargin - 4, 3);
    row->addWidget(state_);
    row->addWidget(progress_);
    row->addWidget(message_, 1);
    row->addWidget(left_);
    row->addWidget(open_);
    row->addWidget(chevron_);
    setLayout(row);
    open_->hide();
    connect(open_, &QPushButton::clicked, this, &ActivityFooter::openOutputs);
    connect(chevron_, &QToolButton::clicked, this, &ActivityFooter::showLogPopover);
    auto* refreshSoon = new Coalesced(this, [this] { refresh(); });
    refreshSoon->follow(feed.logEntries);
    connect(&feed, &ActivityFeed::changed, refreshSoon, &Coalesced::request);
    refresh();
}

void ActivityFooter::refresh() {
    state_->setState(feed_.state());
    const bool isBusy = feed_.state() == ActivityState::running || feed_.state() == ActivityState::scanning;
    const bool hasProgress = feed_.state() == ActivityState::running;
    open_->setVisible(!isBusy && feed_.openFolder && feed_.outputs && !feed_.outputs().isEmpty());
    progress_->setText(isBusy && hasProgress ? QStringLiteral("%1%").arg(static_cast<int>(feed_.progress() * 100))
                                             : QString());
    left_->setText(feed_.timeLeft());
    if (feed_.logEntries.empty()) {
        message_->setText(QStringLiteral("No activity"), true);
    } else {
        message_->setText(feed_.logEntries.rows().back().message);
    }
}

// The folder that holds all that the run made.
void ActivityFooter::openOutputs() {
    const QStringList outputs = feed_.outputs();
    if (outputs.isEmpty()) return;
    QString folder = paths::parent(outputs.first());
    for (const QString& output : outputs) {
        while (folder.size() > 1 && !output.startsWith(folder + u'/')) folder = paths::parent(folder);
    }
    feed_.openFolder(folder);
}

LogPopoverView* ActivityFooter::popover() const { return popover_; }

void ActivityFooter::showLogPopover() {
    if (popover_) return popover_->dismiss();
    popover_ = new LogPopoverView(feed_, window());
    popover_->showAbove(*chevron_);
}

void ActivityFooter::paintEvent(QPaintEvent*) {
    const Theme& theme = themeOf(palette());
    QPainter painter(this);
    painter.fillRect(rect(), theme.raised);
    painter.fillRect(QRect(0, 0, width(), 1), theme.border);
}

} // namespace ostrel
