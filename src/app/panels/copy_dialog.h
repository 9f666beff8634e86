// New files on their way, one after the other: how far they are, and a way to stop.
#pragma once

#include <QDialog>
#include <QStringList>
#include <atomic>
#include <functional>
#include <memory>

class QLabel;
class QPushButton;

namespace ostrel {

class DesktopServices;
class ProgressLine;

class CopyDialog : public QDialog {
    Q_OBJECT

public:
    // As engines ask: bytes done and to do; false stops.
    using Progress = std::function<bool(quint64 done, quint64 total)>;
    // Makes the file of that index, behind the main thread.
    using Work = std::function<void(qsizetype index, const Progress& progress)>;

    // Begins at once and closes when all is done or stopped. `names`: what each file is made of.
    CopyDialog(const QString& title, const QStringList& names, const Work& work, QWidget* parent);
    ~CopyDialog() override; // stops what still runs

    // A stop: it ends when the running file has come to the end of a block.
    void reject() override;

private:
    QLabel* name_;
    ProgressLine* line_;
    QPushButton* stop_;
    std::shared_ptr<std::atomic<bool>> isStopped_ = std::make_shared<std::atomic<bool>>(false);
};

// Where new files go; empty: the person thought better of it.
QString chosenFolder(DesktopServices& desktop, const QString& message, const QString& prompt);

// Tells where they are, and shows them on request. `done`: "rescued"; `others`: sentences on what was not made.
void tellCopies(DesktopServices& desktop, const QString& done, const QStringList& copies, const QStringList& others);

} // namespace ostrel
