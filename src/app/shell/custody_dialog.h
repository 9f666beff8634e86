// A folder is sealed or verified, with its bytes, the time that is left, and a Stop that ends it at once; then what was
// found stands there to be read and copied.
#pragma once

#include "platform/background.h"

#include <QCoro/QCoroTask>
#include <QDialog>
#include <QElapsedTimer>

class QLabel;
class QPlainTextEdit;
class QPushButton;

namespace ostrel {

class ProgressLine;
class TruncatingText;
struct CustodyProgress;
struct CustodyWatch;

class CustodyDialog : public QDialog {
    Q_OBJECT

public:
    enum class Work { seal, verify };

    // Begins at once.
    CustodyDialog(Work work, const QString& folder, QWidget* parent);

    // The end of the program waits for the work behind it, so that is stopped too.
    ~CustodyDialog() override { handle_.cancel(); }

    bool isRunning() const { return isRunning_; }
    QString verdict() const;

    // Stops it; a list is there as a whole or not at all.
    void reject() override;

private:
    struct Found {
        QStringList lines;
        bool isWhole = false;
    };
    QCoro::Task<> run();
    static Found carryOut(Work work, const QString& folder, const CustodyWatch& watch); // off the main thread
    CustodyWatch watch();
    void show(const CustodyProgress& progress);
    void tell(const Found& found);

    const Work work_;
    const QString folder_;
    TaskHandle handle_;
    QElapsedTimer since_;
    bool isRunning_ = true;
    QLabel* verdict_;
    ProgressLine* progress_;
    TruncatingText* step_;
    QPlainTextEdit* lines_;
    QPushButton* stop_;
};

} // namespace ostrel
