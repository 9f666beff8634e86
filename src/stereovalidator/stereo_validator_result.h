// The record of one analysed file. NativeStereoAnalyzer makes it; every number in it is finite.
#pragma once

#include "foundation/records/item_outcome.h"
#include "platform/files/file_stamp.h"
#include "stereovalidator/stereo_classification.h"
#include "stereovalidator/trust_rules.h"

#include <QString>
#include <QStringList>
#include <QUuid>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>

namespace ostrel {

struct StereoValidatorResult {
    QUuid id = QUuid::createUuid();
    QString filepath;
    StereoClassification classification = StereoClassification::unsupported;
    double correlation = 0;  // median of the windows' Pearson correlations, -1 to 1
    double confidence = 0;   // 0 to 100
    double lagMs = 0;        // between the channels
    double midSideRatio = 0; // median of side power over mid power
    double rmsDiff = 0;      // median RMS of left minus right
    double durationSeconds = 0;
    int sampleRate = 0; // Hz
    int bitDepth = 0;   // of the samples as they were read: 32 for every file that could be opened
    QString error;      // empty: none
    // Where evidence was asked for: how far to trust the classification, the sentences that say why, and the measures
    // behind them (of two channels only).
    std::optional<Trust> trust;
    QStringList why;
    std::shared_ptr<const StereoEvidence> evidence;
    // Of this run of the program, and in no document.
    std::optional<FileStamp> stamp;     // the file ahead of its analysis
    std::optional<ItemOutcome> outcome; // of the last Clean & Export that took it

    bool operator==(const StereoValidatorResult&) const = default;

    QString formattedDuration() const;     // "62:05": minutes go on counting past the hour
    QString formattedMidSideRatio() const; // four digits, or the word for channels that cancel each other
    QString trustText() const;             // "Sure"; empty where nobody asked
    QString smartDisplayName() const;      // the classification's word, or what exactly is broken
};

// The record's own keys; "error" only where there is one, "trust" and "why" where evidence was asked for, "evidence"
// for two channels (see evidence_document.h).
void to_json(nlohmann::json& json, const StereoValidatorResult& result);
// Throws nlohmann's exceptions for a missing key or a wrong type, its out_of_range for an unknown classification.
void from_json(const nlohmann::json& json, StereoValidatorResult& result);

} // namespace ostrel
