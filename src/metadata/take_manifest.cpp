#include "metadata/take_manifest.h"

#include "metadata/json_fields.h"
#include "platform/files/standard_folders.h"
#include "platform/paths.h"

namespace ostrel {
namespace {

Json listOf(const QStringList& texts) {
    Json list = Json::array();
    for (const QString& text : texts) list.push_back(text.toStdString());
    return list;
}

Json trackOrderOf(const TakeManifest& manifest) {
    Json list = Json::array();
    if (manifest.trackOrder) {
        for (const int index : *manifest.trackOrder) list.push_back(index);
    } else {
        for (int index = 0; index < manifest.trackNames.size(); ++index) list.push_back(index);
    }
    return list;
}

Json mapOf(const QMap<QString, QString>& texts) {
    Json map = Json::object();
    for (auto entry = texts.begin(); entry != texts.end(); ++entry) {
        map[entry.key().toStdString()] = entry.value().toStdString();
    }
    return map;
}

} // namespace

QString SceneTakeInfo::manifestKey() const {
    const QString sceneAndTake = QStringLiteral("%1_T%2").arg(scene, take);
    return project.isEmpty() ? sceneAndTake : QStringLiteral("%1_%2").arg(project, sceneAndTake);
}

QByteArray TakeManifest::toJson(const QString& createdAt) const {
    const TimecodeInfo time = timecode.value_or(TimecodeInfo());
    return JsonFields()
        .put("scene", sceneInfo.scene)
        .put("take", sceneInfo.take)
        .put("project", sceneInfo.project)
        .put("tape", sceneInfo.tape)
        .put("track_names", listOf(trackNames))
        .put("track_order", trackOrderOf(*this))
        .put("timecode_samples", time.samplesSinceMidnight)
        .put("timecode_rate", time.timecodeRate)
        .put("timecode_flag", time.timecodeFlag)
        .put("sample_rate", time.sampleRate)
        .put("metadata", mapOf(additionalMetadata))
        .put("created_at", createdAt)
        .pretty();
}

QString takeManifestCacheFolder() { return paths::append(cacheFolder(), QStringLiteral("manifests_v2")); }

} // namespace ostrel
