#include "foundation/proof/audio_proof.h"

#include "foundation/proof/unexplained_bytes.h"
#include "platform/paths.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <memory>
#include <set>

namespace ostrel {
namespace {

using Kind = ChannelFinding::Kind;
using Readers = std::map<QString, std::unique_ptr<SampleReader>>;

constexpr int kGlanceFrames = 2048;
constexpr int kGlances = 5;
constexpr qint64 kProofBytes = 1 << 18; // a block of the widest file: small enough to stay in the processor's cache

// Less than the step of a 32-bit sample, more than what a float sample moves by on its way through 32-bit integers.
constexpr double kTolerance = 3e-10;

QString name(const QString& file) { return paths::lastComponent(file); }

// Samples of equal bytes at two steps. The loop has no way out, so that the compiler can make it wide.
template <class Word, int bytes>
bool sameWords(const unsigned char* a, std::size_t stepA, const unsigned char* b, std::size_t stepB, int count) {
    constexpr Word mask = bytes == sizeof(Word) ? ~Word{0} : (Word{1} << (8 * bytes % (8 * sizeof(Word)))) - 1;
    Word difference = 0;
    for (int i = 0; i < count; ++i) {
        Word left;
        Word right;
        std::memcpy(&left, a + static_cast<std::size_t>(i) * stepA, sizeof left);
        std::memcpy(&right, b + static_cast<std::size_t>(i) * stepB, sizeof right);
        difference |= left ^ right;
    }
    return (difference & mask) == 0;
}

bool sameBytes(const SampleReader& a, int channelA, const SampleReader& b, int channelB, int count) {
    const auto bytes = static_cast<std::size_t>(a.encoding().bytes);
    const unsigned char* left = a.bytes() + bytes * static_cast<std::size_t>(channelA);
    const unsigned char* right = b.bytes() + bytes * static_cast<std::size_t>(channelB);
    const std::size_t stepA = bytes * static_cast<std::size_t>(a.channels());
    const std::size_t stepB = bytes * static_cast<std::size_t>(b.channels());
    switch (bytes) {
    case 1: return sameWords<quint8, 1>(left, stepA, right, stepB, count);
    case 2: return sameWords<quint16, 2>(left, stepA, right, stepB, count);
    case 3: return sameWords<quint32, 3>(left, stepA, right, stepB, count);
    case 4: return sameWords<quint32, 4>(left, stepA, right, stepB, count);
    default: return sameWords<quint64, 8>(left, stepA, right, stepB, count);
    }
}

// An integer sample at the top of 32 bits, so that sounds of unequal width are equal; 8-bit samples are unsigned. The
// buffers reach four bytes beyond their last sample.
template <int bytes>
quint32 topOf(const unsigned char* at) {
    quint32 word;
    std::memcpy(&word, at, sizeof word);
    const quint32 top = bytes == 4 ? word : word << (8 * (4 - bytes) % 32);
    return bytes == 1 ? top ^ 0x80000000U : top;
}

template <int bytesA, int bytesB>
bool sameTops(const SampleReader& a, int channelA, const SampleReader& b, int channelB, int count) {
    const unsigned char* left = a.bytes() + bytesA * channelA;
    const unsigned char* right = b.bytes() + bytesB * channelB;
    const std::ptrdiff_t stepA = bytesA * a.channels();
    const std::ptrdiff_t stepB = bytesB * b.channels();
    quint32 difference = 0;
    for (int i = 0; i < count; ++i, left += stepA, right += stepB) {
        difference |= topOf<bytesA>(left) ^ topOf<bytesB>(right);
    }
    return difference == 0;
}

template <int bytesA>
bool sameIntegers(const SampleReader& a, int channelA, const SampleReader& b, int channelB, int count) {
    switch (b.encoding().bytes) {
    case 1: return sameTops<bytesA, 1>(a, channelA, b, channelB, count);
    case 2: return sameTops<bytesA, 2>(a, channelA, b, channelB, count);
    case 3: return sameTops<bytesA, 3>(a, channelA, b, channelB, count);
    default: return sameTops<bytesA, 4>(a, channelA, b, channelB, count);
    }
}

bool sameIntegers(const SampleReader& a, int channelA, const SampleReader& b, int channelB, int count) {
    switch (a.encoding().bytes) {
    case 1: return sameIntegers<1>(a, channelA, b, channelB, count);
    case 2: return sameIntegers<2>(a, channelA, b, channelB, count);
    case 3: return sameIntegers<3>(a, channelA, b, channelB, count);
    default: return sameIntegers<4>(a, channelA, b, channelB, count);
    }
}

bool sameSamples(const SampleReader& a, int channelA, const SampleReader& b, int channelB, int count) {
    if (a.encoding() == b.encoding()) return sameBytes(a, channelA, b, channelB, count);
    constexpr auto kIntegers = SampleReader::Encoding::Kind::integers;
    if (a.encoding().kind == kIntegers && b.encoding().kind == kIntegers) {
        return sameIntegers(a, channelA, b, channelB, count);
    }
    for (int frame = 0; frame < count; ++frame) {
        if (a.sample(frame, channelA) != b.sample(frame, channelB)) return false;
    }
    return true;
}

QString differenceSentence(const ChannelPair& pair) {
    return QStringLiteral("the samples of %1 are not those of %2").arg(name(pair.output.file), name(pair.source.file));
}

QString brokenSentence(const QString& file) {
    return QStringLiteral("%1 does not end where its head says: a tool was ended as it wrote").arg(name(file));
}

QString framesSentence(const SampleReader& reader) {
    return QStringLiteral("%1 has %2 frames").arg(name(reader.path())).arg(reader.frames());
}

// The work of one proof.
class Comparison {
public:
    Comparison(const QStringList& sources, const std::vector<ChannelPair>& pairs,
               const QMap<QString, QStringList>& channelNames)
        : sources_(sources), pairs_(pairs), channelNames_(channelNames) {}

