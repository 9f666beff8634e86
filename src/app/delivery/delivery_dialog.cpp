#include "app/delivery/delivery_dialog.h"

#include "app/controls/controls.h"
#include "app/controls/layouts.h"
#include "app/controls/progress_line.h"
#include "foundation/run/recording_list.h"
#include "platform/desktop_services.h"
#include "platform/files/files.h"
#include "platform/paths.h"

namespace ostrel {

QStringList recordingsOf(const QStringList& selection) {
    return collectRecordings(selection, true, waveFileExtensions()).files;
}

DeliveryDialog::DeliveryDialog(const QString& title, DesktopServices& desktop, QWidget* parent)
    : QDialog(parent), desktop_(desktop), verdict_(boldLabel()),
      progress_(new ProgressLine(QStringLiteral("Progress"))), step_(new TruncatingText(Qt::ElideMiddle)),
      close_(pushButton(QStringLiteral("Close"))) {
    setWindowTitle(title);
    verdict_->setTextFormat(Qt::PlainText);
    verdict_->setWordWrap(true);
    connect(close_, &QPushButton::clicked, this, &QDialog::reject);
}

QString DeliveryDialog::verdict() const { return verdict_->text(); }

void DeliveryDialog::reject() {
    if (!isRunning_) return QDialog::reject();
    handle_.cancel();
    close_->setEnabled(false);
    step_->setText(QStringLiteral("Stopping..."));
}

DeliveryWatch DeliveryDialog::begin(const QString& text) {
    handle_ = TaskHandle();
    isRunning_ = true;
    verdict_->setText(text);
    close_->setText(QStringLiteral("Stop"));
    Q_EMIT runningChanged(true);
    const auto tell = [hop = MainThreadHop(this), this](int done, int total, const QString& file) {
        hop([this, done, total, file] { show(done, total, file); }); // not once the dialog is gone
    };
    return {tell, [handle = handle_] { return handle.isCancelled(); }};
}

void DeliveryDialog::show(int done, int total, const QString& file) {
    if (!isRunning_ || handle_.isCancelled()) return;
    progress_->setProgress(static_cast<double>(done) / std::max(1, total));
    step_->setText(QStringLiteral("%1 of %2  %3").arg(done).arg(total).arg(file));
}

void DeliveryDialog::end(const QString& verdict) {
    isRunning_ = false;
    verdict_->setText(verdict);
    progress_->setProgress(-1);
    step_->setText(QString());
    close_->setText(QStringLiteral("Close"));
    close_->setEnabled(true);
    Q_EMIT runningChanged(false);
}

void DeliveryDialog::compose(const QList<QPushButton*>& actions, QLayout& content) {
    auto* buttons = rowLayout();
    for (QPushButton* action : actions) buttons->addWidget(action);
    buttons->addStretch();
    buttons->addWidget(close_);
    auto* column = columnLayout();
    column->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    column->addWidget(verdict_);
    column->addWidget(progress_);
    column->addWidget(step_);
    column->addLayout(&content, 1);
    column->addLayout(buttons);
    setLayout(column);
    setDefaultButton(*this, *close_);
}

void DeliveryDialog::saveText(const QString& message, const QString& suggestedName, const QString& ending,
                              const std::function<QString()>& text) {
    QString path = desktop_.showSavePanel({message, suggestedName, {ending}});
    if (path.isEmpty()) return;
    if (paths::lowerExtension(path) != ending) path += u'.' + ending;
    try {
        files::writeAtomically(path, text().toUtf8());
    } catch (const FileError& error) {
        desktop_.showAlert({AlertRequest::Style::warning, QStringLiteral("Nothing was saved"), error.description});
    }
}

} // namespace ostrel
