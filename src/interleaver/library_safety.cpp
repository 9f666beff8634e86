#include "interleaver/library_safety.h"

#include "platform/files/file_name.h"
#include "platform/paths.h"
#include "platform/text/text.h"

#include <QSet>

namespace ostrel {
namespace {

bool endsWithInAnyCase(const QString& stem, const QString& suffix) {
    return stem.endsWith(suffix) || stem.toLower().endsWith(suffix.toLower());
}

std::optional<QString> matchingToken(const QString& tag, const QStringList& tokens) {
    for (const QString& token : tokens) {
        if (tag.toUpper() == token.toUpper()) return token;
    }
    return std::nullopt;
}

// The last gate. Tags of extractBaseName are "L" or "R", so no token can match today; it stands for the day when a
// pattern is added.
std::optional<SiblingAnalysis> protectedBy(const QString& tag) {
    if (const auto token = matchingToken(tag, LibrarySafetyConstants::surroundTokens())) {
        return SiblingAnalysis{SiblingAnalysis::Kind::protectedSurround,
                               {},
                               {},
                               {},
                               QStringLiteral("Contains surround channel: ") + *token,
                               2};
    }
    if (const auto token = matchingToken(tag, LibrarySafetyConstants::ambisonicsTokens())) {
        return SiblingAnalysis{SiblingAnalysis::Kind::protectedAmbisonics,
                               {},
                               {},
                               {},
                               QStringLiteral("Contains ambisonics channel: ") + *token,
                               2};
    }
    return std::nullopt;
}

} // namespace

const std::vector<std::pair<QString, QString>>& LibrarySafetyConstants::allowedLRPatterns() {
    static const std::vector<std::pair<QString, QString>> patterns{{QStringLiteral(".L"), QStringLiteral(".R")},
                                                                   {QStringLiteral("_L"), QStringLiteral("_R")},
                                                                   {QStringLiteral("-L"), QStringLiteral("-R")},
                                                                   {QStringLiteral(" L"), QStringLiteral(" R")}};
    return patterns;
}

const QStringList& LibrarySafetyConstants::surroundTokens() {
    static const QStringList tokens = wordsOf("C FC LFE LF SUB Ls Rs Lb Rb SL SR BL BR LRS RRS LSS RSS");
    return tokens;
}

const QStringList& LibrarySafetyConstants::ambisonicsTokens() {
    static const QStringList tokens = wordsOf("W X Y Z FOA Ambi B-format Bformat");
    return tokens;
}

std::optional<LibrarySafetyConstants::TaggedName> LibrarySafetyConstants::extractBaseName(const QString& fileName) {
    const QString stem = paths::stem(fileName);
    for (const auto& [left, right] : allowedLRPatterns()) {
        if (endsWithInAnyCase(stem, left)) return TaggedName{stem.chopped(left.size()), QStringLiteral("L")};
        if (endsWithInAnyCase(stem, right)) return TaggedName{stem.chopped(right.size()), QStringLiteral("R")};
    }
    return std::nullopt;
}

SiblingAnalysis analyzeSiblings(const QStringList& files) {
    const int count = static_cast<int>(files.size());
    if (count < 2) return SiblingAnalysis::incomplete(QStringLiteral("Only %1 sibling(s)").arg(count), count);
    if (count > 2) return SiblingAnalysis::incomplete(QStringLiteral("Excess siblings"), count);
    QSet<QString> bases;
    QString base; // as the first file writes it
    QMap<QString, QString> byTag;
    for (const QString& file : files) {
        const auto name = LibrarySafetyConstants::extractBaseName(paths::lastComponent(file));
        if (!name) continue;
        bases.insert(composedName(name->baseName));
        if (base.isEmpty()) base = name->baseName;
        byTag.insert(name->channelTag, file);
    }
    const QString left = byTag.value(QStringLiteral("L"));
    const QString right = byTag.value(QStringLiteral("R"));
    if (left.isEmpty() || right.isEmpty()) return SiblingAnalysis::notLR(QStringLiteral("Missing L or R channel"));
    if (bases.size() != 1) return SiblingAnalysis::notLR(QStringLiteral("Base name mismatch"));
    for (auto tag = byTag.keyBegin(); tag != byTag.keyEnd(); ++tag) {
        if (const auto refusal = protectedBy(*tag)) return *refusal;
    }
    return SiblingAnalysis::eligibleLRPair(left, right, base);
}

LRScanSummary LRScanSummary::generate(const std::vector<InterleaveGroup>& groups) {
    using Kind = ProcessingStatus::Kind;
    LRScanSummary summary;
    summary.total = static_cast<int>(groups.size());
    for (const InterleaveGroup& group : groups) {
        switch (group.status.kind) {
        case Kind::readyLRMerge: ++summary.readyPairs; break;
        case Kind::protectedSurround: ++summary.protectedSurround; break;
        case Kind::protectedAmbisonics: ++summary.protectedAmbisonics; break;
        case Kind::incompletePair: ++summary.incomplete; break;
        case Kind::notLRPair: ++summary.notLR; break;
        case Kind::mismatchSampleRate: ++summary.sampleRateMismatches; break;
        case Kind::mismatchBitDepth: ++summary.bitDepthMismatches; break;
        case Kind::mismatchDuration: ++summary.durationMismatches; break;
        default: break;
        }
    }
    return summary;
}

} // namespace ostrel
