#include "stitch/series.h"

#include "platform/paths.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <map>
#include <numeric>
#include <tuple>

namespace ostrel {
namespace {

constexpr qint64 kSecondsOfDay = 86'400;
constexpr qint64 kFarSeconds = 10; // of a gap with some evidence
constexpr quint64 kMostStart = quint64{1} << 60;
constexpr int kOtherName = 100; // above any number of digits

bool isSameFormat(const WaveFormat& a, const WaveFormat& b) {
    return a.tag == b.tag && a.channels == b.channels && a.sampleRate == b.sampleRate && a.blockAlign == b.blockAlign &&
           a.bits == b.bits && a.validBits == b.validBits && a.speakers == b.speakers;
}

bool canFollow(const Part& a, const Part& b) {
    if (!a.fault.isEmpty() || !b.fault.isEmpty() || *a.start >= kMostStart || *b.start >= kMostStart) return false;
    return isSameFormat(*a.layout.format, *b.layout.format) && a.originator == b.originator && a.tracks == b.tracks;
}

bool isSameFamily(const Part& a, const Part& b) { return !a.familyUid.isEmpty() && a.familyUid == b.familyUid; }

bool differ(const QString& a, const QString& b) { return !a.isEmpty() && !b.isEmpty() && a != b; }

// Where recorders begin the next file (512 MB to 4 GB, counted by thousands or by 1024), give or take a few seconds.
bool isNearSplitSize(quint64 bytes) {
    constexpr std::array<quint64, 5> kMegabytes{512, 640, 1000, 2000, 4000};
    const auto isNear = [bytes](quint64 limit) { return bytes > limit - limit / 32 && bytes <= limit + limit / 256; };
    return std::ranges::any_of(kMegabytes, [&](quint64 count) {
        const quint64 binary = count % 1000 == 0 ? count / 1000 << 30 : count << 20;
        return isNear(count * 1'000'000) || isNear(binary);
    });
}

qint64 mostGap(const Part& a, const Part& b) {
    const qint64 rate = a.sampleRate();
    if (isSameFamily(a, b)) return kSecondsOfDay / 2 * rate;
    const bool isSameTake = !a.take.isEmpty() && a.take == b.take && a.scene == b.scene;
    return isSameTake || isNearSplitSize(a.layout.fileSize) ? kFarSeconds * rate : rate;
}

// The days after which a TimeReference begins anew, in samples. A day of labels with drop frame is no whole number.
std::vector<qint64> daysOf(const Part& part) {
    const qint64 rate = part.sampleRate();
    std::vector<qint64> days{0, kSecondsOfDay * rate};
    if (!part.timecodeRate) return days;
    const TimecodeRate& labels = *part.timecodeRate;
    const qint64 whole = labels.framesPerDay() * labels.denominator * rate / labels.numerator;
    days.push_back(whole);
    days.push_back(whole + 1);
    return days;
}

// Runs of digits and what stands between them.
struct NameParts {
    QStringList numbers;
    QString rest;
};

NameParts namePartsOf(const QString& path) {
    NameParts parts;
    bool isInNumber = false;
    for (const QChar letter : paths::stem(path).toCaseFolded()) {
        if (letter.isDigit()) {
            if (!isInNumber) {
                parts.numbers << QString();
                parts.rest += QChar(u'#');
            }
            parts.numbers.last() += letter;
        } else {
            parts.rest += letter;
        }
        isInNumber = letter.isDigit();
    }
    return parts;
}

// How many numbers differ between two names that are the same otherwise.
int nameDistance(const QString& a, const QString& b) {
    const NameParts left = namePartsOf(a);
    const NameParts right = namePartsOf(b);
    const int elsewhere = paths::parent(a) == paths::parent(b) ? 0 : kOtherName;
    if (left.rest != right.rest) return elsewhere + kOtherName;
    int count = elsewhere;
    for (qsizetype i = 0; i < left.numbers.size(); ++i) count += left.numbers[i] == right.numbers[i] ? 0 : 1;
    return count;
}

struct Edge {
    std::size_t earlier = 0;
    std::size_t later = 0;
    Seam seam = 0;
    int distance = 0;

