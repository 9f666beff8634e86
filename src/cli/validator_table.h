// The table of an analysis on a terminal.
#pragma once

#include "stereovalidator/stereo_validator_result.h"

#include <QStringList>
#include <vector>

namespace ostrel::cli {

// A heading and one line for every record, in columns. A record with an error shows it in place of the numbers.
QStringList validatorTable(const std::vector<StereoValidatorResult>& results);

} // namespace ostrel::cli
