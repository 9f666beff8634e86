// The full log of a tab, opened from its footer. Follows the latest entry; ends itself when it is dismissed.
#pragma once

#include "app/controls/controls.h"
#include "app/panels/activity_feed.h"

#include <QFrame>
#include <QPlainTextEdit>

namespace ostrel {

class LogPopoverView : public QFrame {
    Q_OBJECT

public:
    explicit LogPopoverView(ActivityFeed& feed, QWidget* parent);

    void showAbove(const QWidget& anchor);
    void dismiss();

    QPlainTextEdit& list() { return *list_; }
    QString statusText() const { return status_->text(); }

protected:
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void showAll();
    void appendRows(int first, int last);
    void refreshStatus();

    ActivityFeed& feed_;
    QPlainTextEdit* list_;
    QLabel* status_;
};

} // namespace ostrel
