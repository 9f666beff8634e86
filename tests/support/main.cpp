// main() of every test program: an application object, since controllers need one, in an environment of its own.
#include "support/own_environment.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    const ostrel::testing::OwnEnvironment environment;
    ::testing::InitGoogleTest(&argc, argv);
    QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