    // Empty: all is there.
    QString run() {
        try {
            const QStringList unexplained = unexplainedBytesWarnings(sources_);
            if (!unexplained.isEmpty()) return unexplained.join(QStringLiteral("; "));
            if (QString why = openAll(); !why.isEmpty()) return why;
            if (pairs_.empty()) return QStringLiteral("nothing was compared");
            if (QString why = missingChannels(); !why.isEmpty()) return why;
            if (QString why = impossiblePair(); !why.isEmpty()) return why;
            if (QString why = unequalLengths(); !why.isEmpty()) return why;
            for (const ChannelPair& pair : pairs_) {
                if (!readers_.at(pair.output.file)->isWhole()) return brokenSentence(pair.output.file);
            }
            return compareAll();
        } catch (const SampleReaderError& error) {
            return QStringLiteral("%1 can't be read: %2").arg(name(reading_), error.errorDescription());
        }
    }

    QMap<QString, FileStamp> stamps() const {
        QMap<QString, FileStamp> stamps;
        for (const auto& [file, reader] : readers_) stamps.insert(file, reader->stamp());
        return stamps;
    }

private:
    QString openAll() {
        QStringList files = sources_;
        for (const ChannelPair& pair : pairs_) files << pair.source.file << pair.output.file;
        for (const QString& file : files) {
            if (readers_.contains(file)) continue;
            reading_ = file;
            readers_[file] = SampleReader::open(file);
            if (readers_[file]->isLossy()) {
                return QStringLiteral("%1 is lossy and proves nothing").arg(name(file));
            }
        }
        return {};
    }

    QString channelName(const QString& source, int channel) const {
        const QString given = channelNames_.value(source).value(channel);
        if (!given.isEmpty()) return given;
        return readers_.at(source)->channels() == 1 ? name(source)
                                                    : QStringLiteral("%1 of %2").arg(channel + 1).arg(name(source));
    }

