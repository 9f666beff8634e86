#include "metadata/metadata_manifest.h"

#include "metadata/json_fields.h"
#include "platform/files/file_name.h"
#include "platform/files/files.h"
#include "platform/files/standard_folders.h"
#include "platform/paths.h"

#include <QFileInfo>

namespace ostrel {
namespace {

// Far above any manifest: the texts in it come from chunks of at most some megabytes.
constexpr qint64 kMostManifestBytes = 64LL << 20;

// Writing atomically puts ".XXXXXX" behind a name for a moment.
constexpr qsizetype kMostCachedNameBytes = kMostNameBytes - 7;

JsonFields encode(const SourceFileInfo& info) {
    return JsonFields()
        .put("path", info.path)
        .put("fileName", info.fileName)
        .putIfAny("fileHash", info.fileHash)
        .putIfAny("fileSize", info.fileSize)
        .put("extractionDate", info.extractionDate);
}

SourceFileInfo decodeSourceFile(const JsonReader& json) {
    return {json.text("path"), json.text("fileName"), json.textIfAny("fileHash"), json.numberIfAny<qint64>("fileSize"),
            json.text("extractionDate")};
}

JsonFields encode(const AudioProperties& audio) {
    return JsonFields()
        .put("sampleRate", audio.sampleRate)
        .put("bitDepth", audio.bitDepth)
        .put("channelCount", audio.channelCount)
        .putIfAny("duration", audio.duration)
        .putIfAny("channelLayout", audio.channelLayout)
        .putIfAny("channelMask", audio.channelMask);
}

AudioProperties decodeAudio(const JsonReader& json) {
    return {json.number<int>("sampleRate"),   json.number<int>("bitDepth"),
            json.number<int>("channelCount"), json.numberIfAny<double>("duration"),
            json.textIfAny("channelLayout"),  json.numberIfAny<quint32>("channelMask")};
}

JsonFields encode(const SoundDevicesTrackMap& track) {
    return JsonFields().put("channelNumber", track.channelNumber).put("trackName", track.trackName);
}

SoundDevicesTrackMap decodeTrackMap(const JsonReader& json) {
    return {json.number<int>("channelNumber"), json.text("trackName")};
}

JsonFields encode(const BEXTMetadata& bext) {
    return JsonFields()
        .putIfAny("description", bext.description)
        .putIfAny("originator", bext.originator)
        .putIfAny("originatorReference", bext.originatorReference)
        .putIfAny("originationDate", bext.originationDate)
        .putIfAny("originationTime", bext.originationTime)
        .putIfAny("timeReference", bext.timeReference)
        .putIfAny("timecode", bext.timecode)
        .putIfAny("version", bext.version)
        .putIfAny("umid", bext.umid)
        .putIfAny("loudnessValue", bext.loudnessValue)
        .putIfAny("loudnessRange", bext.loudnessRange)
        .putIfAny("maxTruePeakLevel", bext.maxTruePeakLevel)
        .putIfAny("maxMomentaryLoudness", bext.maxMomentaryLoudness)
        .putIfAny("maxShortTermLoudness", bext.maxShortTermLoudness)
        .putIfAny("scene", bext.scene)
        .putIfAny("take", bext.take)
        .putIfAny("tape", bext.tape)
        .putIfAny("speed", bext.speed)
        .putIfAny("note", bext.note)
        .putListIfAny("soundDevicesTracks", bext.soundDevicesTracks,
                      [](const SoundDevicesTrackMap& track) { return encode(track); });
}

BEXTMetadata decodeBext(const JsonReader& json) {
    BEXTMetadata bext;
    bext.description = json.textIfAny("description");
    bext.originator = json.textIfAny("originator");
    bext.originatorReference = json.textIfAny("originatorReference");
    bext.originationDate = json.textIfAny("originationDate");
    bext.originationTime = json.textIfAny("originationTime");
    bext.timeReference = json.numberIfAny<quint64>("timeReference");
    bext.timecode = json.textIfAny("timecode");
    bext.version = json.numberIfAny<int>("version");
    bext.umid = json.textIfAny("umid");
    bext.loudnessValue = json.numberIfAny<double>("loudnessValue");
    bext.loudnessRange = json.numberIfAny<double>("loudnessRange");
    bext.maxTruePeakLevel = json.numberIfAny<double>("maxTruePeakLevel");
    bext.maxMomentaryLoudness = json.numberIfAny<double>("maxMomentaryLoudness");
    bext.maxShortTermLoudness = json.numberIfAny<double>("maxShortTermLoudness");
    bext.scene = json.textIfAny("scene");
    bext.take = json.textIfAny("take");
    bext.tape = json.textIfAny("tape");
    bext.speed = json.textIfAny("speed");
    bext.note = json.textIfAny("note");
    bext.soundDevicesTracks = json.listIfAny("soundDevicesTracks", decodeTrackMap);
    return bext;
}

JsonFields encode(const IXMLSpeed& speed) {
    return JsonFields()
        .putIfAny("timecodeRate", speed.timecodeRate)
        .putIfAny("sampleRate", speed.sampleRate)
        .putIfAny("pullUp", speed.pullUp);
}

IXMLSpeed decodeSpeed(const JsonReader& json) {
    return {json.textIfAny("timecodeRate"), json.numberIfAny<int>("sampleRate"), json.textIfAny("pullUp")};
}

JsonFields encode(const IXMLTrack& track) {
    return JsonFields()
        .put("channelIndex", track.channelIndex)
        .put("name", track.name)
        .putIfAny("function", track.function)
        .put("interleaveIndex", track.interleaveIndex);
}

IXMLTrack decodeTrack(const JsonReader& json) {
    return {json.number<int>("channelIndex"), json.text("name"), json.textIfAny("function"),
            json.number<int>("interleaveIndex")};
}

JsonFields encode(const IXMLMetadata& ixml) {
    JsonFields fields = JsonFields()
                            .putIfAny("project", ixml.project)
                            .putIfAny("scene", ixml.scene)
                            .putIfAny("take", ixml.take)
                            .putIfAny("tape", ixml.tape)
                            .putIfAny("note", ixml.note)
                            .putList("trackList", ixml.trackList, [](const IXMLTrack& track) { return encode(track); });
    return ixml.speed ? fields.put("speed", encode(*ixml.speed)) : fields;
}

IXMLMetadata decodeIxml(const JsonReader& json) {
    return {json.textIfAny("project"),
            json.textIfAny("scene"),
            json.textIfAny("take"),
            json.textIfAny("tape"),
            json.textIfAny("note"),
            json.objectIfAny("speed", decodeSpeed),
            json.list("trackList", decodeTrack)};
}

JsonFields encode(const CustomChunk& chunk) {
    return JsonFields().put("id", chunk.id).put("rawDataBase64", chunk.rawDataBase64);
}

CustomChunk decodeCustomChunk(const JsonReader& json) { return {json.text("id"), json.text("rawDataBase64")}; }

JsonFields encode(const RawXml& raw) { return JsonFields().putIfAny("bext", raw.bext).putIfAny("ixml", raw.ixml); }

RawXml decodeRawXml(const JsonReader& json) { return {json.textIfAny("bext"), json.textIfAny("ixml")}; }

} // namespace

QByteArray MetadataManifest::toJson() const {
    JsonFields fields;
    fields.put("version", version)
        .put("sourceFile", encode(sourceFile))
        .put("audioProperties", encode(audioProperties))
        .putListIfAny("customChunks", customChunks, [](const CustomChunk& chunk) { return encode(chunk); });
    if (bext) fields.put("bext", encode(*bext));
    if (ixml) fields.put("ixml", encode(*ixml));
    if (rawXml) fields.put("rawXml", encode(*rawXml));
    return fields.pretty();
}

std::optional<MetadataManifest> MetadataManifest::fromJson(const QByteArray& bytes) {
    try {
        const Json document = Json::parse(bytes.begin(), bytes.end());
        const JsonReader json(document);
        MetadataManifest manifest;
        manifest.version = json.text("version");
        manifest.sourceFile = json.object("sourceFile", decodeSourceFile);
        manifest.audioProperties = json.object("audioProperties", decodeAudio);
        manifest.bext = json.objectIfAny("bext", decodeBext);
        manifest.ixml = json.objectIfAny("ixml", decodeIxml);
        manifest.customChunks = json.listIfAny("customChunks", decodeCustomChunk);
        manifest.rawXml = json.objectIfAny("rawXml", decodeRawXml);
        return manifest;
    } catch (const Json::exception&) {
        return std::nullopt; // not JSON
    } catch (const JsonShapeError&) {
        return std::nullopt; // JSON of another shape
    }
}

std::optional<MetadataManifest> readManifestFile(const QString& path) {
    const QFileInfo info(path);
    if (!info.isFile() || info.size() > kMostManifestBytes) return std::nullopt;
    try {
        return MetadataManifest::fromJson(files::read(path));
    } catch (const FileError&) {
        return std::nullopt; // unreadable counts as absent
    }
}

QString manifestFilename(const QString& url) {
    const QString ending = QStringLiteral(".%1.metadata.json").arg(paths::lowerExtension(url));
    return distinctFileName(paths::stem(url), ending, kMostCachedNameBytes);
}

QString sidecarManifestPath(const QString& url) {
    return paths::append(paths::parent(url), distinctFileName(paths::stem(url), QStringLiteral(".WAV.metadata.json")));
}

QString manifestCacheFolder() { return paths::append(cacheFolder(), QStringLiteral("manifests")); }

} // namespace ostrel
