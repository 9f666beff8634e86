#include "foundation/proof/output_proof.h"

#include "foundation/proof/audio_hashes.h"
#include "foundation/proof/decoded_comparison.h"
#include "foundation/proof/proof_sentences.h"
#include "foundation/proof/unexplained_bytes.h"
#include "platform/files/files.h"
#include "platform/paths.h"
#include "wave/wave_layout.h"

#include <QFile>
#include <algorithm>

namespace ostrel {
namespace {

// What of a file decides how it is compared. Of a WAV file its own header tells it all.
struct Side {
    std::unique_ptr<SampleReader> reader; // null: its samples can't be read here
    std::optional<WaveFormat> format;     // of a WAV file whose channels can be told apart as bytes
    qint64 frames = 0;
    int channels = 0;
    bool isLossy = false;
    bool isWhole = true; // it ends where its head says
    QString why;         // it can't be read
    QString unexplained; // what its header leaves open; empty: nothing

    bool isReadable() const { return format || reader; }
};

Side openSide(const QString& file) {
    Side side;
    try {
        side.reader = SampleReader::open(file);
        side.frames = side.reader->frames();
        side.channels = side.reader->channels();
        side.isLossy = side.reader->isLossy();
        side.isWhole = side.reader->isWhole();
    } catch (const SampleReaderError& error) {
        side.why = error.errorDescription();
    }
    const auto layout = readWaveLayout(QFile::encodeName(file).toStdString());
    if (!layout || !layout->data || !layout->format || plainSampleBytes(*layout->format) == 0) return side;
    side.format = layout->format;
    side.frames = static_cast<qint64>(layout->frames());
    side.channels = layout->format->channels;
    side.isLossy = false;
    side.isWhole = layout->endsAsDeclared();
    return side;
}

bool isSameCoding(const Side& a, const Side& b) {
    return a.format && b.format && a.format->tag == b.format->tag &&
           plainSampleBytes(*a.format) == plainSampleBytes(*b.format);
}

// The channels of one output.
class ProofOfFile {
public:
    ProofOfFile(SourceHashes& sources, const QString& file, const QString& finalName)
        : sources_(sources), file_(file), name_(paths::lastComponent(finalName)), finalName_(finalName) {}

    std::vector<ChannelProof> run(const std::vector<ChannelPair>& pairs) {
        open(pairs);
        std::vector<ChannelProof> channels;
        for (const ChannelPair& pair : pairs) {
            ChannelProof channel{finalName_, pair.output.channel, pair.source.file, pair.source.channel};
            judge(pair, channel);
            channels.push_back(std::move(channel));
        }
        return channels;
    }

private:
    void open(const std::vector<ChannelPair>& pairs) {
        try {
            files::flush(file_);
            files::forgetCached(file_);
        } catch (const FileError& error) {
            fault_ = QStringLiteral("%1 did not get to the disk: %2").arg(name_, error.description);
            return;
        }
        output_ = openSide(file_);
        if (!output_.isReadable()) {
            fault_ = QStringLiteral("%1 can't be read back: %2").arg(name_, output_.why);
            return;
        }
        for (const ChannelPair& pair : pairs) {
            if (sides_.contains(pair.source.file)) continue;
            Side& side = sides_[pair.source.file] = openSide(pair.source.file);
            side.unexplained = unexplainedBytesOf(pair.source.file);
        }
        if (output_.isLossy) return; // nothing of it is compared, its length neither
        fault_ = faultOfWhole(pairs);
    }

    // Why nothing of the file can be believed; empty: it can.
    QString faultOfWhole(const std::vector<ChannelPair>& pairs) const {
        if (!output_.isWhole) return brokenSentence(finalName_);
        if (output_.channels != static_cast<int>(pairs.size())) {
            return QStringLiteral("%1 has %2 channels, not %3").arg(name_).arg(output_.channels).arg(pairs.size());
        }
        std::optional<qint64> shortest;
        for (const auto& [file, side] : sides_) {
            if (!side.isReadable() || side.isLossy) return {}; // a decoder decides on its length
            shortest = std::min(shortest.value_or(side.frames), side.frames);
        }
        if (!shortest || output_.frames == *shortest) return {};
        return QStringLiteral("%1 has %2 frames, not the %3 of its %4")
            .arg(name_)
            .arg(output_.frames)
            .arg(*shortest)
            .arg(sides_.size() == 1 ? QStringLiteral("source") : QStringLiteral("shortest source"));
    }

