// How far a verdict can be trusted, and why: the classification beside what the evidence and the recorder say. Pure
// functions; all thresholds stand in one record.
#pragma once

#include "stereovalidator/evidence/stereo_evidence.h"
#include "stereovalidator/recorded_pair.h"
#include "stereovalidator/stereo_classification.h"

#include <QString>
#include <QStringList>
#include <array>
#include <optional>

namespace ostrel {

enum class Trust { sure, likely, unsure };
inline constexpr std::array kAllTrusts{Trust::sure, Trust::likely, Trust::unsure};
QString rawText(Trust trust);     // "sure"
QString displayName(Trust trust); // "Sure"
std::optional<Trust> trustOf(const QString& rawText);

struct TrustThresholds {
    double sameResidualDb = -50;      // the channels are one signal: what is left over, relative to the louder one,
    double sameShareDb = -36;         // and to the quieter one
    double differentResidualDb = -40; // they are not
    double balanceSpreadDb = 1;       // between windows: the balance was changed
    double deadSeconds = 1;           // a channel without sound while the other goes on
    double deadShare = 0.1;           // of the file
    double plainGainDb = 8;           // a difference of level beyond this was meant, most likely
    double crosstalkDb = 20;          // the same signal so much lower is no second channel
    double sameDelayed = 0.9;         // correlation of one signal that is delayed
    double sameAbove = 0.995;         // correlation above 120 Hz of one signal
    double oppositeAbove = -0.9;      // and of one that is inverted
    double leastUpperShare = 2e-3;    // of the energy, above 120 Hz: with less there is nothing to compare
    double mostlyMono = 0.5;          // of the energy, in windows that change: stereo has more
    double sometimesMono = 0.9;
    double steadyCorrelation = 0.8; // near mono falls no lower
    double relatedShare = 0.1;      // of the energy, in either polarity: M/S has both
    double movingDb = 20;           // between windows: two microphones rather than one pair
    double soundDbfs = -60;         // in a channel, or a file, that is called silent
    double soundDistanceDb = 40;    // to the other channel: what is quieter is crosstalk or noise
    double clickPeak = 0.03;        // magnitude
    double silentPeak = 0.001;
    double notableDc = 0.01;
};

struct Verdict {
    Trust trust = Trust::sure;
    QStringList why; // sentences, with places; may be empty for what is sure

    bool operator==(const Verdict&) const = default;
};

Verdict judge(StereoClassification classification, const StereoEvidence& evidence, const RecordedPair& pair,
              const TrustThresholds& thresholds = {});

// True: the left one. The channel without clipping and dropouts, or with less of them; the left one where both are the
// same. For one signal in both channels.
bool isLeftTheCleanerChannel(const StereoEvidence& evidence);

} // namespace ostrel
