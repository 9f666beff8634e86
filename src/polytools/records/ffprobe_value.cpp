#include "polytools/records/ffprobe_value.h"

#include "foundation/tools/wave_facts.h"
#include "platform/processes/child_process.h"
#include "platform/processes/tool_limits.h"

#include <QStringList>

namespace ostrel {
namespace {

// As ffprobe prints it; nothing for an entry that is not among the facts.
std::optional<QString> valueOf(const FileAnalysis& facts, const QString& entry) {
    if (entry.endsWith(QStringLiteral("=duration"))) return QString::number(facts.duration, 'f', 6);
    if (entry == QStringLiteral("stream=channels")) return QString::number(facts.channels);
    if (entry == QStringLiteral("stream=sample_rate")) return QString::number(facts.sampleRate);
    if (entry == QStringLiteral("stream=bits_per_sample")) return QString::number(facts.bitDepth);
    if (entry == QStringLiteral("stream=codec_name")) return facts.codecName;
    if (entry == QStringLiteral("stream=channel_layout")) {
        return facts.channelLayout.isEmpty() ? QStringLiteral("unknown") : facts.channelLayout;
    }
    return std::nullopt;
}

} // namespace

QString ffprobeValue(const QString& ffprobePath, const QString& url, const QString& entry, FFProbeStreams streams,
                     EngineChoice engine) {
    const auto facts = engine == EngineChoice::direct ? factsOfWave(url) : std::nullopt;
    if (const auto own = facts ? valueOf(*facts, entry) : std::nullopt) return *own;
    QStringList arguments{QStringLiteral("-v"), QStringLiteral("error")};
    if (streams == FFProbeStreams::firstAudio) arguments << QStringLiteral("-select_streams") << QStringLiteral("a:0");
    arguments << QStringLiteral("-show_entries") << entry << QStringLiteral("-of") << QStringLiteral("csv=p=0") << url;
    const ProcessResult result = ChildProcess::runForResult(ffprobePath, arguments, limitsByFileSize({url}));
    return result.succeeded() ? result.outputText().trimmed() : QString();
}

} // namespace ostrel
