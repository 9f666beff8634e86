// main() of every test program: an application object (controllers need one), folders that belong to the test alone, so
// that no test reads or leaves anything in the person's own cache or settings, and no need of a sound card or a display.
#include <QCoreApplication>
#include <QTemporaryDir>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    const QTemporaryDir home;
    qputenv("XDG_CACHE_HOME", home.filePath(QStringLiteral("cache")).toUtf8());
    qputenv("XDG_CONFIG_HOME", home.filePath(QStringLiteral("config")).toUtf8());
    qputenv("XDG_DATA_HOME", home.filePath(QStringLiteral("data")).toUtf8());
    if (!qEnvironmentVariableIsSet("SDL_AUDIODRIVER")) qputenv("SDL_AUDIODRIVER", "dummy");
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    ::testing::InitGoogleTest(&argc, argv);
    QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
