#include "cli/command_line.h"

#include <QCoreApplication>

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Ostrel"));
    QCoreApplication::setApplicationName(QStringLiteral("Ostrel"));
    QCoreApplication::setApplicationVersion(QStringLiteral(OSTREL_VERSION));
    return ostrel::cli::runCommandLine(argc, argv);
}
