#include "app/shell/updater.h"

#include "app/shell/check_for_updates.h"
#include "support/scripted_desktop.h"
#include "support/test_folder.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

QByteArray feed(const QByteArray& items) {
    return "<?xml version=\"1.0\"?><rss version=\"2.0\" "
           "xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/sparkle\"><channel><title>x</title>" +
           items + "</channel></rss>";
}

QByteArray item(const QByteArray& version) {
    return "<item><title>v</title><link>https://example.org/get/" + version +
           "</link><enclosure url=\"https://example.org/f.deb\" sparkle:version=\"77\" "
           "sparkle:shortVersionString=\"" +
           version + "\"/></item>";
}

// A web server of one answer.
class FeedServer {
public:
    explicit FeedServer(const QByteArray& body, const QByteArray& status = "200 OK") {
        EXPECT_TRUE(server_.listen(QHostAddress::LocalHost));
        QObject::connect(&server_, &QTcpServer::newConnection, &server_, [this, body, status] {
            QTcpSocket* socket = server_.nextPendingConnection();
            QObject::connect(socket, &QTcpSocket::readyRead, socket, [socket, body, status] {
                socket->readAll();
                socket->write("HTTP/1.1 " + status + "\r\nConnection: close\r\nContent-Length: " +
                              QByteArray::number(body.size()) + "\r\n\r\n" + body);
                socket->disconnectFromHost();
            });
        });
    }
    QString address() const { return QStringLiteral("http://127.0.0.1:%1/feed.xml").arg(server_.serverPort()); }

private:
    QTcpServer server_;
};

class UpdaterTest : public ::testing::Test {
protected:
    void check(const QString& address, const QString& version = QStringLiteral("1.2.0")) {
        Updater updater(desktop_, address, version);
        ASSERT_TRUE(updater.canCheckForUpdates.value());
        bool isChecked = false;
        QObject::connect(&updater, &Updater::checked, [&isChecked] { isChecked = true; });
        updater.checkForUpdates();
        EXPECT_FALSE(updater.canCheckForUpdates.value()) << "one check at a time";
        EXPECT_TRUE(waitUntil([&isChecked] { return isChecked; }));
        EXPECT_TRUE(updater.canCheckForUpdates.value());
    }
    ScriptedDesktop desktop_;
};

TEST_F(UpdaterTest, OffersANewerVersionAndOpensItsPage) {
    const FeedServer server(feed(item("1.1.9") + item("1.10.0") + item("1.9.0")));
    check(server.address());
    ASSERT_EQ(desktop_.alerts.size(), 1U);
    EXPECT_EQ(desktop_.alerts[0].text, QStringLiteral("Ostrel 1.10.0 is available. You have 1.2.0."));
    EXPECT_EQ(desktop_.openedPages, QStringList{QStringLiteral("https://example.org/get/1.10.0")});
}

TEST_F(UpdaterTest, LaterOpensNothing) {
    const FeedServer server(feed(item("2.0")));
    desktop_.alertAnswer = 1;
    check(server.address());
    EXPECT_TRUE(desktop_.openedPages.isEmpty());
}

TEST_F(UpdaterTest, SaysSoWhenNothingIsNewer) {
    const FeedServer server(feed(item("1.2") + item("1.0")));
    check(server.address());
    EXPECT_EQ(desktop_.alerts[0].title, QStringLiteral("You're up to date"));
}

TEST_F(UpdaterTest, TellsAServersFailureAndAnEmptyFeed) {
    const FeedServer missing("", "404 Not Found");
    check(missing.address());
    EXPECT_EQ(desktop_.alerts.back().title, QStringLiteral("Update check failed"));
    const FeedServer empty("<html>not a feed");
    check(empty.address());
    EXPECT_EQ(desktop_.alerts.back().text, QStringLiteral("The update feed lists no version."));
}

TEST_F(UpdaterTest, APageThatIsNoWebAddressIsNotOpened) {
    const FeedServer server(feed("<item><link>file:///etc/passwd</link><enclosure sparkle:version=\"9.0\"/></item>"));
    check(server.address());
    EXPECT_EQ(desktop_.alerts[0].buttons, QStringList{QStringLiteral("OK")});
    EXPECT_TRUE(desktop_.openedPages.isEmpty());
}

TEST_F(UpdaterTest, ChecksOverTrustedAddressesOnly) {
    EXPECT_FALSE(Updater(desktop_, QString(), QStringLiteral("1")).canCheckForUpdates.value());
    EXPECT_FALSE(
        Updater(desktop_, QStringLiteral("http://example.org/x"), QStringLiteral("1")).canCheckForUpdates.value());
    EXPECT_TRUE(
        Updater(desktop_, QStringLiteral("https://example.org/x"), QStringLiteral("1")).canCheckForUpdates.value());
}

TEST_F(UpdaterTest, TheMenuItemFollowsTheUpdater) {
    Updater updater(desktop_, QStringLiteral("https://example.org/x"), QStringLiteral("1"));
    CheckForUpdatesView view(updater, nullptr);
    EXPECT_EQ(view.text(), QStringLiteral("Check for Updates…"));
    EXPECT_TRUE(view.isEnabled());
    updater.canCheckForUpdates = false;
    EXPECT_FALSE(view.isEnabled());
}

TEST(Versions, AreComparedNumberByNumber) {
    const auto isOlder = [](const char* a, const char* b) {
        return isOlderVersion(QString::fromLatin1(a), QString::fromLatin1(b));
    };
    EXPECT_TRUE(isOlder("1.9", "1.10"));
    EXPECT_TRUE(isOlder("0.1.0", "0.1.1"));
    EXPECT_TRUE(isOlder("2.0-beta", "2.0"));
    EXPECT_TRUE(isOlder("2.0-beta1", "2.0-beta2"));
    EXPECT_FALSE(isOlder("1.2", "1.2.0"));
    EXPECT_FALSE(isOlder("1.2.0", "1.2"));
    EXPECT_FALSE(isOlder("2", "1.9.9"));
}

TEST(Appcast, ElementsAreReadAsWellAsAttributes) {
    const auto newest = newestItem(feed("<item><link> https://a.example/ </link><sparkle:version>12</sparkle:version>"
                                        "<sparkle:shortVersionString>1.4</sparkle:shortVersionString></item>"));
    ASSERT_TRUE(newest);
    EXPECT_EQ(newest->version, QStringLiteral("1.4"));
    EXPECT_EQ(newest->page, QStringLiteral("https://a.example/"));
}

} // namespace
} // namespace ostrel::testing
