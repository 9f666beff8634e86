#include "cli/command.h"
#include "cli/commands.h"
#include "demo/samples.h"
#include "platform/files/files.h"

#include <QDir>

namespace ostrel::cli {
namespace {

int runSamples(const std::string& folder, const TerminalOptions& options) {
    Terminal terminal(options);
    const QString path = paths::absolute(QString::fromStdString(folder));
    if (!QDir(path).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot)) {
        terminal.error(QStringLiteral("%1 holds something already; name a new or an empty folder").arg(path));
        return badUsage;
    }
    try {
        QStringList written;
        const SampleWriter writer{path, [&](const QString& file) { written << file; }, {}};
        writeInterleaverSamples(writer);
        writePolySamples(writer);
        writeValidatorSamples(writer);
        if (terminal.isJson()) {
            terminal.document({{"folder", jsonText(path)}, {"files", jsonList(written)}});
        } else {
            for (const QString& file : written) terminal.line(file);
            terminal.line(QStringLiteral("Wrote %1 recordings into %2").arg(written.size()).arg(path));
        }
        return allDone;
    } catch (const FileError& error) {
        terminal.error(error.description);
        return someItemFailed;
    }
}

} // namespace

void addSamplesCommand(CLI::App& parser, ChosenCommand& chosen) {
    CLI::App* command =
        addSubcommand(parser, "samples", "Write small demo recordings of every kind that the tools work on",
                      "  ostrel-cli samples ~/ostrel-samples\n  ostrel-cli interleave ~/ostrel-samples/pairs");
    const auto folder = std::make_shared<std::string>();
    const auto options = std::make_shared<TerminalOptions>();
    command->add_option("FOLDER", *folder, "Where to write them: a new or an empty folder")->required();
    addTerminalOptions(*command, *options);
    command->callback([=, &chosen] { chosen.run = [=] { return runSamples(*folder, *options); }; });
}

} // namespace ostrel::cli
