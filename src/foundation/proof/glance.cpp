#include "foundation/proof/glance.h"

#include "foundation/proof/proof_sentences.h"
#include "foundation/proof/sample_reader.h"
#include "foundation/proof/unexplained_bytes.h"
#include "platform/paths.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <set>

namespace ostrel {
namespace {

constexpr int kGlanceFrames = 2048;
constexpr int kGlances = 5;

// Less than the step of a 32-bit sample, more than what a float sample moves by on its way through 32-bit integers.
constexpr double kTolerance = 3e-10;

// The smallest step of a file's samples; what is fainter is silence in it. 0 for floats.
double stepOf(const SampleReader& reader) {
    const SampleReader::Encoding encoding = reader.encoding();
    return encoding.kind == SampleReader::Encoding::Kind::integers ? std::ldexp(1.0, 1 - 8 * encoding.bytes) : 0.0;
}

// How one channel of a few blocks compares.
struct Tally {
    int loud = 0;  // samples of the source that the output can tell from silence
    int alike = 0; // of those, the ones that it has, to the precision of 20 bits or of its own samples
    bool differs = false;

    void add(const SampleReader& source, int sourceChannel, const SampleReader& output, int outputChannel, int count) {
        const double faintest = stepOf(output);
        const double step = std::max(1.0 / (1 << 20), faintest);
        for (int frame = 0; frame < count; ++frame) {
            const double wanted = source.sample(frame, sourceChannel);
            const double found = output.sample(frame, outputChannel);
            const double difference = std::abs(wanted - found);
            if (!(difference <= kTolerance)) differs = true;
            if (wanted == 0 || std::abs(wanted) < faintest) continue;
            ++loud;
            if (difference <= std::min(step, std::abs(wanted) / 2)) ++alike;
        }
    }
    ChannelFinding::Kind kind() const {
        if (!differs) return ChannelFinding::Kind::equal;
        return loud > 0 && alike < loud / 2 ? ChannelFinding::Kind::unlike : ChannelFinding::Kind::different;
    }
};

// The work of one glance.
class GlanceWork {
public:
    explicit GlanceWork(const std::vector<ChannelPair>& pairs) {
        for (const ChannelPair& pair : pairs) {
            if (!openQuietly(pair.source.file)) continue;
            if (openOutput(pair)) pairs_.push_back(pair);
        }
    }

    Glance run() {
        compareLengths();
        tallies_.resize(pairs_.size());
        const qint64 length = shortest([](const ChannelPair&) { return true; });
        try {
            for (int block = 0; block < kGlances && length > 0; ++block) {
                const qint64 position = std::max<qint64>(0, length - kGlanceFrames) * block / (kGlances - 1);
                look(position, static_cast<int>(std::min<qint64>(kGlanceFrames, length - position)));
            }
        } catch (const SampleReaderError&) {
            for (const ChannelPair& pair : pairs_) glance_.findings.push_back({pair, ChannelFinding::Kind::unread});
            return std::move(glance_);
        }
        for (std::size_t i = 0; i < pairs_.size(); ++i) glance_.findings.push_back({pairs_[i], tallies_[i].kind()});
        return std::move(glance_);
    }

private:
    bool openQuietly(const QString& file) {
        if (readers_.contains(file)) return readers_[file] != nullptr;
        std::unique_ptr<SampleReader> reader;
        try {
            reader = SampleReader::open(file);
            if (reader->isLossy()) reader.reset();
        } catch (const SampleReaderError&) {
            reader.reset(); // what only ffmpeg decodes can't be compared here
        }
        if (reader && reader->hasOddContainer()) glance_.oddSources << file;
        return (readers_[file] = std::move(reader)) != nullptr;
    }

