#include "stereovalidator/evidence/evidence_document.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace ostrel {
namespace {

template <class Evidence, class Visit>
void visitFields(Evidence& evidence, Visit visit) {
    visit("seconds", evidence.seconds);
    visit("windows", evidence.windows);
    visit("activeWindows", evidence.activeWindows);
    visit("isShort", evidence.isShort);
    visit("floorDbfs", evidence.floorDbfs);
    visit("loudDbfs", evidence.loudDbfs);
    visit("lowestCorrelation", evidence.lowestCorrelation);
    visit("highestCorrelation", evidence.highestCorrelation);
    visit("changingShare", evidence.changingShare);
    visit("positiveShare", evidence.positiveShare);
    visit("negativeShare", evidence.negativeShare);
    visit("balanceDb", evidence.balanceDb);
    visit("balanceSpreadDb", evidence.balanceSpreadDb);
    visit("balanceStart", evidence.balanceStart);
    visit("sideDb", evidence.sideDb);
    visit("upperCorrelation", evidence.upperCorrelation);
    visit("upperShare", evidence.upperShare);
    visit("oppositeBelowHz", evidence.oppositeBelowHz);
    visit("lagMs", evidence.lagMs);
    visit("lagCorrelation", evidence.lagCorrelation);
    visit("residualDb", evidence.residualDb);
    visit("residualDbfs", evidence.residualDbfs);
    visit("residualShare", evidence.residualShare);
    visit("cellSeconds", evidence.cellSeconds);
}

template <class Channel, class Visit>
void visitChannel(Channel& channel, Visit visit) {
    visit("peak", channel.peak);
    visit("dc", channel.dc);
    visit("clippedRuns", channel.clippedRuns);
    visit("firstClip", channel.firstClip);
    visit("dropouts", channel.dropouts);
    visit("loudestDbfs", channel.loudestDbfs);
    visit("loudestStart", channel.loudestStart);
}

template <class Visit>
void visitRows(Visit visit) {
    visit("correlation", &StripCell::correlation);
    visit("left", &StripCell::left);
    visit("right", &StripCell::right);
    visit("side", &StripCell::side);
    visit("residual", &StripCell::residual);
}

nlohmann::json document(const Stretch& stretch) { return {{"start", stretch.start}, {"length", stretch.length}}; }

Stretch stretchOf(const nlohmann::json& json) {
    return {json.at("start").get<double>(), json.at("length").get<double>()};
}

nlohmann::json document(const ChannelEvidence& channel) {
    nlohmann::json json{{"longestDropout", document(channel.longestDropout)}, {"dead", document(channel.dead)}};
    visitChannel(channel, [&](const char* key, const auto& value) { json[key] = value; });
    return json;
}

} // namespace

void to_json(nlohmann::json& json, const StereoEvidence& evidence) {
    json = {{"worst", document(evidence.worst)},
            {"left", document(evidence.channels[0])},
            {"right", document(evidence.channels[1])}};
    visitFields(evidence, [&](const char* key, const auto& value) { json[key] = value; });
    nlohmann::json& strip = json["strip"];
    visitRows([&](const char* key, auto member) {
        nlohmann::json& row = strip[key] = nlohmann::json::array();
        for (const StripCell& cell : evidence.strip) row.push_back(static_cast<int>(cell.*member));
    });
}

void from_json(const nlohmann::json& json, StereoEvidence& evidence) {
    visitFields(evidence, [&](const char* key, auto& value) { json.at(key).get_to(value); });
    evidence.worst = stretchOf(json.at("worst"));
    const std::array keys{"left", "right"};
    for (std::size_t i = 0; i < 2; ++i) {
        const nlohmann::json& channel = json.at(keys[i]);
        visitChannel(evidence.channels[i], [&](const char* key, auto& value) { channel.at(key).get_to(value); });
        evidence.channels[i].longestDropout = stretchOf(channel.at("longestDropout"));
        evidence.channels[i].dead = stretchOf(channel.at("dead"));
    }
    const nlohmann::json& strip = json.at("strip");
    evidence.strip.assign(strip.at("correlation").size(), {});
    visitRows([&](const char* key, auto member) {
        const nlohmann::json& row = strip.at(key);
        for (std::size_t i = 0; i < evidence.strip.size(); ++i) {
            auto& field = evidence.strip[i].*member;
            field = static_cast<std::remove_reference_t<decltype(field)>>(row.at(i).get<int>());
        }
    });
}

} // namespace ostrel
