// The rules that protect a sound library: which files may become part of an L/R merge.
#pragma once

#include "foundation/records/interleave_group.h"

#include <QString>
#include <QStringList>
#include <optional>
#include <utility>
#include <vector>

namespace ostrel {

struct LibrarySafetyConstants {
    static const std::vector<std::pair<QString, QString>>& allowedLRPatterns(); // left and right suffix of a stem
    static const QStringList& surroundTokens();
    static const QStringList& ambisonicsTokens();

    struct TaggedName {
        QString baseName;
        QString channelTag; // "L" or "R", whatever the case in the name
    };
    // "Rain_L.wav" -> "Rain", "L"; nothing for a name without such a suffix.
    static std::optional<TaggedName> extractBaseName(const QString& fileName);
};

// What a bag of files with one base name amounts to.
struct SiblingAnalysis {
    enum class Kind { eligibleLRPair, protectedSurround, protectedAmbisonics, incomplete, notLR };

    Kind kind = Kind::notLR;
    QString leftURL;
    QString rightURL;
    QString baseName;
    QString reason;
    int fileCount = 0;

    bool operator==(const SiblingAnalysis&) const = default;

    static SiblingAnalysis eligibleLRPair(const QString& left, const QString& right, const QString& base) {
        return {Kind::eligibleLRPair, left, right, base};
    }
    static SiblingAnalysis incomplete(const QString& reason, int files) {
        return {Kind::incomplete, {}, {}, {}, reason, files};
    }
    static SiblingAnalysis notLR(const QString& reason) { return {Kind::notLR, {}, {}, {}, reason}; }
};

SiblingAnalysis analyzeSiblings(const QStringList& files);

// The counts of a finished L/R scan.
struct LRScanSummary {
    int readyPairs = 0;
    int protectedSurround = 0;
    int protectedAmbisonics = 0;
    int incomplete = 0;
    int notLR = 0;
    int sampleRateMismatches = 0;
    int bitDepthMismatches = 0;
    int durationMismatches = 0;
    int total = 0;

    int mismatches() const { return sampleRateMismatches + bitDepthMismatches + durationMismatches; }

    static LRScanSummary generate(const std::vector<InterleaveGroup>& groups);
};

} // namespace ostrel
