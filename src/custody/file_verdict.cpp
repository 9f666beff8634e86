#include "custody/file_verdict.h"

#include <algorithm>

namespace ostrel {
namespace {

QString differenceBySize(const FoundFile& file, const KnownFile& known) {
    if (!known.size || *known.size == file.size) return {};
    return QStringLiteral("it has %1 bytes, and had %2").arg(file.size).arg(*known.size);
}

void setChanged(FileVerdict& verdict, const QString& why) {
    verdict.state = FileState::changed;
    if (verdict.detail.isEmpty()) verdict.detail = why;
}

// Every format that was read and is known counts, and every digest of it.
void compareDigests(const FoundFile& file, const KnownFile& known, FileVerdict& verdict) {
    for (const auto& [format, digest] : file.digests) {
        const auto listed = known.digests.find(format);
        if (listed == known.digests.end()) continue;
        if (!verdict.format || verdict.state == FileState::verified) {
            verdict.format = format;
            verdict.digest = digest;
        }
        if (listed->second.size() > 1) {
            setChanged(verdict, QStringLiteral("the lists contradict each other"));
        } else if (*listed->second.begin() != digest) {
            setChanged(
                verdict,
                QStringLiteral("its %1 was %2").arg(rawText(format), digestText(format, *listed->second.begin())));
        }
    }
}

// A job's change of a recording is written down behind it; anything since then is not.
void noteWhatWasWrittenDown(const FoundFile& file, const KnownFile& known, FileVerdict& verdict) {
    if (verdict.state != FileState::changed) return;
    const bool isWrittenDown = std::any_of(file.digests.begin(), file.digests.end(), [&](const auto& each) {
        const auto failed = known.lastFailed.find(each.first);
        return failed != known.lastFailed.end() && failed->second == each.second;
    });
    if (isWrittenDown) verdict.detail += QStringLiteral("; a later generation tells it as it is now");
}

} // namespace

QString rawText(FileState state) {
    switch (state) {
    case FileState::verified: return QStringLiteral("verified");
    case FileState::changed: return QStringLiteral("changed");
    case FileState::missing: return QStringLiteral("missing");
    case FileState::isNew: return QStringLiteral("new");
    case FileState::unreadable: break;
    }
    return QStringLiteral("unreadable");
}

FileVerdict verdictOf(const FoundFile& file, const KnownFile* known) {
    FileVerdict verdict;
    verdict.path = file.path;
    if (!file.problem.isEmpty()) {
        verdict.state = FileState::unreadable;
        verdict.detail = file.problem;
        return verdict;
    }
    if (!known) {
        verdict.state = FileState::isNew;
        if (!file.digests.empty()) std::tie(verdict.format, verdict.digest) = *file.digests.begin();
        return verdict;
    }
    compareDigests(file, *known, verdict);
    if (const QString difference = differenceBySize(file, *known); !difference.isEmpty()) {
        setChanged(verdict, difference);
    } else if (!verdict.format && known->bySizeAlone && known->size) {
        verdict.detail = QStringLiteral("by its size alone: the list holds no digest of it");
    } else if (!verdict.format) {
        setChanged(verdict, QStringLiteral("no list holds a digest that held"));
    }
    noteWhatWasWrittenDown(file, *known, verdict);
    return verdict;
}

FileVerdict verdictOfMissing(const QString& path, const KnownFile& known) {
    FileVerdict verdict{path, FileState::missing, known.preferredFormat(), {}, {}};
    if (verdict.format) verdict.digest = *known.digests.at(*verdict.format).begin();
    return verdict;
}

} // namespace ostrel