    void judge(const ChannelPair& pair, ChannelProof& channel) {
        const auto find = [&](ProofFinding finding, const QString& reason) {
            channel.finding = finding;
            channel.reason = reason;
        };
        if (!fault_.isEmpty()) return find(ProofFinding::differs, fault_);
        if (output_.isLossy) {
            return find(ProofFinding::unproven, QStringLiteral("%1 is lossy").arg(name_));
        }
        const Side& source = sides_.at(pair.source.file);
        const QString sourceName = paths::lastComponent(pair.source.file);
        if (!source.isReadable()) {
            return find(ProofFinding::unproven,
                        QStringLiteral("%1 can't be read here: %2").arg(sourceName, source.why));
        }
        if (pair.source.channel == kMixedChannels) {
            return find(ProofFinding::unproven, QStringLiteral("channel %1 of %2 is a mix of the channels of %3")
                                                    .arg(pair.output.channel + 1)
                                                    .arg(name_, sourceName));
        }
        if (source.isLossy) {
            return find(ProofFinding::unproven,
                        QStringLiteral("%1 is lossy: what its samples are is up to a decoder").arg(sourceName));
        }
        if (pair.source.channel >= source.channels || pair.output.channel >= output_.channels) {
            return find(ProofFinding::differs, QStringLiteral("%1 has no such channel").arg(sourceName));
        }
        try {
            isSameCoding(source, output_) ? compareHashes(pair, channel) : compareSamples(source, pair, channel);
        } catch (const FileError& error) {
            return find(ProofFinding::unproven, error.description);
        } catch (const SampleReaderError& error) {
            return find(ProofFinding::differs, QStringLiteral("%1 and %2 can't be compared to their end: %3")
                                                   .arg(name_, sourceName, error.errorDescription()));
        }
        if (channel.finding != ProofFinding::identical) return;
        // What is there was compared, and is equal. Is it all?
        if (!source.unexplained.isEmpty()) {
            find(ProofFinding::unproven, QStringLiteral("%1: %2").arg(sourceName, source.unexplained));
        } else if (source.frames > output_.frames) {
            find(ProofFinding::unproven, QStringLiteral("%1 has %2 frames, of which %3 has the first %4")
                                             .arg(sourceName)
                                             .arg(source.frames)
                                             .arg(name_)
                                             .arg(output_.frames));
        }
    }

    void compareHashes(const ChannelPair& pair, ChannelProof& channel) {
        const QString wanted = sources_.of(pair.source, output_.frames);
        const QString found = hashOf(pair.output.channel);
        channel.hash = wanted == found && !found.isEmpty() ? found : QString();
        if (channel.hash.isEmpty()) differs(pair, channel);
    }

    void compareSamples(const Side& source, const ChannelPair& pair, ChannelProof& channel) {
        if (!source.reader || !output_.reader) {
            channel.finding = ProofFinding::unproven;
            channel.reason = QStringLiteral("%1 codes samples in another way than %2, and they can't be read here")
                                 .arg(name_, paths::lastComponent(pair.source.file));
            return;
        }
        switch (compareDecoded(*source.reader, pair.source.channel, *output_.reader, pair.output.channel)) {
        case DecodedFinding::same: return;
        case DecodedFinding::different: return differs(pair, channel);
        case DecodedFinding::rounded: break;
        }
        channel.finding = ProofFinding::unproven;
        channel.reason = QStringLiteral("%1 codes samples in another way than %2, and some of them are rounded")
                             .arg(name_, paths::lastComponent(pair.source.file));
    }

    void differs(const ChannelPair& pair, ChannelProof& channel) const {
        channel.finding = ProofFinding::differs;
        channel.reason = QStringLiteral("channel %1 of %2 is not channel %3 of %4")
                             .arg(pair.output.channel + 1)
                             .arg(name_)
                             .arg(pair.source.channel + 1)
                             .arg(paths::lastComponent(pair.source.file));
    }

    // Of the output, all channels of which are hashed in one reading. Empty where it can't be read.
    QString hashOf(int channel) {
        if (!hashes_) {
            try {
                hashes_ = hashAudio(file_, {.md5 = false});
            } catch (const FileError&) {
                hashes_.emplace(); // what can't be read back is not what was to be written
            }
        }
        return hashes_->channels.value(channel);
    }

    SourceHashes& sources_;
    const QString file_; // as it is called until now
    const QString name_;
    const QString finalName_;
    QString fault_; // of the whole file; empty: none
    Side output_;
    std::map<QString, Side> sides_; // of the sources
    std::optional<AudioHashes> hashes_;
};

} // namespace

std::optional<ProofRecord> OutputProof::of(const std::vector<ChannelPair>& pairs, const QMap<QString, QString>& names) {
    if (!sources_) return std::nullopt;
    std::vector<std::pair<QString, std::vector<ChannelPair>>> outputs; // in order of the pairs
    for (const ChannelPair& pair : pairs) {
        const auto known = std::ranges::find(outputs, pair.output.file, [](const auto& each) { return each.first; });
        (known == outputs.end() ? outputs.emplace_back(pair.output.file, std::vector<ChannelPair>()) : *known)
            .second.push_back(pair);
    }
    ProofRecord record;
    for (const auto& [file, ofFile] : outputs) {
        record = record.with({ProofOfFile(*sources_, file, names.value(file, file)).run(ofFile)});
    }
    return record;
}

} // namespace ostrel
