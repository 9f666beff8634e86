#include "app/desktop/system_appearance.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace ostrel {
namespace {

const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString kSpace = QStringLiteral("org.freedesktop.appearance");
const QString kColorScheme = QStringLiteral("color-scheme");

} // namespace

SystemAppearance::SystemAppearance(Shade fallback, const QDBusConnection& bus)
    : bus_(bus), shade_(fallback), fallback_(fallback) {
    if (!bus_.isConnected()) return;
    qRegisterMetaType<QDBusVariant>(); // the types of a slot are looked up by name, silently in vain without this
    bus_.connect(kService, kPath, kInterface, QStringLiteral("SettingChanged"), this,
                 SLOT(settingChanged(QString, QString, QDBusVariant)));
    ask();
}

void SystemAppearance::ask() {
    QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("Read"));
    call.setArguments({kSpace, kColorScheme});
    auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(call, 2000), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        const QDBusPendingReply<QDBusVariant> reply = *watcher;
        if (!reply.isError()) take(reply.value().variant());
        watcher->deleteLater();
    });
}

void SystemAppearance::settingChanged(const QString& space, const QString& key, const QDBusVariant& value) {
    if (space == kSpace && key == kColorScheme) take(value.variant());
}

// 0: no preference, 1: dark, 2: light. `Read` wraps the number in a second variant.
void SystemAppearance::take(const QVariant& value) {
    QVariant number = value;
    if (number.metaType() == QMetaType::fromType<QDBusVariant>()) number = number.value<QDBusVariant>().variant();
    const uint scheme = number.toUInt();
    const Shade shade = scheme == 1 ? Shade::dark : scheme == 2 ? Shade::light : fallback_;
    if (shade == shade_) return;
    shade_ = shade;
    Q_EMIT changed();
}

} // namespace ostrel
