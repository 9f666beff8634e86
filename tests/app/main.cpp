// main() of the window's tests: as that of the others, with an application object that has widgets.
#include "app/ostrel_app.h"

#include <QApplication>
#include <QTemporaryDir>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    const QTemporaryDir home;
    qputenv("HOME", home.path().toUtf8());
    qputenv("XDG_CACHE_HOME", home.filePath(QStringLiteral("cache")).toUtf8());
    qputenv("XDG_CONFIG_HOME", home.filePath(QStringLiteral("config")).toUtf8());
    qputenv("XDG_DATA_HOME", home.filePath(QStringLiteral("data")).toUtf8());
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    if (!qEnvironmentVariableIsSet("SDL_AUDIODRIVER")) qputenv("SDL_AUDIODRIVER", "dummy");
    ::testing::InitGoogleTest(&argc, argv);
    QApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("OstrelTest"));
    QApplication::setApplicationName(QStringLiteral("OstrelTest"));
    ostrel::OstrelApp::prepare();
    return RUN_ALL_TESTS();
}
