// waveform: the peaks that the window draws, as text or JSON.
#include "cli/command.h"
#include "cli/commands.h"
#include "foundation/tools/external_tool_detector.h"
#include "platform/audio/audio_file.h"
#include "platform/diagnostics.h"
#include "platform/processes/stop_signals.h"
#include "platform/text/text.h"
#include "preview/waveform_generator.h"

namespace ostrel::cli {
namespace {

struct WaveformOptions {
    TerminalOptions terminal;
    std::string file;
    int points = 200;
    bool perChannel = false;
};

using Lanes = std::vector<std::vector<float>>;

Lanes lanesOf(const QString& file, const WaveformOptions& options, const QString& ffmpegPath) {
    WaveformGenerator generator(ffmpegPath);
    if (options.perChannel) return generator.generateMultiChannelWaveform(file, options.points);
    return {generator.generateWaveform(file, options.points)};
}

void show(const Lanes& lanes, const QString& file, const WaveformOptions& options, Terminal& terminal) {
    if (terminal.isJson()) {
        nlohmann::json document{{"file", jsonText(file)}, {"points", options.points}};
        if (options.perChannel) {
            document["channels"] = lanes;
        } else {
            document["peaks"] = lanes.front();
        }
        terminal.document(document);
        return;
    }
    const std::size_t rows = lanes.empty() ? 0 : lanes.front().size();
    for (std::size_t row = 0; row < rows; ++row) {
        QStringList values;
        for (const std::vector<float>& lane : lanes) values << fixed(static_cast<double>(lane[row]), 6);
        terminal.line(values.join(u'\t'));
    }
}

int runWaveform(const WaveformOptions& options) {
    const StopSignals signals; // the decoder goes along
    Terminal terminal(options.terminal);
    // Standard output carries the values alone.
    setDiagnosticStream(options.terminal.verbose ? DiagnosticStream::standardError : DiagnosticStream::nowhere);
    const std::optional<QStringList> paths = existingPaths({options.file}, terminal);
    if (!paths) return badUsage;
    const QString file = paths->first();
    const ExternalToolDetector detector;
    try {
        show(lanesOf(file, options, detector.ffmpegPath.value()), file, options, terminal);
        return allDone;
    } catch (const AudioFileError& error) {
        terminal.error(QStringLiteral("%1: %2").arg(file, error.errorDescription()));
    } catch (const WaveformError& error) {
        terminal.error(QStringLiteral("%1: %2").arg(file, error.errorDescription()));
    }
    return someItemFailed;
}

} // namespace

void addWaveformCommand(CLI::App& parser, ChosenCommand& chosen) {
    CLI::App* command = addSubcommand(parser, "waveform", "Print the peaks of an audio file, one line a point",
                                      "  ostrel-cli waveform Take.wav --points 400\n"
                                      "  ostrel-cli waveform Poly.wav --per-channel --json");
    const auto options = std::make_shared<WaveformOptions>();
    command->add_option("file", options->file, "The audio file")->required();
    command
        ->add_option("--points", options->points,
                     "How many values; files of more than 13,230,000 frames may give fewer, which are not normalised")
        ->check(CLI::Range(1, 1'000'000))
        ->capture_default_str();
    command->add_flag("--per-channel", options->perChannel, "One column a channel, each by its own peak");
    addTerminalOptions(*command, options->terminal);
    command->callback([options, &chosen] { chosen.run = [options] { return runWaveform(*options); }; });
}

} // namespace ostrel::cli
