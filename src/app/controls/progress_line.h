// How far a job is: a thin line that is always there, so that nothing moves when a job starts.
#pragma once

#include <QWidget>

namespace ostrel {

class ProgressLine : public QWidget {
    Q_OBJECT

public:
    explicit ProgressLine(const QString& accessibleName, QWidget* parent = nullptr);

    // 0 to 1; below 0 for none.
    void setProgress(double progress);
    double progress() const { return progress_; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString name_;
    double progress_ = -1;
};

} // namespace ostrel