    QString missingChannels() const {
        std::set<ChannelPlace> present;
        for (const ChannelPair& pair : pairs_) {
            if (pair.output.channel < readers_.at(pair.output.file)->channels()) present.insert(pair.source);
        }
        QStringList missing;
        for (const QString& source : sources_) {
            for (int channel = 0; channel < readers_.at(source)->channels(); ++channel) {
                if (!present.contains({source, channel})) missing << channelName(source, channel);
            }
        }
        if (missing.isEmpty()) return {};
        const QString pattern = missing.size() == 1 ? QStringLiteral("channel %1 is in no output")
                                                    : QStringLiteral("channels %1 are in no output");
        return pattern.arg(missing.join(QStringLiteral(", ")));
    }

    // A file has other channels than the job was told.
    QString impossiblePair() const {
        for (const ChannelPair& pair : pairs_) {
            for (const ChannelPlace& place : {pair.source, pair.output}) {
                if (place.channel < readers_.at(place.file)->channels()) continue;
                return QStringLiteral("%1 has no channel %2").arg(name(place.file)).arg(place.channel + 1);
            }
        }
        return {};
    }

    QString unequalLengths() const {
        const SampleReader& first = *readers_.begin()->second;
        for (const auto& [file, reader] : readers_) {
            if (reader->frames() != first.frames()) {
                return QStringLiteral("the lengths differ: %1, %2").arg(framesSentence(first), framesSentence(*reader));
            }
        }
        return {};
    }

    QString compareAll() {
        qint64 widest = 1;
        for (const auto& [file, reader] : readers_) {
            widest = std::max<qint64>(widest, reader->channels() * reader->encoding().bytes);
        }
        const qint64 block = std::max<qint64>(1024, kProofBytes / widest);
        const qint64 frames = readers_.begin()->second->frames();
        for (qint64 position = 0; position < frames; position += block) {
            const int count = static_cast<int>(std::min(block, frames - position));
            for (const auto& [file, reader] : readers_) {
                reading_ = file;
                reader->read(position, count);
            }
            for (const ChannelPair& pair : pairs_) {
                if (!sameSamples(*readers_.at(pair.source.file), pair.source.channel, *readers_.at(pair.output.file),
                                 pair.output.channel, count)) {
                    return differenceSentence(pair);
                }
            }
        }
        return {};
    }

    const QStringList& sources_;
    const std::vector<ChannelPair>& pairs_;
    const QMap<QString, QStringList>& channelNames_;
    Readers readers_;
    QString reading_; // for the sentence of an error
};

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
    Kind kind() const {
        if (!differs) return Kind::equal;
        return loud > 0 && alike < loud / 2 ? Kind::unlike : Kind::different;
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
            for (const ChannelPair& pair : pairs_) glance_.findings.push_back({pair, Kind::unread});
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
            glance_.findings.push_back({pair, Kind::unread});
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
                                            .arg(name(least->first), unexplainedBytesOf(least->first));
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

    Readers readers_; // null: not to be compared
    std::vector<ChannelPair> pairs_;
    std::vector<Tally> tallies_;
    Glance glance_;
};

} // namespace

AudioProof AudioProof::of(const QStringList& sources, const std::vector<ChannelPair>& pairs,
                          const QMap<QString, QStringList>& channelNames) {
    AudioProof proof;
    proof.sources_ = sources;
    Comparison comparison(sources, pairs, channelNames);
    proof.failure_ = comparison.run();
    proof.stamps_ = comparison.stamps();
    return proof;
}

QString AudioProof::objection() const {
    if (!failure_.isEmpty()) return failure_;
    for (auto file = stamps_.begin(); file != stamps_.end(); ++file) {
        if (FileStamp::of(file.key()) != file.value()) {
            return QStringLiteral("%1 was changed meanwhile").arg(name(file.key()));
        }
    }
    return {};
}

bool Glance::has(ChannelFinding::Kind kind) const {
    return std::any_of(findings.begin(), findings.end(),
                       [kind](const ChannelFinding& finding) { return finding.kind == kind; });
}

QStringList Glance::names(ChannelFinding::Kind kind, bool ofOutputs) const {
    QStringList result;
    for (const ChannelFinding& finding : findings) {
        if (finding.kind != kind) continue;
        const QString file = name(ofOutputs ? finding.pair.output.file : finding.pair.source.file);
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
