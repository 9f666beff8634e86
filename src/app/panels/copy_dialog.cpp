#include "app/panels/copy_dialog.h"

#include "app/controls/controls.h"
#include "app/controls/layouts.h"
#include "app/controls/progress_line.h"
#include "platform/background.h"
#include "platform/desktop_services.h"

#include <QVBoxLayout>
#include <algorithm>

namespace ostrel {

CopyDialog::CopyDialog(const QString& title, const QStringList& names, const Work& work, QWidget* parent)
    : QDialog(parent), name_(new QLabel), line_(new ProgressLine(title + QStringLiteral(" progress"))),
      stop_(new QPushButton(QStringLiteral("Stop"))) {
    setWindowTitle(title);
    name_->setTextFormat(Qt::PlainText);
    name_->setMinimumWidth(360);
    stop_->setDefault(true);
    connect(stop_, &QPushButton::clicked, this, &CopyDialog::reject);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(stop_);
    auto* column = new QVBoxLayout(this);
    column->addWidget(name_);
    column->addWidget(line_);
    column->addLayout(buttons);
    backgroundPool().start([names, work, stopped = isStopped_, hop = MainThreadHop(this), this] {
        for (qsizetype i = 0; i < names.size() && !*stopped; ++i) {
            hop([name = names[i], this] { name_->setText(name); });
            int percent = -1;
            work(i, [&](quint64 done, quint64 total) {
                const int now = static_cast<int>(100.0 * static_cast<double>(done) /
                                                 static_cast<double>(std::max<quint64>(1, total)));
                if (now != percent) hop([now, this] { line_->setProgress(now / 100.0); });
                percent = now;
                return !*stopped;
            });
        }
        hop([this] { accept(); });
    });
}

CopyDialog::~CopyDialog() { *isStopped_ = true; }

void CopyDialog::reject() {
    *isStopped_ = true;
    stop_->setEnabled(false);
    name_->setText(QStringLiteral("Stopping..."));
}

QString chosenFolder(DesktopServices& desktop, const QString& message, const QString& prompt) {
    OpenPanelRequest request;
    request.canChooseFiles = false;
    request.canChooseFolders = true;
    request.canCreateFolders = true;
    request.message = message;
    request.prompt = prompt;
    return desktop.showOpenPanel(request).value(0);
}

void tellCopies(DesktopServices& desktop, const QString& done, const QStringList& copies, const QStringList& others) {
    AlertRequest alert;
    if (copies.isEmpty()) {
        alert.style = AlertRequest::Style::warning;
        alert.title = QStringLiteral("Nothing was %1").arg(done);
        alert.text = others.join(u'\n');
        desktop.showAlert(alert);
        return;
    }
    alert.title = copies.size() == 1 ? QStringLiteral("One file was %1").arg(done)
                                     : QStringLiteral("%1 files were %2").arg(copies.size()).arg(done);
    const QString compared =
        QStringLiteral("Compared with what it was made of, to the last byte; the recordings stay as they are.");
    alert.text = (copies + QStringList(compared) + others).join(u'\n');
    alert.buttons = {QStringLiteral("Reveal in Files"), QStringLiteral("Done")};
    alert.defaultButton = 1;
    if (desktop.showAlert(alert) == 0) desktop.revealFiles(copies);
}

} // namespace ostrel
