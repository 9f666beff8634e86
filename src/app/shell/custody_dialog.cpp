#include "app/shell/custody_dialog.h"

#include "app/controls/controls.h"
#include "app/controls/layouts.h"
#include "app/controls/progress_line.h"
#include "custody/custody_words.h"
#include "platform/paths.h"

#include <QPlainTextEdit>
#include <QPushButton>

namespace ostrel {

CustodyDialog::CustodyDialog(Work work, const QString& folder, QWidget* parent)
    : QDialog(parent), work_(work), folder_(folder), verdict_(boldLabel()),
      progress_(new ProgressLine(QStringLiteral("Progress"))), step_(new TruncatingText(Qt::ElideMiddle)),
      lines_(named(new QPlainTextEdit, QStringLiteral("What was found"))), stop_(nullptr) {
    const QString name = paths::lastComponent(folder);
    setWindowTitle((work == Work::seal ? QStringLiteral("Seal %1") : QStringLiteral("Verify %1")).arg(name));
    verdict_->setText(work == Work::seal ? QStringLiteral("Sealing...") : QStringLiteral("Verifying..."));
    lines_->setReadOnly(true);
    stop_ = pushButton(QStringLiteral("Stop"));
    connect(stop_, &QPushButton::clicked, this, &QDialog::reject);
    auto* buttons = rowLayout();
    buttons->addStretch();
    buttons->addWidget(stop_);
    auto* column = columnLayout();
    column->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    column->addWidget(verdict_);
    column->addWidget(progress_);
    column->addWidget(step_);
    column->addWidget(lines_, 1);
    column->addLayout(buttons);
    setLayout(column);
    resize(640, 380);
    since_.start();
    run();
}

QString CustodyDialog::verdict() const { return verdict_->text(); }

void CustodyDialog::reject() {
    if (!isRunning_) return QDialog::reject();
    handle_.cancel();
    stop_->setEnabled(false);
    step_->setText(QStringLiteral("Stopping..."));
}

QCoro::Task<> CustodyDialog::run() {
    const auto work = [work = work_, folder = folder_, watch = watch()] { return carryOut(work, folder, watch); };
    Found found;
    try {
        found = co_await inBackground(this, work);
    } catch (const StoppedError&) {
        found.lines = {QStringLiteral("Stopped")};
    } catch (const FileError& error) {
        found.lines = error.description.split(u'\n');
    } catch (const std::exception& error) {
        found.lines = {QString::fromUtf8(error.what())};
    }
    tell(found);
}

CustodyWatch CustodyDialog::watch() {
    const auto follow = [hop = MainThreadHop(this), this](const CustodyProgress& state) {
        hop([this, state] { show(state); }); // not once the dialog is gone
    };
    return {follow, [handle = handle_] { return handle.isCancelled(); }, 0};
}

CustodyDialog::Found CustodyDialog::carryOut(Work work, const QString& folder, const CustodyWatch& watch) {
    if (work == Work::seal) {
        const SealResult result = sealFolder(folder, {}, watch);
        return {linesOf(result), result.isWhole()};
    }
    const VerifyResult result = verifyFolder(folder, {}, watch);
    return {linesOf(result), result.isWhole()};
}

void CustodyDialog::show(const CustodyProgress& progress) {
    if (!isRunning_ || progress.bytesTotal == 0 || handle_.isCancelled()) return;
    progress_->setProgress(static_cast<double>(progress.bytesDone) / static_cast<double>(progress.bytesTotal));
    const double seconds = static_cast<double>(since_.elapsed()) / 1000;
    step_->setText(progressText(progress, seconds) + QStringLiteral("  ") + progress.file);
}

void CustodyDialog::tell(const Found& found) {
    isRunning_ = false;
    const QString good =
        work_ == Work::seal ? QStringLiteral("✓ Sealed") : QStringLiteral("✓ Everything is what it was");
    verdict_->setText(found.isWhole ? good : QStringLiteral("✗ ") + found.lines.last());
    progress_->setProgress(found.isWhole ? 1 : -1);
    step_->setText(QString());
    lines_->setPlainText(found.lines.join(u'\n'));
    stop_->setText(QStringLiteral("Close"));
    stop_->setEnabled(true);
    setDefaultButton(*this, *stop_);
    stop_->setFocus();
}

} // namespace ostrel
