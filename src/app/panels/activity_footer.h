// The strip at the foot of a tab: state, progress, the latest message, and the way to the whole log.
#pragma once

#include "app/controls/controls.h"
#include "app/panels/activity_feed.h"

#include <QPointer>

namespace ostrel {

class LogPopoverView;

class ActivityFooter : public QWidget {
    Q_OBJECT

public:
    explicit ActivityFooter(ActivityFeed& feed, QWidget* parent = nullptr);

    LogPopoverView* popover() const; // null while it is closed
    void showLogPopover();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    class StateIndicator;
    void refresh();
    void openOutputs();

    ActivityFeed& feed_;
    StateIndicator* state_;
    QLabel* progress_;
    QLabel* left_;
    TruncatingText* message_;
    QPushButton* open_;
    SymbolButton* chevron_;
    QPointer<LogPopoverView> popover_;
};

} // namespace ostrel
