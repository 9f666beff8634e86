// What a job proved of the files that it made: each of their channels, read back from the disk, against the channel of
// the source that it was made of.
#pragma once

#include <QString>
#include <QStringList>
#include <vector>

namespace ostrel {

// From best to worst, so that of several the greater counts.
// `unproven`: it may well be the same, and can't be told; the reasons say why.
enum class ProofFinding { identical, unproven, differs };
QString caseName(ProofFinding finding);   // "identical", for documents
QString reportName(ProofFinding finding); // "Identical", for reports

struct ChannelProof {
    QString output;        // the file under the name that it gets
    int outputChannel = 0; // 0-based
    QString source;
    int sourceChannel = 0; // 0-based; below 0: a mix of all of them
    ProofFinding finding = ProofFinding::identical;
    QString hash;   // XXH128 of the channel's bytes, equal on both sides; empty where samples were compared as numbers
    QString reason; // why it is not identical, without the files' folders; empty: it is

    bool operator==(const ChannelProof&) const = default;
};

struct ProofRecord {
    std::vector<ChannelProof> channels;

    bool operator==(const ProofRecord&) const = default;

    // Of the worst channel. A record without any proves nothing.
    ProofFinding audio() const;
    bool differs() const { return audio() == ProofFinding::differs; }
    // Each reason once.
    QStringList reasons() const;
    // For a log, whatever was found: "Proof: identical, 2 channels read back from the disk".
    QString sentence() const;
    // Why the item fails; only where it differs.
    QString failure() const;

    // Of an item whose files are proven one by one.
    ProofRecord with(const ProofRecord& other) const;
};

} // namespace ostrel
