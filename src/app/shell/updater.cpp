#include "app/shell/updater.h"

#include <QHostAddress>
#include <QNetworkReply>
#include <QUrl>
#include <QVersionNumber>
#include <QXmlStreamReader>

namespace ostrel {
namespace {

constexpr int kTimeout = 15'000;         // milliseconds
constexpr qint64 kFeedLimit = 1'000'000; // bytes: a feed is some kilobytes
const QString kSparkle = QStringLiteral("http://www.andymatuschak.org/xml-namespaces/sparkle");

bool isTrusted(const QUrl& url) {
    if (url.scheme() == QStringLiteral("https")) return true;
    return url.scheme() == QStringLiteral("http") && QHostAddress(url.host()).isLoopback();
}

// The human-readable version goes before the build number.
void readVersion(QXmlStreamReader& xml, AppcastItem& item) {
    const auto attributes = xml.attributes();
    for (const char16_t* name : {u"shortVersionString", u"version"}) {
        const auto value = attributes.value(kSparkle, QString::fromUtf16(name));
        if (item.version.isEmpty() && !value.isEmpty()) item.version = value.toString();
    }
    if (item.page.isEmpty()) item.page = attributes.value(QStringLiteral("url")).toString();
}

AppcastItem readItem(QXmlStreamReader& xml) {
    AppcastItem item;
    QString shortVersion;
    QString link;
    while (xml.readNextStartElement()) {
        const auto name = xml.name();
        if (name == QStringLiteral("enclosure")) {
            readVersion(xml, item);
            xml.skipCurrentElement();
        } else if (name == QStringLiteral("link")) {
            link = xml.readElementText(QXmlStreamReader::SkipChildElements).trimmed();
        } else if (name == QStringLiteral("shortVersionString")) {
            shortVersion = xml.readElementText(QXmlStreamReader::SkipChildElements).trimmed();
        } else if (name == QStringLiteral("version")) {
            item.version = xml.readElementText(QXmlStreamReader::SkipChildElements).trimmed();
        } else {
            xml.skipCurrentElement();
        }
    }
    if (!shortVersion.isEmpty()) item.version = shortVersion;
    if (!link.isEmpty()) item.page = link;
    return item;
}

} // namespace

bool isOlderVersion(const QString& a, const QString& b) {
    qsizetype endOfA = 0;
    qsizetype endOfB = 0;
    const QVersionNumber first = QVersionNumber::fromString(a, &endOfA).normalized();
    const QVersionNumber second = QVersionNumber::fromString(b, &endOfB).normalized();
    if (first != second) return first < second;
    const bool isPreRelease = endOfA < a.size();
    const bool isOtherPreRelease = endOfB < b.size();
    if (isPreRelease != isOtherPreRelease) return isPreRelease;
    return a.mid(endOfA) < b.mid(endOfB);
}

std::optional<AppcastItem> newestItem(const QByteArray& appcast) {
    std::optional<AppcastItem> newest;
    QXmlStreamReader xml(appcast);
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement || xml.name() != QStringLiteral("item")) continue;
        const AppcastItem item = readItem(xml);
        if (item.version.isEmpty()) continue;
        if (!newest || isOlderVersion(newest->version, item.version)) newest = item;
    }
    return newest;
}

Updater::Updater(DesktopServices& desktop, const QString& feed, const QString& version)
    : desktop_(desktop), feed_(feed), version_(version) {
    network_.setTransferTimeout(kTimeout);
    network_.setRedirectPolicy(QNetworkRequest::NoLessSafeRedirectPolicy);
    canCheckForUpdates = isTrusted(QUrl(feed));
}

void Updater::checkForUpdates() {
    if (!canCheckForUpdates.value()) return;
    canCheckForUpdates = false;
    QNetworkReply* reply = network_.get(QNetworkRequest(QUrl(feed_)));
    connect(reply, &QNetworkReply::downloadProgress, reply, [reply](qint64 received) {
        if (received > kFeedLimit) reply->abort();
    });
    connect(reply, &QNetworkReply::finished, this, [this, reply] {
        reply->deleteLater();
        canCheckForUpdates = true;
        if (reply->error() == QNetworkReply::NoError) {
            answer(reply->readAll());
        } else {
            fail(reply->errorString());
        }
        Q_EMIT checked();
    });
}

void Updater::answer(const QByteArray& appcast) {
    const std::optional<AppcastItem> newest = newestItem(appcast);
    if (!newest) return fail(QStringLiteral("The update feed lists no version."));
    AlertRequest alert;
    if (!isOlderVersion(version_, newest->version)) {
        alert.title = QStringLiteral("You're up to date");
        alert.text = QStringLiteral("Ostrel %1 is the newest version.").arg(version_);
        desktop_.showAlert(alert);
        return;
    }
    alert.title = QStringLiteral("A new version is available");
    alert.text = QStringLiteral("Ostrel %1 is available. You have %2.").arg(newest->version, version_);
    const bool hasPage = isTrusted(QUrl(newest->page));
    alert.buttons = hasPage ? QStringList{QStringLiteral("Open Download Page"), QStringLiteral("Later")}
                            : QStringList{QStringLiteral("OK")};
    if (desktop_.showAlert(alert) == 0 && hasPage) desktop_.openWebPage(newest->page);
}

void Updater::fail(const QString& reason) {
    AlertRequest alert;
    alert.style = AlertRequest::Style::warning;
    alert.title = QStringLiteral("Update check failed");
    alert.text = reason;
    desktop_.showAlert(alert);
}

} // namespace ostrel
