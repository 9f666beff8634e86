// Looks for a newer version in an appcast feed (RSS with Sparkle's version attributes) and opens its download page.
//
// Main thread. The feed's address is a setting of the build; without one there is nothing to check.
#pragma once

#include "platform/desktop_services.h"

#include <QNetworkAccessManager>
#include <QObject>
#include <QProperty>
#include <QString>
#include <optional>

namespace ostrel {

struct AppcastItem {
    QString version; // "1.2.0"
    QString page;    // where a person downloads it
};

// The item of the greatest version; nothing if the document holds none.
std::optional<AppcastItem> newestItem(const QByteArray& appcast);

// Whether version `a` is less than `b`, number by number: "1.9" before "1.10", "2.0-beta" before "2.0".
bool isOlderVersion(const QString& a, const QString& b);

class Updater : public QObject {
    Q_OBJECT

public:
    // `feed` is an HTTPS address (plain HTTP is taken from this machine only) or empty.
    Updater(DesktopServices& desktop, const QString& feed, const QString& version);

    QProperty<bool> canCheckForUpdates{false};

    // Tells the outcome in an alert.
    void checkForUpdates();

Q_SIGNALS:
    void checked();

private:
    void answer(const QByteArray& appcast);
    void fail(const QString& reason);

    DesktopServices& desktop_;
    QString feed_;
    QString version_;
    QNetworkAccessManager network_;
};

} // namespace ostrel
