// Sixty-odd recordings that a person could meet, as signals, with what a person would say of each: the table behind the
// test of verdicts and behind docs/verdicts.md.
#pragma once

#include "stereovalidator/stereo_reference.h"
#include "stereovalidator/trust_rules.h"

#include <QString>
#include <vector>

namespace ostrel::testing {

struct Situation {
    const char* name;
    const char* personSays;
    StereoClassification classification; // by the rules alone
    Trust trust;
    bool isRight;    // the classification is what a person would say
    bool isPlain;    // nothing odd about it: must not be unsure
    const char* why; // a part of the sentences; empty: none is asked for
    double seconds;
    StereoSignal signal;
    const char* leftName = "";
    const char* rightName = "";
    bool isMono = false;
};

const std::vector<Situation>& situations();

// Writes it into the folder, with the names of its tracks, and gives the path.
QString writeSituation(const Situation& situation, const QString& folder);

} // namespace ostrel::testing
