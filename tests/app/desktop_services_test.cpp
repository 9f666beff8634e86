#include "app/blank_page.h"
#include "app/controls/alert_dialog.h"
#include "app/desktop/qt_desktop_services.h"
#include "app/desktop/recent_folders.h"
#include "app/desktop/system_appearance.h"
#include "app/shell/job_watch.h"
#include "support/test_folder.h"

#include <QApplication>
#include <QClipboard>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QProcess>
#include <QPushButton>
#include <QTimer>
#include <QtTest/QtTest>
#include <gtest/gtest.h>
#include <unistd.h>

namespace ostrel::testing {
namespace {

// Answers every call on its connection as a test says, and remembers the calls.
class FakeDesktop : public QDBusVirtualObject {
public:
    std::function<QVariantList(const QDBusMessage&)> answer;
    QList<QDBusMessage> calls;

    QString introspect(const QString&) const override { return QString(); }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        calls << message;
        connection.send(message.createReply(answer(message)));
        return true;
    }
};

// A message bus of this test's own, with a fake desktop at one end and the code under test at the other.
class BusTest : public ::testing::Test {
protected:
    void SetUp() override {
        const QString program = installedTool(QStringLiteral("dbus-daemon"));
        if (program.isEmpty()) GTEST_SKIP() << "dbus-daemon is not installed";
        daemon_.start(program,
                      {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--print-address")});
        ASSERT_TRUE(daemon_.waitForReadyRead(10'000));
        address_ = QString::fromUtf8(daemon_.readLine()).trimmed();
    }
    void TearDown() override {
        for (const QString& name : names_) QDBusConnection::disconnectFromBus(name);
        daemon_.kill();
        daemon_.waitForFinished();
    }
    QDBusConnection connection() {
        names_ << QStringLiteral("connection %1").arg(names_.size());
        return QDBusConnection::connectToBus(address_, names_.last());
    }
    QDBusConnection serve(const QString& service) {
        QDBusConnection server = connection();
        EXPECT_TRUE(server.registerVirtualObject(QStringLiteral("/"), &desktop_, QDBusConnection::SubPath));
        EXPECT_TRUE(server.registerService(service));
        return server;
    }

    QProcess daemon_;
    QString address_;
    QStringList names_;
    FakeDesktop desktop_;
};

QVariantList scheme(uint number) {
    return {QVariant::fromValue(QDBusVariant(QVariant::fromValue(QDBusVariant(number))))};
}

TEST_F(BusTest, TheAppearanceOfTheDesktopIsAskedForAndFollowedWhileRunning) {
    desktop_.answer = [](const QDBusMessage&) { return scheme(1); };
    QDBusConnection server = serve(QStringLiteral("org.freedesktop.portal.Desktop"));
    SystemAppearance appearance(Shade::light, connection());
    EXPECT_EQ(appearance.shade(), Shade::light);
    EXPECT_TRUE(waitUntil([&] { return appearance.shade() == Shade::dark; }, 5000));
    EXPECT_EQ(desktop_.calls.first().member(), QStringLiteral("Read"));

    const auto change = [&server](uint number) {
        QDBusMessage signal = QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/portal/desktop"),
                                                         QStringLiteral("org.freedesktop.portal.Settings"),
                                                         QStringLiteral("SettingChanged"));
        signal.setArguments({QStringLiteral("org.freedesktop.appearance"), QStringLiteral("color-scheme"),
                             QVariant::fromValue(QDBusVariant(number))});
        server.send(signal);
    };
    change(2);
    EXPECT_TRUE(waitUntil([&] { return appearance.shade() == Shade::light; }, 5000));
    change(1);
    EXPECT_TRUE(waitUntil([&] { return appearance.shade() == Shade::dark; }, 5000));
    change(0);
    EXPECT_TRUE(waitUntil([&] { return appearance.shade() == Shade::light; }, 5000)) << "no preference";
}

TEST_F(BusTest, SleepIsInhibitedWhileAJobRuns) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    desktop_.answer = [&ends](const QDBusMessage&) {
        return QVariantList{QVariant::fromValue(QDBusUnixFileDescriptor(ends[1]))};
    };
    serve(QStringLiteral("org.freedesktop.login1"));
    QWidget window;
    BlankPage page;
    JobWatch watch(window, connection(), connection());
    watch.watch(QStringLiteral("Interleaver"), page);
    Q_EMIT page.busyChanged(true, QString());
    EXPECT_TRUE(waitUntil([&] { return watch.keepsAwake(); }, 5000));
    EXPECT_EQ(desktop_.calls.first().member(), QStringLiteral("Inhibit"));
    EXPECT_EQ(desktop_.calls.first().arguments().first().toString(), QStringLiteral("sleep:idle"));
    Q_EMIT page.busyChanged(false, QString());
    EXPECT_FALSE(watch.keepsAwake());
    ::close(ends[0]);
    ::close(ends[1]);
}

TEST_F(BusTest, ALongJobThatEndsInTheBackgroundIsTold) {
    desktop_.answer = [](const QDBusMessage&) { return QVariantList{1U}; };
    serve(QStringLiteral("org.freedesktop.Notifications"));
    QWidget window; // never shown, so never active
    BlankPage page;
    JobWatch watch(window, connection(), connection(), 0);
    watch.watch(QStringLiteral("Interleaver"), page);
    Q_EMIT page.busyChanged(true, QString());
    Q_EMIT page.busyChanged(false, QStringLiteral("Processing complete: 3 success, 0 skipped, 0 errors"));
    EXPECT_TRUE(waitUntil(
        [this] {
            return std::any_of(desktop_.calls.begin(), desktop_.calls.end(), [](const QDBusMessage& call) {
                return call.member() == QStringLiteral("Notify") &&
                       call.arguments().value(3) == QStringLiteral("Interleaver") &&
                       call.arguments().value(4).toString().startsWith(QStringLiteral("Processing complete: 3"));
            });
        },
        5000));
}

TEST(JobWatchTest, AShortJobIsNotTold) {
    QWidget window;
    BlankPage page;
    JobWatch watch(window);
    bool isTold = false;
    QObject::connect(&watch, &JobWatch::notified, [&isTold] { isTold = true; });
    watch.watch(QStringLiteral("Interleaver"), page);
    Q_EMIT page.busyChanged(true, QString());
    Q_EMIT page.busyChanged(false, QStringLiteral("done"));
    EXPECT_FALSE(isTold);
}

TEST(QtDesktopServicesTest, AppliesAppearancesAndTheClipboard) {
    QtDesktopServices desktop;
    desktop.applyAppearance(Appearance::dark);
    EXPECT_TRUE(isDark(QApplication::palette()));
    desktop.applyAppearance(Appearance::light);
    EXPECT_FALSE(isDark(QApplication::palette()));
    desktop.setPasteboardText(QStringLiteral("text"));
    EXPECT_EQ(QApplication::clipboard()->text(), QStringLiteral("text"));
}

TEST(QtDesktopServicesTest, AnAlertTellsTheButtonThatWasChosen) {
    QtDesktopServices desktop;
    AlertRequest request;
    request.title = QStringLiteral("Delete Originals?");
    request.buttons = {QStringLiteral("Enable Delete"), QStringLiteral("Cancel")};
    const auto answer = [&](const char* button) {
        QTimer::singleShot(0, [button] {
            QWidget* dialog = QApplication::activeModalWidget();
            ASSERT_NE(dialog, nullptr);
            for (QPushButton* each : dialog->findChildren<QPushButton*>()) {
                if (each->text() == QLatin1String(button)) each->click();
            }
            if (!*button) static_cast<QDialog*>(dialog)->reject();
        });
        return desktop.showAlert(request);
    };
    EXPECT_EQ(answer("Enable Delete"), 0);
    EXPECT_EQ(answer("Cancel"), 1);
    EXPECT_EQ(answer(""), 1) << "closed without a choice";
}

// What Enter does is not what is told first, and Escape stays the last button.
TEST(QtDesktopServicesTest, AnAlertsDefaultMayBeAnyButton) {
    AlertRequest request;
    request.title = QStringLiteral("A Job Is Still Running");
    request.buttons = {QStringLiteral("Stop after this item and quit"), QStringLiteral("Keep running")};
    request.defaultButton = 1;
    const auto press = [&](const QList<Qt::Key>& keys) {
        AlertDialog dialog(request);
        dialog.show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&dialog));
        for (const Qt::Key key : keys) QTest::keyClick(dialog.windowHandle(), key);
        EXPECT_FALSE(dialog.isVisible());
        return dialog.choice();
    };
    EXPECT_EQ(press({Qt::Key_Return}), 1);
    EXPECT_EQ(press({Qt::Key_Space}), 1);
    EXPECT_EQ(press({Qt::Key_Escape}), 1);
    EXPECT_EQ(press({Qt::Key_Tab, Qt::Key_Space}), 0);
    request.defaultButton = 0;
    EXPECT_EQ(press({Qt::Key_Return}), 0);
    EXPECT_EQ(press({Qt::Key_Escape}), 1);
}

TEST(RecentFolders, NewestFirstWithoutThoseThatAreGone) {
    const TestFolder folder;
    folder.write(QStringLiteral("a/x"), "");
    folder.write(QStringLiteral("b/x"), "");
    rememberFolder(folder.path() + QStringLiteral("/a"));
    rememberFolder(folder.path() + QStringLiteral("/b"));
    rememberFolder(folder.path() + QStringLiteral("/gone"));
    rememberFolder(folder.path() + QStringLiteral("/a"));
    EXPECT_EQ(recentFolders().first(2),
              (QStringList{folder.path() + QStringLiteral("/a"), folder.path() + QStringLiteral("/b")}));
    EXPECT_EQ(lastFolder(), folder.path() + QStringLiteral("/a"));
}

} // namespace
} // namespace ostrel::testing
