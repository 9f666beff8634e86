// Whatever ffprobe may print: a record or a typed error, and both readers of the document agree.
#include "foundation/tools/ffprobe_parser.h"

#include <cmath>
#include <cstdlib>
#include <optional>

namespace {

template <class Read>
auto attempt(Read read, std::optional<ostrel::FFProbeError::Kind>& error) -> std::optional<decltype(read())> {
    try {
        return read();
    } catch (const ostrel::FFProbeError& thrown) {
        error = thrown.kind;
        return std::nullopt;
    }
}

void require(bool condition) {
    if (!condition) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray json(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    std::optional<ostrel::FFProbeError::Kind> infoError;
    std::optional<ostrel::FFProbeError::Kind> analysisError;
    const auto info = attempt([&] { return ostrel::FFProbeParser::parseJSON(json); }, infoError);
    const auto analysis = attempt([&] { return ostrel::FFProbeParser::parseAnalysisJSON(json); }, analysisError);
    require(infoError == analysisError);
    if (!info) return 0;
    require(std::isfinite(info->duration));
    require(info->sampleRate == analysis->sampleRate && info->channels == analysis->channels);
    require(info->effectiveBitDepth() == analysis->effectiveBitDepth());
    require(info->effectiveBitDepth().value_or(1) > 0);
    return 0;
}
