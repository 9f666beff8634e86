#include "metadata/asset_descriptor.h"

#include "platform/paths.h"

#include <QFile>
#include <map>
#include <optional>

namespace ostrel {
namespace {

constexpr qint64 kSniffedBytes = 12;

std::optional<ContainerKind> kindOfHeader(const QByteArray& header) {
    const bool isWave = header.mid(8, 4) == "WAVE";
    const QByteArray form = header.mid(8, 4);
    if (header.startsWith("FORM") && (form == "AIFF" || form == "AIFC")) return ContainerKind::aiff;
    if (header.startsWith("ID3")) return ContainerKind::mp3;
    if (header.startsWith("OggS")) return ContainerKind::ogg;
    if (header.startsWith("RF64") && isWave) return ContainerKind::rf64Wave;
    if (header.startsWith("RIFF") && isWave) return ContainerKind::riffWave;
    if (header.startsWith("caff")) return ContainerKind::caf;
    if (header.startsWith("fLaC")) return ContainerKind::flac;
    // An MPEG audio frame begins with eleven set bits.
    if (static_cast<unsigned char>(header[0]) == 0xFF && static_cast<unsigned char>(header[1]) >= 0xE0) {
        return ContainerKind::mp3;
    }
    if (header.mid(4, 4) == "ftyp") return ContainerKind::mp4;
    return std::nullopt;
}

} // namespace

QString AssetDescriptorError::errorDescription() const {
    switch (kind) {
    case Kind::cannotReadFile: return QStringLiteral("Cannot read file");
    case Kind::invalidHeader: return QStringLiteral("Invalid file header");
    case Kind::unsupportedFormat: break;
    }
    return QStringLiteral("Unsupported audio format");
}

AssetClass AssetDescriptorBuilder::quickClassify(const QString& url) {
    AssetClass result;
    try {
        result.containerKind = sniffContainer(url);
    } catch (const AssetDescriptorError&) {
        result.containerKind = containerFromExtension(url);
    }
    const bool isWave =
        result.containerKind == ContainerKind::riffWave || result.containerKind == ContainerKind::rf64Wave;
    result.metadataTier = isWave ? MetadataTier::bwfGuaranteed : MetadataTier::bestEffort;
    return result;
}

ContainerKind AssetDescriptorBuilder::sniffContainer(const QString& url) {
    QFile file(url);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        throw AssetDescriptorError(AssetDescriptorError::Kind::cannotReadFile);
    }
    const QByteArray header = file.read(kSniffedBytes);
    if (header.size() < kSniffedBytes) throw AssetDescriptorError(AssetDescriptorError::Kind::invalidHeader);
    return kindOfHeader(header).value_or(containerFromExtension(url));
}

ContainerKind AssetDescriptorBuilder::containerFromExtension(const QString& url) {
    static const std::map<QString, ContainerKind> kinds{
        {QStringLiteral("wav"), ContainerKind::riffWave}, {QStringLiteral("aif"), ContainerKind::aiff},
        {QStringLiteral("aiff"), ContainerKind::aiff},    {QStringLiteral("aifc"), ContainerKind::aiff},
        {QStringLiteral("caf"), ContainerKind::caf},      {QStringLiteral("mp3"), ContainerKind::mp3},
        {QStringLiteral("flac"), ContainerKind::flac},    {QStringLiteral("ogg"), ContainerKind::ogg},
        {QStringLiteral("m4a"), ContainerKind::mp4},      {QStringLiteral("mp4"), ContainerKind::mp4}};
    const auto found = kinds.find(paths::lowerExtension(url));
    return found == kinds.end() ? ContainerKind::unknown : found->second;
}

} // namespace ostrel
