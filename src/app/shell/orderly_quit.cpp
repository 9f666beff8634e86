#include "app/shell/orderly_quit.h"

#include "app/panels/tab_page.h"
#include "platform/desktop_services.h"

#include <QEventLoop>
#include <QGuiApplication>
#include <algorithm>

namespace ostrel {

OrderlyQuit::OrderlyQuit(DesktopServices& desktop, std::vector<TabPage*> pages, QObject* parent)
    : QObject(parent), desktop_(desktop), pages_(std::move(pages)) {
    for (TabPage* page : pages_) {
        // Later, since the controller is still in the middle of its last step.
        connect(page, &TabPage::taskEnded, this, &OrderlyQuit::check, Qt::QueuedConnection);
    }
    followSessionEnd();
}

bool OrderlyQuit::isRunningJob() const { return std::ranges::any_of(pages_, &TabPage::isRunningJob); }
bool OrderlyQuit::hasRunningTask() const { return std::ranges::any_of(pages_, &TabPage::hasRunningTask); }

bool OrderlyQuit::mayClose() {
    if (!isStopping.value()) {
        if (isAsking_) return false; // no person's close: the question stands over the window
        if (!hasRunningTask()) return true;
        const bool agrees = !isRunningJob() || agreesToStop();
        if (!agrees && !isStopping.value()) return false; // a signal may have answered meanwhile
        stop();
    }
    return !hasRunningTask();
}

bool OrderlyQuit::agreesToStop() {
    AlertRequest alert;
    alert.style = AlertRequest::Style::warning;
    alert.title = QStringLiteral("A Job Is Still Running");
    alert.text =
        QStringLiteral("Ostrel can finish the item that it is working on, leave the later ones alone, and quit.");
    alert.buttons = {QStringLiteral("Stop after this item and quit"), QStringLiteral("Keep running")};
    alert.defaultButton = 1;
    isAsking_ = true;
    const int choice = desktop_.showAlert(alert);
    isAsking_ = false;
    return choice == 0;
}

void OrderlyQuit::stop() {
    if (isStopping.value()) return; // while the question stood
    isStopping = true;
    for (TabPage* page : pages_) {
        if (page->isRunningJob()) page->stop();
    }
}

void OrderlyQuit::stopAndQuit() {
    stop();
    QMetaObject::invokeMethod(this, &OrderlyQuit::check, Qt::QueuedConnection);
}

void OrderlyQuit::check() {
    if (isStopping.value() && !hasRunningTask()) Q_EMIT ended();
}

void OrderlyQuit::followSessionEnd() {
    connect(qGuiApp, &QGuiApplication::commitDataRequest, this, [this] {
        if (!hasRunningTask()) return; // the session's end is not yet certain
        QEventLoop loop;
        connect(this, &OrderlyQuit::ended, &loop, &QEventLoop::quit);
        stopAndQuit();
        loop.exec();
    });
}

} // namespace ostrel
