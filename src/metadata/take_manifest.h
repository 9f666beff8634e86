// What Poly Tools keep of a take under its scene and take, apart from any file name.
#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>
#include <optional>
#include <vector>

namespace ostrel {

struct SceneTakeInfo {
    QString project; // optional
    QString scene;
    QString take;
    QString tape; // optional

    bool operator==(const SceneTakeInfo&) const = default;

    // "{project}_{scene}_T{take}", or "{scene}_T{take}" without a project.
    QString manifestKey() const;
};

struct TimecodeInfo {
    quint64 samplesSinceMidnight = 0;
    int sampleRate = 48000; // Hz
    QString timecodeRate;
    QString timecodeFlag;

    bool operator==(const TimecodeInfo&) const = default;
};

struct TakeManifest {
    SceneTakeInfo sceneInfo;
    QStringList trackNames;
    std::optional<std::vector<int>> trackOrder; // 0, 1, 2 ... where absent
    std::optional<TimecodeInfo> timecode;
    QMap<QString, QString> additionalMetadata;

    // Pretty-printed, keys sorted; `createdAt` is ISO 8601 text.
    QByteArray toJson(const QString& createdAt) const;
};

// `{caches}/Ostrel/manifests_v2`, not created here.
QString takeManifestCacheFolder();

} // namespace ostrel
