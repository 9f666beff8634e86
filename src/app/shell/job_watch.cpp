#include "app/shell/job_watch.h"

#include "app/panels/tab_page.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QVariantMap>
#include <utility>

namespace ostrel {

JobWatch::JobWatch(QWidget& window, const QDBusConnection& session, const QDBusConnection& system, qint64 longJob)
    : QObject(&window), window_(window), session_(session), system_(system), longJob_(longJob) {}

void JobWatch::watch(const QString& name, TabPage& page) {
    connect(&page, &TabPage::busyChanged, this,
            [this, name](bool isBusy, const QString& outcome) { pageChanged(name, isBusy, outcome); });
    connect(&page, &TabPage::progressed, this, &JobWatch::showProgress);
}

// What docks and task bars listen to that know launchers by the names of their desktop entries.
void JobWatch::showProgress(double progress) {
    const int percent = progress < 0 ? -1 : static_cast<int>(progress * 100);
    if (std::exchange(shownPercent_, percent) == percent || !session_.isConnected()) return;
    QDBusMessage update =
        QDBusMessage::createSignal(QStringLiteral("/com/canonical/unity/launcherentry/ostrel"),
                                   QStringLiteral("com.canonical.Unity.LauncherEntry"), QStringLiteral("Update"));
    update.setArguments({QStringLiteral("application://ostrel.desktop"),
                         QVariantMap{{QStringLiteral("progress"), std::max(0, percent) / 100.0},
                                     {QStringLiteral("progress-visible"), percent >= 0}}});
    session_.send(update);
}

void JobWatch::pageChanged(const QString& name, bool isBusy, const QString& outcome) {
    if (isBusy) {
        if (busy_.isEmpty()) {
            since_.start();
            inhibitSleep();
        }
        busy_.insert(name);
        return;
    }
    if (!busy_.remove(name) || !busy_.isEmpty()) return;
    inhibitor_ = QDBusUnixFileDescriptor();
    if (since_.elapsed() >= longJob_ && !window_.isActiveWindow()) notify(name, outcome);
}

// The lock is a descriptor of logind: it ends with this process, whatever happens.
void JobWatch::inhibitSleep() {
    if (!system_.isConnected()) return;
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.login1"), QStringLiteral("/org/freedesktop/login1"),
        QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("Inhibit"));
    call.setArguments({QStringLiteral("sleep:idle"), QStringLiteral("Ostrel"), QStringLiteral("Processing recordings"),
                       QStringLiteral("block")});
    auto* watcher = new QDBusPendingCallWatcher(system_.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        const QDBusPendingReply<QDBusUnixFileDescriptor> reply = *watcher;
        if (!reply.isError() && !busy_.isEmpty()) inhibitor_ = reply.value();
        watcher->deleteLater();
    });
}

void JobWatch::notify(const QString& title, const QString& text) {
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("/org/freedesktop/Notifications"),
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("Notify"));
    const QVariantMap hints{{QStringLiteral("desktop-entry"), QStringLiteral("ostrel")}};
    call.setArguments({QStringLiteral("Ostrel"), 0U, QStringLiteral("ostrel"), title, text, QStringList(), hints, -1});
    if (session_.isConnected()) session_.asyncCall(call);
    Q_EMIT notified(title, text);
}

} // namespace ostrel
