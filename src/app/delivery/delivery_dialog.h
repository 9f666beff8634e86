// What the dialogs over a selection of recordings have in common: a line that says what was found, progress, a Stop
// that becomes Close, and work off the main thread that ends with the dialog.
#pragma once

#include "delivery/check_run.h"
#include "platform/background.h"

#include <QDialog>

class QLabel;
class QHBoxLayout;
class QPushButton;
class QVBoxLayout;

namespace ostrel {

class DesktopServices;
class ProgressLine;
class TruncatingText;

class DeliveryDialog : public QDialog {
    Q_OBJECT

public:
    ~DeliveryDialog() override { handle_.cancel(); }

    bool isRunning() const { return isRunning_; }
    QString verdict() const;
    // While something runs: stops it.
    void reject() override;

Q_SIGNALS:
    void runningChanged(bool isRunning);

protected:
    DeliveryDialog(const QString& title, DesktopServices& desktop, QWidget* parent);

    // A new piece of work, which asks and tells the watch from its own thread.
    DeliveryWatch begin(const QString& text);
    void end(const QString& verdict);
    bool wasStopped() const { return handle_.isCancelled(); }

    // Puts it all together: what the dialog shows between the verdict and the buttons.
    void compose(const QList<QPushButton*>& actions, QLayout& content);
    // Writes in the background; an error is an alert. `ending` as in "csv": a slip of the hand must not cost a
    // recording.
    void saveText(const QString& message, const QString& suggestedName, const QString& ending,
                  const std::function<QString()>& text);

    DesktopServices& desktop_;

private:
    void show(int done, int total, const QString& file);

    TaskHandle handle_;
    bool isRunning_ = false;
    QLabel* verdict_;
    ProgressLine* progress_;
    TruncatingText* step_;
    QPushButton* close_;
};

// The WAV files of a selection of files and folders. Blocks on the disk; for any thread.
QStringList recordingsOf(const QStringList& selection);

} // namespace ostrel
