// What a desktop expects of a program with long jobs: the computer stays awake while one runs, and a person who works
// in another window is told when it ends. Both over D-Bus; without a bus nothing happens.
#pragma once

#include <QDBusConnection>
#include <QDBusUnixFileDescriptor>
#include <QElapsedTimer>
#include <QObject>
#include <QSet>

class QWidget;

namespace ostrel {

class TabPage;

class JobWatch : public QObject {
    Q_OBJECT

public:
    // Notifications go over `session`, sleep is inhibited over `system`. A job is long from `longJob` milliseconds on.
    explicit JobWatch(QWidget& window, const QDBusConnection& session = QDBusConnection::sessionBus(),
                      const QDBusConnection& system = QDBusConnection::systemBus(), qint64 longJob = 5'000);

    void watch(const QString& name, TabPage& page);
    bool keepsAwake() const { return inhibitor_.isValid(); }

Q_SIGNALS:
    // A long job ended while the window was in the background, and a notification was sent.
    void notified(const QString& title, const QString& text);

private:
    void pageChanged(const QString& name, bool isBusy, const QString& outcome);
    void showProgress(double progress);
    void inhibitSleep();
    void notify(const QString& title, const QString& text);

    QWidget& window_;
    QDBusConnection session_;
    QDBusConnection system_;
    qint64 longJob_;
    int shownPercent_ = -1;
    QSet<QString> busy_;
    QElapsedTimer since_;
    QDBusUnixFileDescriptor inhibitor_; // the computer may sleep again when it is closed
};

} // namespace ostrel
