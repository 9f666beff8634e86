// The CSV report of a Clean & Export run: one row for every analysed file.
#pragma once

#include "stereovalidator/stereo_validator_result.h"

#include <QSet>
#include <QString>
#include <QStringList>
#include <QUuid>
#include <vector>

namespace ostrel {

struct ValidatorReport {
    std::vector<StereoValidatorResult> results;
    QSet<QUuid> converted; // the ids of the results that were
    int successCount = 0;
    int errorCount = 0;
    int totalFiles = 0;  // more than there are results after an analysis that was stopped
    QString source;      // where the files came from, for the report's head
    QString output;      // where the results went, for the report's head
    bool trusts = false; // with the columns Trust and Why, behind the usual ones
    bool proves = false; // with a column of what was proved, behind all others
};

// What became of a result: "Converted to Mono", or why it was left alone. A failed conversion reads "Skipped" (meant).
QString reportAction(const StereoValidatorResult& result, bool converted);

// Writes the report into the folder and gives its path; empty if that failed.
QString writeValidatorReport(const ValidatorReport& report, const QString& folder);

} // namespace ostrel
