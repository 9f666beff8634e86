// Whether the desktop is set to dark, now and while the window runs: asked of the desktop portal over D-Bus
// (org.freedesktop.portal.Settings, "color-scheme"). A desktop without one has the shade of Qt's own first palette.
#pragma once

#include "app/controls/theme.h"

#include <QDBusConnection>
#include <QDBusVariant>
#include <QObject>

namespace ostrel {

class SystemAppearance : public QObject {
    Q_OBJECT

public:
    // Without an answer the shade is `fallback`.
    explicit SystemAppearance(Shade fallback, const QDBusConnection& bus = QDBusConnection::sessionBus());

    Shade shade() const { return shade_; }

Q_SIGNALS:
    void changed();

private Q_SLOTS:
    void settingChanged(const QString& space, const QString& key, const QDBusVariant& value);

private:
    void ask();
    void take(const QVariant& value);

    QDBusConnection bus_;
    Shade shade_;
    Shade fallback_;
};

} // namespace ostrel