    std::pair<qint64, int> rank() const { return {std::abs(seam), distance}; }
};

class Linking {
public:
    explicit Linking(const std::vector<Part>& parts)
        : parts_(parts), next_(parts.size()), ahead_(parts.size(), false), root_(parts.size()), doubt_(parts.size()) {
        std::iota(root_.begin(), root_.end(), 0U);
    }

    std::vector<Series> run() {
        findEdges();
        std::ranges::stable_sort(edges_, {}, &Edge::rank);
        for (auto first = edges_.begin(); first != edges_.end();) {
            const auto last =
                std::find_if(first, edges_.end(), [&](const Edge& e) { return e.rank() != first->rank(); });
            linkEqual({first, last});
            first = last;
        }
        return series();
    }

private:
    // Among the files that tell the same, sorted by start, only those near the end of one can be its next; those of its
    // family may be far, and then the nearest one is.
    void findEdges() {
        using Key = std::tuple<quint32, int, int, QByteArray, QString>;
        std::map<Key, std::multimap<quint64, std::size_t>> kinds;
        for (std::size_t i = 0; i < parts_.size(); ++i) {
            const Part& part = parts_[i];
            if (!part.fault.isEmpty()) continue;
            const WaveFormat& format = *part.layout.format;
            kinds[{format.sampleRate, format.channels, format.bits, part.originator, part.tracks.join(u'\n')}].emplace(
                *part.start, i);
        }
        for (const auto& [key, byStart] : kinds) {
            for (const auto& [start, earlier] : byStart) findNext(byStart, earlier);
        }
    }

    void findNext(const std::multimap<quint64, std::size_t>& byStart, std::size_t earlier) {
        const Part& part = parts_[earlier];
        const qint64 reach = kFarSeconds * part.sampleRate();
        const qint64 end = static_cast<qint64>(std::min(*part.start, kMostStart) + part.frames());
        std::vector<std::size_t> seen;
        const auto take = [&](std::size_t later) {
            if (later == earlier || std::ranges::find(seen, later) != seen.end()) return;
            seen.push_back(later);
            if (const auto seam = seamBetween(part, parts_[later])) {
                edges_.push_back({earlier, later, *seam, nameDistance(part.path, parts_[later].path)});
            }
        };
        for (const qint64 day : daysOf(part)) {
            if (end - day + reach < 0) continue;
            const auto from = byStart.lower_bound(static_cast<quint64>(std::max<qint64>(0, end - day - reach)));
            const auto to = byStart.upper_bound(static_cast<quint64>(end - day + reach));
            for (auto at = from; at != to; ++at) take(at->second);
        }
        if (part.familyUid.isEmpty()) return;
        for (auto at = byStart.upper_bound(*part.start); at != byStart.end(); ++at) {
            if (!isSameFamily(part, parts_[at->second])) continue;
            take(at->second);
            return;
        }
    }

    std::size_t rootOf(std::size_t part) {
        while (root_[part] != part) part = root_[part] = root_[root_[part]];
        return part;
    }

    // Neither end is taken, and a day that is full does not bite its tail.
    bool isFree(const Edge& edge) {
        return !next_[edge.earlier] && !ahead_[edge.later] && rootOf(edge.earlier) != rootOf(edge.later);
    }

    // All of them fit equally well: those that exclude each other leave a doubt.
    void linkEqual(std::vector<Edge> equal) {
        std::erase_if(equal, [this](const Edge& edge) { return !isFree(edge); });
        for (const Edge& edge : equal) {
            for (const Edge& other : equal) {
                const bool isRival = (edge.earlier == other.earlier) != (edge.later == other.later);
                if (isRival) tellDoubt(edge, other);
            }
        }
        for (const Edge& edge : equal) {
            if (!isFree(edge)) continue;
            next_[edge.earlier] = edge;
            ahead_[edge.later] = true;
            root_[rootOf(edge.later)] = rootOf(edge.earlier);
        }
    }

