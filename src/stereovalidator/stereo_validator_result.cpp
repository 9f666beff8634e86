#include "stereovalidator/stereo_validator_result.h"

#include "platform/text/text.h"
#include "stereovalidator/evidence/evidence_document.h"

#include <cmath>
#include <nlohmann/json.hpp>

namespace ostrel {
namespace {

// Channels of opposite polarity: hardly any mid is left, so side power stands far above it.
bool isAntiPhase(const StereoValidatorResult& result) {
    return result.correlation < -0.9 && result.midSideRatio > 1000.0;
}

QString textAt(const nlohmann::json& json, const char* key) {
    return QString::fromStdString(json.at(key).get<std::string>());
}

} // namespace

QString StereoValidatorResult::formattedDuration() const {
    const auto seconds = static_cast<qint64>(durationSeconds);
    return QStringLiteral("%1:%2").arg(seconds / 60).arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

QString StereoValidatorResult::formattedMidSideRatio() const {
    return isAntiPhase(*this) ? QStringLiteral("Mid≈0 (Anti-Phase)") : fixed(midSideRatio, 4);
}

QString StereoValidatorResult::trustText() const { return trust ? displayName(*trust) : QString(); }

QString StereoValidatorResult::smartDisplayName() const {
    if (classification == StereoClassification::broken && isAntiPhase(*this) && std::abs(lagMs) < 1.0) {
        return QStringLiteral("Broken: Polarity-Inverted Dual Mono (Will Null in Mono)");
    }
    return displayName(classification);
}

void to_json(nlohmann::json& json, const StereoValidatorResult& result) {
    json = {
        {"id", result.id.toString(QUuid::WithoutBraces).toUpper().toStdString()},
        {"filepath", result.filepath.toStdString()},
        {"classification", rawText(result.classification).toStdString()},
        {"correlation", result.correlation},
        {"confidence", result.confidence},
        {"lagMs", result.lagMs},
        {"midSideRatio", result.midSideRatio},
        {"rmsDiff", result.rmsDiff},
        {"durationSeconds", result.durationSeconds},
        {"sampleRate", result.sampleRate},
        {"bitDepth", result.bitDepth},
    };
    if (result.trust) {
        json["trust"] = rawText(*result.trust).toStdString();
        nlohmann::json& why = json["why"] = nlohmann::json::array();
        for (const QString& sentence : result.why) why.push_back(sentence.toStdString());
    }
    if (result.evidence) json["evidence"] = *result.evidence;
    if (!result.error.isEmpty()) json["error"] = result.error.toStdString();
}

void from_json(const nlohmann::json& json, StereoValidatorResult& result) {
    const QString classification = textAt(json, "classification");
    const auto known = stereoClassification(classification);
    if (!known) {
        throw nlohmann::json::out_of_range::create(403, "classification '" + classification.toStdString() + "' unknown",
                                                   &json);
    }
    result.id = QUuid::fromString(textAt(json, "id"));
    result.filepath = textAt(json, "filepath");
    result.classification = *known;
    json.at("correlation").get_to(result.correlation);
    json.at("confidence").get_to(result.confidence);
    json.at("lagMs").get_to(result.lagMs);
    json.at("midSideRatio").get_to(result.midSideRatio);
    json.at("rmsDiff").get_to(result.rmsDiff);
    json.at("durationSeconds").get_to(result.durationSeconds);
    json.at("sampleRate").get_to(result.sampleRate);
    json.at("bitDepth").get_to(result.bitDepth);
    result.trust = json.contains("trust") ? trustOf(textAt(json, "trust")) : std::nullopt;
    result.why.clear();
    for (const nlohmann::json& sentence : json.value("why", nlohmann::json::array())) {
        result.why << QString::fromStdString(sentence.get<std::string>());
    }
    result.evidence = json.contains("evidence")
                          ? std::make_shared<const StereoEvidence>(json.at("evidence").get<StereoEvidence>())
                          : nullptr;
    result.error = json.contains("error") ? textAt(json, "error") : QString();
}

} // namespace ostrel