    // An output with a WAV name has to be one.
    bool openOutput(const ChannelPair& pair) {
        const bool isThere = openQuietly(pair.output.file);
        if (isThere && pair.output.channel < readers_[pair.output.file]->channels() &&
            pair.source.channel < readers_[pair.source.file]->channels()) {
            return true;
        }
        if (isThere || paths::lowerExtension(pair.output.file) == QStringLiteral("wav")) {
            glance_.findings.push_back({pair, ChannelFinding::Kind::unread});
        }
        return false;
    }

    template <class Which>
    qint64 shortest(Which which) const {
        qint64 frames = -1;
        for (const ChannelPair& pair : pairs_) {
            if (!which(pair)) continue;
            const qint64 here =
                std::min(readers_.at(pair.source.file)->frames(), readers_.at(pair.output.file)->frames());
            frames = frames < 0 ? here : std::min(frames, here);
        }
        return std::max<qint64>(frames, 0);
    }

    void compareLengths() {
        std::map<QString, qint64> sources;
        std::set<QString> outputs;
        for (const ChannelPair& pair : pairs_) {
            sources[pair.source.file] = readers_.at(pair.source.file)->frames();
            outputs.insert(pair.output.file);
        }
        if (sources.empty()) return;
        const auto byFrames = [](const auto& a, const auto& b) { return a.second < b.second; };
        const auto [least, most] = std::minmax_element(sources.begin(), sources.end(), byFrames);
        if (least->second != most->second) {
            glance_.unequalSources << QStringLiteral("The sources are of unequal length: %1, %2")
                                          .arg(framesSentence(*readers_.at(least->first)),
                                               framesSentence(*readers_.at(most->first)));
        }
        for (const QString& output : outputs) {
            const SampleReader& reader = *readers_.at(output);
            if (!reader.isWhole()) glance_.brokenOutputs << brokenSentence(output);
            if (reader.frames() == 0 && least->second == 0 && !unexplainedBytesOf(least->first).isEmpty()) {
                glance_.shortOutputs << QStringLiteral(
                                            "The new file holds no sound, and the header of %1 tells of none: %2")
                                            .arg(paths::lastComponent(least->first), unexplainedBytesOf(least->first));
            }
            if (reader.frames() >= least->second) continue;
            glance_.shortOutputs << QStringLiteral("The new file is shorter than its source: %1 of %2 frames")
                                        .arg(reader.frames())
                                        .arg(least->second);
        }
    }

    void look(qint64 position, int count) {
        for (const auto& [file, reader] : readers_) {
            if (reader) reader->read(position, count);
        }
        for (std::size_t i = 0; i < pairs_.size(); ++i) {
            const ChannelPair& pair = pairs_[i];
            tallies_[i].add(*readers_.at(pair.source.file), pair.source.channel, *readers_.at(pair.output.file),
                            pair.output.channel, count);
        }
    }

    std::map<QString, std::unique_ptr<SampleReader>> readers_; // null: not to be compared
    std::vector<ChannelPair> pairs_;
    std::vector<Tally> tallies_;
    Glance glance_;
};

} // namespace

bool Glance::has(ChannelFinding::Kind kind) const {
    return std::any_of(findings.begin(), findings.end(),
                       [kind](const ChannelFinding& finding) { return finding.kind == kind; });
}

QStringList Glance::names(ChannelFinding::Kind kind, bool ofOutputs) const {
    QStringList result;
    for (const ChannelFinding& finding : findings) {
        if (finding.kind != kind) continue;
        const QString file = paths::lastComponent(ofOutputs ? finding.pair.output.file : finding.pair.source.file);
        if (!result.contains(file)) result << file;
    }
    return result;
}

QString misreadSentence(const QStringList& sources) {
    return QStringLiteral("ffmpeg misread %1, whose samples stand in more bytes than they need: the new file has not "
                          "got its sound")
        .arg(sources.join(QStringLiteral(", ")));
}

Glance glanceAt(const std::vector<ChannelPair>& pairs) { return GlanceWork(pairs).run(); }

} // namespace ostrel
