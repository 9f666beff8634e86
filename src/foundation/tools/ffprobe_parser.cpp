#include "foundation/tools/ffprobe_parser.h"

#include "platform/text/text.h"

#include <QFileInfo>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>

namespace ostrel {
namespace {

using Json = nlohmann::json;

QByteArray runFFProbe(SourceAnswers& answers, const QString& ffprobePath, const QString& streamEntries,
                      const QString& path) {
    const QStringList arguments{
        QStringLiteral("-v"),  QStringLiteral("error"),         QStringLiteral("-show_entries"),
        streamEntries,         QStringLiteral("-show_entries"), QStringLiteral("format=duration"),
        QStringLiteral("-of"), QStringLiteral("json")};
    try {
        ProcessResult result = answers.printed(ffprobePath, arguments, path);
        if (result.succeeded()) return result.standardOutput;
        throw FFProbeError(FFProbeError::Kind::probeFailure,
                           result.errorText(QStringLiteral("Unknown error")).trimmed());
    } catch (const ProcessLaunchError& error) {
        throw FFProbeError(FFProbeError::Kind::processLaunchFailure,
                           QStringLiteral("Could not start ffprobe: %1").arg(error.description));
    }
}

const Json* member(const Json& object, const char* key) {
    const auto found = object.find(key);
    return found == object.end() ? nullptr : &*found;
}

QString textOrEmpty(const Json& object, const char* key) {
    const Json* value = member(object, key);
    return value && value->is_string() ? QString::fromStdString(value->get<std::string>()) : QString();
}

// A number of any kind as an int; nothing where it doesn't fit one.
std::optional<int> number(const Json* value) {
    if (!value || !value->is_number()) return std::nullopt;
    const double real = value->get<double>();
    if (!(std::abs(real) <= std::numeric_limits<int>::max())) return std::nullopt;
    return static_cast<int>(real);
}

std::optional<int> textOrNumber(const Json* value) {
    if (value && value->is_string()) {
        bool isNumber = false;
        const int parsed = QString::fromStdString(value->get<std::string>()).trimmed().toInt(&isNumber);
        return isNumber ? std::optional(parsed) : std::nullopt;
    }
    return number(value);
}

std::optional<double> seconds(const Json* value, bool numberAllowed) {
    double result = 0;
    bool known = false;
    if (value && value->is_string()) result = QString::fromStdString(value->get<std::string>()).toDouble(&known);
    if (value && numberAllowed && value->is_number()) {
        result = value->get<double>();
        known = true;
    }
    return known && std::isfinite(result) ? std::optional(result) : std::nullopt;
}

std::optional<double> findDuration(const Json& document, const Json& stream) {
    if (const Json* format = member(document, "format"); format && format->is_object()) {
        if (const auto found = seconds(member(*format, "duration"), true)) return found;
    }
    return seconds(member(stream, "duration"), false);
}

// The document and the facts that both records share.
struct Parsed {
    Json document;
    Json stream;
    AudioFileInfo info;
};

Parsed parse(const QByteArray& json) {
    Parsed result;
    result.document = Json::parse(json.begin(), json.end(), nullptr, false);
    if (!result.document.is_object()) throw FFProbeError(FFProbeError::Kind::invalidJSON);
    const Json* streams = member(result.document, "streams");
    if (!streams || !streams->is_array() || streams->empty() || !streams->front().is_object()) {
        throw FFProbeError(FFProbeError::Kind::noAudioStream);
    }
    result.stream = streams->front();
    const Json& stream = result.stream;
    AudioFileInfo& info = result.info;

    const std::optional<int> rate = textOrNumber(member(stream, "sample_rate"));
    if (!rate) throw FFProbeError(FFProbeError::Kind::missingSampleRate);
    info.sampleRate = *rate;
    info.bitDepth = number(member(stream, "bits_per_sample")).value_or(0);
    info.bitsPerRawSample = textOrNumber(member(stream, "bits_per_raw_sample"));
    if (info.bitsPerRawSample.value_or(0) <= 0) info.bitsPerRawSample.reset();
    info.sampleFmt = textOrEmpty(stream, "sample_fmt");
    const std::optional<int> channels = number(member(stream, "channels"));
    if (!channels) throw FFProbeError(FFProbeError::Kind::missingChannels);
    info.channels = *channels;
    const std::optional<double> duration = findDuration(result.document, stream);
    if (!duration) throw FFProbeError(FFProbeError::Kind::missingDuration);
    info.duration = *duration;
    info.codec = textOrEmpty(stream, "codec_name");
    return result;
}

} // namespace

std::optional<int> AudioFileInfo::effectiveBitDepth() const {
    static const QStringList lossy{QStringLiteral("mp3"), QStringLiteral("aac"), QStringLiteral("opus"),
                                   QStringLiteral("vorbis"), QStringLiteral("ogg")};
    if (lossy.contains(codec.toLower())) return std::nullopt;
    if (bitsPerRawSample.value_or(0) > 0) return bitsPerRawSample;
    if (bitDepth > 0) return bitDepth;
    static const std::map<QString, int> depths{
        {QStringLiteral("u8"), 8},    {QStringLiteral("u8p"), 8},   {QStringLiteral("s16"), 16},
        {QStringLiteral("s16p"), 16}, {QStringLiteral("s24"), 24},  {QStringLiteral("s24p"), 24},
        {QStringLiteral("s32"), 32},  {QStringLiteral("s32p"), 32}, {QStringLiteral("flt"), 32},
        {QStringLiteral("fltp"), 32}, {QStringLiteral("dbl"), 64},  {QStringLiteral("dblp"), 64}};
    const auto found = depths.find(sampleFmt.toLower());
    return found == depths.end() ? std::nullopt : std::optional(found->second);
}

std::optional<int> FileAnalysis::effectiveBitDepth() const {
    AudioFileInfo info;
    info.bitDepth = bitDepth;
    info.bitsPerRawSample = bitsPerRawSample;
    info.codec = codecName;
    info.sampleFmt = sampleFmt;
    return info.effectiveBitDepth();
}

FFProbeError::FFProbeError(Kind errorKind, const QString& payload)
    : std::runtime_error("ffprobe"), kind(errorKind), text(payload) {}

QString FFProbeError::errorDescription() const {
    switch (kind) {
    case FFProbeError::Kind::probeFailure: return QStringLiteral("ffprobe failed: ") + text;
    case FFProbeError::Kind::processLaunchFailure: return text;
    case FFProbeError::Kind::invalidJSON: return QStringLiteral("Invalid JSON output from ffprobe");
    case FFProbeError::Kind::noAudioStream: return QStringLiteral("No audio stream found in file");
    case FFProbeError::Kind::missingSampleRate: return QStringLiteral("Could not determine sample rate");
    case FFProbeError::Kind::missingChannels: return QStringLiteral("Could not determine channel count");
    case FFProbeError::Kind::missingDuration: break;
    }
    return QStringLiteral("Could not determine duration");
}

AudioFileInfo FFProbeParser::probe(const QString& fileURL) const {
    SourceAnswers once;
    return parseJSON(runFFProbe(once, ffprobePath_,
                                QStringLiteral("stream=sample_rate,bits_per_sample,bits_per_raw_sample,channels,"
                                               "codec_name,sample_fmt"),
                                fileURL));
}

QMap<QString, AudioFileInfo> FFProbeParser::probe(const QStringList& fileURLs) const {
    QMap<QString, AudioFileInfo> result;
    for (const QString& url : fileURLs) result.insert(url, probe(url));
    return result;
}

FileAnalysis FFProbeParser::analyzeFile(const QString& url, const QString& ffprobePath,
                                        const std::shared_ptr<SourceAnswers>& answers) {
    FileAnalysis result = parseAnalysisJSON(
        runFFProbe(*answers, ffprobePath,
                   QStringLiteral("stream=channels,channel_layout,sample_rate,bits_per_sample,bits_per_raw_sample,"
                                  "codec_name,sample_fmt"),
                   url));
    result.fileSize = static_cast<quint64>(QFileInfo(url).size());
    return result;
}

ProcessingStatus FFProbeParser::validateGroup(const QMap<QString, AudioFileInfo>& infos, double durationTolerance) {
    if (infos.isEmpty()) return ProcessingStatus::failed(QStringLiteral("No files to validate"));
    const AudioFileInfo& reference = infos.first();
    for (const AudioFileInfo& info : infos) {
        if (info.channels != 1) {
            return ProcessingStatus::failed(QStringLiteral("File is not mono (%1 channels)").arg(info.channels));
        }
    }
    const auto differs = [&](auto field) {
        return std::any_of(infos.begin(), infos.end(),
                           [&](const AudioFileInfo& info) { return info.*field != reference.*field; });
    };
    if (differs(&AudioFileInfo::sampleRate)) return ProcessingStatus::mismatchSampleRate();
    if (differs(&AudioFileInfo::bitDepth)) return ProcessingStatus::mismatchBitDepth();
    const auto [shortest, longest] =
        std::minmax_element(infos.begin(), infos.end(),
                            [](const AudioFileInfo& a, const AudioFileInfo& b) { return a.duration < b.duration; });
    if (durationsDiffer(longest->duration, shortest->duration, durationTolerance)) {
        return ProcessingStatus::mismatchDuration(shortest->duration, longest->duration);
    }
    return ProcessingStatus::ready();
}

AudioFileInfo FFProbeParser::parseJSON(const QByteArray& json) { return parse(json).info; }

FileAnalysis FFProbeParser::parseAnalysisJSON(const QByteArray& json) {
    const Parsed parsed = parse(json);
    FileAnalysis result;
    result.channels = parsed.info.channels;
    result.channelLayout = textOrEmpty(parsed.stream, "channel_layout");
    result.sampleRate = parsed.info.sampleRate;
    result.bitDepth = parsed.info.bitDepth;
    result.bitsPerRawSample = parsed.info.bitsPerRawSample;
    result.codecName = parsed.info.codec;
    result.sampleFmt = parsed.info.sampleFmt;
    result.duration = parsed.info.duration;
    return result;
}

bool durationsDiffer(double a, double b, double tolerance) { return std::abs(a - b) > tolerance + 1e-9; }

QString formatSampleRate(int rate) {
    const double kilohertz = rate / 1000.0;
    const double whole = std::round(kilohertz);
    if (std::abs(kilohertz - whole) < 0.0001) return QStringLiteral("%1k").arg(static_cast<int>(whole));
    return fixed(kilohertz, 1) + QLatin1Char('k');
}

} // namespace ostrel
