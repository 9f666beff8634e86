// main() of the window's tests: as that of the others, with an application object that has widgets.
#include "app/shell/ostrel_app.h"
#include "support/own_environment.h"

#include <QApplication>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    const ostrel::testing::OwnEnvironment environment;
    qputenv("HOME", environment.home().toUtf8());
    ::testing::InitGoogleTest(&argc, argv);
    QApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("OstrelTest"));
    QApplication::setApplicationName(QStringLiteral("OstrelTest"));
    ostrel::OstrelApp::prepare();
    return RUN_ALL_TESTS();
}
