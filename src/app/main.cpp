// ostrel: the window. Options and paths are described in the manual page ostrel(1).
#include "app/ostrel_app.h"
#include "platform/paths.h"

#include <QApplication>
#include <QCommandLineParser>
#include <cstdio>

namespace {

constexpr int kBadUsage = 2;

int fail(const QString& message) {
    std::fprintf(stderr, "ostrel: %s\n", qUtf8Printable(message));
    return kBadUsage;
}

} // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Ostrel"));
    QApplication::setApplicationName(QStringLiteral("Ostrel"));
    QApplication::setApplicationVersion(QStringLiteral(OSTREL_VERSION));
    ostrel::OstrelApp::prepare();

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Interleaves, splits and checks Broadcast WAV recordings."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption tabOption(QStringLiteral("tab"),
                                       QStringLiteral("Open on a tab: interleaver, poly, validator."),
                                       QStringLiteral("name"), QStringLiteral("interleaver"));
    parser.addOption(tabOption);
    parser.addPositionalArgument(QStringLiteral("paths"), QStringLiteral("Files and folders to select."),
                                 QStringLiteral("[PATH...]"));
    parser.process(application);

    const auto tab = ostrel::tabNamed(parser.value(tabOption));
    if (!tab) return fail(QStringLiteral("no such tab: ") + parser.value(tabOption));
    QStringList paths;
    for (const QString& argument : parser.positionalArguments()) {
        const QString path = ostrel::paths::absolute(argument);
        if (!ostrel::paths::exists(path)) return fail(QStringLiteral("no such file or folder: ") + argument);
        paths << path;
    }

    const ostrel::ProductSettings settings{QStringLiteral(OSTREL_VERSION), QStringLiteral(OSTREL_WEBSITE),
                                           QStringLiteral(OSTREL_SUPPORT_ADDRESS), QStringLiteral(OSTREL_UPDATE_FEED)};
    ostrel::OstrelApp app(settings);
    app.show(*tab, paths);
    return QApplication::exec();
}
