#include "foundation/records/proof_record.h"

#include "platform/text/text.h"

#include <algorithm>
#include <array>

namespace ostrel {
namespace {

struct FindingWords {
    const char* caseName;
    const char* report;
};

// In the order of ProofFinding.
constexpr std::array<FindingWords, 3> kFindingWords{
    {{"identical", "Identical"}, {"unproven", "Unproven"}, {"differs", "Differs"}}};

const FindingWords& wordsOf(ProofFinding finding) { return kFindingWords[static_cast<std::size_t>(finding)]; }

QStringList reasonsOf(const std::vector<ChannelProof>& channels, ProofFinding finding) {
    QStringList reasons;
    for (const ChannelProof& channel : channels) {
        if (channel.finding == finding && !reasons.contains(channel.reason)) reasons << channel.reason;
    }
    return reasons;
}

} // namespace

QString caseName(ProofFinding finding) { return QString::fromLatin1(wordsOf(finding).caseName); }
QString reportName(ProofFinding finding) { return QString::fromLatin1(wordsOf(finding).report); }

ProofFinding ProofRecord::audio() const {
    if (channels.empty()) return ProofFinding::unproven;
    return std::ranges::max(channels, {}, &ChannelProof::finding).finding;
}

QStringList ProofRecord::reasons() const {
    return reasonsOf(channels, ProofFinding::differs) + reasonsOf(channels, ProofFinding::unproven);
}

QString ProofRecord::sentence() const {
    if (channels.empty()) return QStringLiteral("Proof: unproven - nothing was compared");
    if (audio() != ProofFinding::identical) {
        return QStringLiteral("Proof: %1 - %2").arg(caseName(audio()), reasons().join(QStringLiteral("; ")));
    }
    const auto count = static_cast<qsizetype>(channels.size());
    return QStringLiteral("Proof: identical, %1 %2 read back from the disk").arg(count).arg(plural("channel", count));
}

QString ProofRecord::failure() const {
    return QStringLiteral("The proof failed and the new file was not kept: ") +
           reasonsOf(channels, ProofFinding::differs).join(QStringLiteral("; "));
}

ProofRecord ProofRecord::with(const ProofRecord& other) const {
    ProofRecord both = *this;
    both.channels.insert(both.channels.end(), other.channels.begin(), other.channels.end());
    return both;
}

} // namespace ostrel
