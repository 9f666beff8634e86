#include "foundation/records/container_kind.h"

#include <array>

namespace ostrel {
namespace {

struct KindWords {
    const char* raw;
    const char* display;
    const char* report;
};

// In the order of the enumeration.
constexpr std::array<KindWords, 10> kKindWords{{
    {"riffWave", "WAV", "WAV"},
    {"rf64Wave", "RF64", "RF64"},
    {"wave64", "WAVE64", "WAVE64"},
    {"aiff", "AIFF", "AIFF"},
    {"caf", "CAF", "CAF"},
    {"mp4", "M4A", "MP4"},
    {"flac", "FLAC", "FLAC"},
    {"ogg", "OGG", "OGG"},
    {"mp3", "MP3", "MP3"},
    {"unknown", "Unknown", "Unknown"},
}};

const KindWords& words(ContainerKind kind) { return kKindWords[static_cast<std::size_t>(kind)]; }

} // namespace

QString rawText(ContainerKind kind) { return QString::fromLatin1(words(kind).raw); }
QString displayName(ContainerKind kind) { return QString::fromLatin1(words(kind).display); }
QString reportName(ContainerKind kind) { return QString::fromLatin1(words(kind).report); }

QString rawText(MetadataTier tier) {
    switch (tier) {
    case MetadataTier::bwfGuaranteed: return QStringLiteral("bwfGuaranteed");
    case MetadataTier::bestEffort: return QStringLiteral("bestEffort");
    case MetadataTier::none: break;
    }
    return QStringLiteral("none");
}

QString reportName(MetadataTier tier) {
    switch (tier) {
    case MetadataTier::bwfGuaranteed: return QStringLiteral("BWF Guaranteed");
    case MetadataTier::bestEffort: return QStringLiteral("Best-effort metadata");
    case MetadataTier::none: break;
    }
    return QStringLiteral("No metadata");
}

} // namespace ostrel
