// ostrel: the window. Options and paths are described in the manual page ostrel(1).
#include "app/shell/ostrel_app.h"
#include "platform/paths.h"

#include <QApplication>
#include <QCommandLineParser>
#include <algorithm>
#include <cstdio>
#include <optional>
#include <string_view>

namespace {

constexpr int kNoDisplay = 1;
constexpr int kBadUsage = 2;

struct Request {
    std::optional<ostrel::AppTab> tab; // none given: the one that was left
    std::optional<int> mode;
    QStringList paths; // absolute, each there
};

std::nullopt_t fail(const QString& message) {
    std::fprintf(stderr, "ostrel: %s\n", qUtf8Printable(message));
    return std::nullopt;
}

void nameProgram() {
    QCoreApplication::setOrganizationName(QStringLiteral("Ostrel"));
    QCoreApplication::setApplicationName(QStringLiteral("Ostrel"));
    QCoreApplication::setApplicationVersion(QStringLiteral(OSTREL_VERSION));
}

// Nothing for bad usage, which is told on stderr. --help and --version end the program.
std::optional<Request> readArguments() {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Interleaves, splits, joins and checks Broadcast WAV recordings."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption tabOption(
        QStringLiteral("tab"), QStringLiteral("Open on a tab: interleaver, poly, validator."), QStringLiteral("name"));
    const QCommandLineOption modeOption(
        QStringLiteral("mode"),
        QStringLiteral(
            "Open on a mode of that tab, or of the Interleaver: interleave, deinterleave; split, join, edit."),
        QStringLiteral("name"));
    parser.addOptions({tabOption, modeOption});
    parser.addPositionalArgument(QStringLiteral("paths"), QStringLiteral("Files and folders to select."),
                                 QStringLiteral("[PATH...]"));
    if (!parser.parse(QCoreApplication::arguments())) return fail(parser.errorText());
    if (parser.isSet(QStringLiteral("version"))) parser.showVersion();
    if (parser.isSet(QStringLiteral("help"))) parser.showHelp();

    Request request{ostrel::tabNamed(parser.value(tabOption)), {}, {}};
    if (!request.tab && parser.isSet(tabOption)) return fail(QStringLiteral("no such tab: ") + parser.value(tabOption));
    if (const QString name = parser.value(modeOption); !name.isEmpty()) {
        request.tab = request.tab.value_or(ostrel::AppTab::interleave); // a mode is one of a tab's
        request.mode = ostrel::modeNamed(*request.tab, name);
        if (!request.mode) return fail(QStringLiteral("no such mode on that tab: ") + name);
    }
    for (const QString& argument : parser.positionalArguments()) {
        const QString path = ostrel::paths::absolute(argument);
        if (!ostrel::paths::exists(path)) return fail(QStringLiteral("no such file or folder: ") + argument);
        request.paths << path;
    }
    return request;
}

// Qt ends a program that finds no display with an abort, so this is asked before it can.
bool hasDisplay(int argc, char** argv) {
    const auto isSet = [](const char* name) { return !qEnvironmentVariableIsEmpty(name); };
    const auto choosesPlatform = [](std::string_view argument) {
        return argument == "-platform" || argument == "--platform";
    };
    return isSet("DISPLAY") || isSet("WAYLAND_DISPLAY") || isSet("QT_QPA_PLATFORM") ||
           std::any_of(argv + 1, argv + argc, choosesPlatform);
}

int tellWithoutDisplay(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    nameProgram();
    if (!readArguments()) return kBadUsage;
    fail(QStringLiteral("there is no display to open a window on; ostrel-cli does the same jobs on a terminal"));
    return kNoDisplay;
}

} // namespace

int main(int argc, char** argv) {
    if (!hasDisplay(argc, argv)) return tellWithoutDisplay(argc, argv);
    QApplication application(argc, argv);
    nameProgram();
    ostrel::OstrelApp::prepare();
    const std::optional<Request> request = readArguments();
    if (!request) return kBadUsage;

    const ostrel::ProductSettings settings{QStringLiteral(OSTREL_VERSION), QStringLiteral(OSTREL_WEBSITE),
                                           QStringLiteral(OSTREL_SUPPORT_ADDRESS), QStringLiteral(OSTREL_UPDATE_FEED)};
    ostrel::OstrelApp app(settings);
    app.show(request->tab, request->mode, request->paths);
    return app.exec();
}