    void tellDoubt(const Edge& edge, const Edge& other) {
        const auto name = [this](std::size_t part) { return paths::lastComponent(parts_[part].path); };
        const QString text = edge.earlier == other.earlier
                                 ? QStringLiteral("both %1 and %2 fit behind %3")
                                       .arg(name(edge.later), name(other.later), name(edge.earlier))
                                 : QStringLiteral("%1 fits behind both %2 and %3")
                                       .arg(name(edge.later), name(edge.earlier), name(other.earlier));
        for (const std::size_t part : {edge.earlier, edge.later}) {
            if (doubt_[part].isEmpty()) doubt_[part] = text;
        }
    }

    std::vector<Series> series() const {
        std::vector<Series> result;
        for (std::size_t first = 0; first < parts_.size(); ++first) {
            if (ahead_[first]) continue;
            Series found;
            std::size_t at = first;
            while (true) {
                found.parts.push_back(parts_[at]);
                if (found.ambiguity.isEmpty()) found.ambiguity = doubt_[at];
                if (!next_[at]) break;
                found.seams.push_back(next_[at]->seam);
                at = next_[at]->later;
            }
            result.push_back(std::move(found));
        }
        return result;
    }

    const std::vector<Part>& parts_;
    std::vector<Edge> edges_;
    std::vector<std::optional<Edge>> next_; // of each part
    std::vector<bool> ahead_;               // it has one
    std::vector<std::size_t> root_;         // of the series that it is in
    std::vector<QString> doubt_;            // of each part
};

} // namespace

bool Series::isExact() const { return ambiguity.isEmpty() && std::ranges::count(seams, 0) == std::ssize(seams); }

quint64 Series::frames() const {
    return std::accumulate(parts.begin(), parts.end(), quint64{0},
                           [](quint64 sum, const Part& part) { return sum + part.frames(); });
}

std::optional<Seam> seamBetween(const Part& earlier, const Part& later) {
    if (!canFollow(earlier, later)) return std::nullopt;
    const bool isOtherTake = differ(earlier.scene, later.scene) || differ(earlier.take, later.take);
    if (isOtherTake && !isSameFamily(earlier, later)) return std::nullopt;
    const auto end = static_cast<qint64>(*earlier.start + earlier.frames());
    std::optional<Seam> best;
    for (const qint64 day : daysOf(earlier)) {
        const Seam seam = static_cast<qint64>(*later.start) + day - end;
        if (!best || std::abs(seam) < std::abs(*best)) best = seam;
    }
    const bool isWithin = *best <= -static_cast<qint64>(std::min(earlier.frames(), later.frames()));
    if (isWithin || std::abs(*best) > mostGap(earlier, later)) return std::nullopt;
    return best;
}

std::vector<Series> seriesOf(const std::vector<Part>& parts) { return Linking(parts).run(); }

std::vector<std::vector<std::size_t>> parallelSets(const std::vector<Series>& series) {
    std::vector<std::vector<std::size_t>> sets;
    std::map<std::vector<quint64>, std::size_t> known; // by rate, start and lengths
    for (std::size_t i = 0; i < series.size(); ++i) {
        const Part& first = series[i].parts.front();
        std::vector<quint64> key{first.sampleRate(), first.start.value_or(0), first.start ? 1U : 0U};
        for (const Part& part : series[i].parts) key.push_back(part.frames());
        const bool isKnown = first.fault.isEmpty();
        const auto [place, isNew] = isKnown ? known.try_emplace(key, sets.size()) : std::pair(known.end(), true);
        if (isNew) sets.emplace_back();
        sets[isNew ? sets.size() - 1 : place->second].push_back(i);
    }
    return sets;
}

} // namespace ostrel
