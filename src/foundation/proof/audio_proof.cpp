#include "foundation/proof/audio_proof.h"

#include "foundation/proof/proof_sentences.h"
#include "foundation/proof/same_samples.h"
#include "foundation/proof/unexplained_bytes.h"
#include "platform/parallel.h"
#include "platform/paths.h"

#include <algorithm>
#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <set>

namespace ostrel {
namespace {

constexpr qint64 kReadBytes = 1 << 18; // of the widest file at a time: stays in a processor's second-level cache
constexpr qint64 kLookBytes = 1 << 13; // of the widest file: all that one look goes over stays in its first-level cache
constexpr qint64 kStretchBytes =
    1 << 22;                   // of the widest file: what one thread goes over before another takes its place
constexpr int kMostFiles = 64; // that each of several threads may keep open

QString name(const QString& file) { return paths::lastComponent(file); }

QString differenceSentence(const ChannelPair& pair) {
    return QStringLiteral("the samples of %1 are not those of %2").arg(name(pair.output.file), name(pair.source.file));
}

QString changedSentence(const QString& file) { return QStringLiteral("%1 was changed meanwhile").arg(name(file)); }

QString unreadableSentence(const QString& file, const SampleReaderError& error) {
    return QStringLiteral("%1 can't be read: %2").arg(name(file), error.errorDescription());
}

using Readers = std::map<QString, std::unique_ptr<SampleReader>>;

// What one thread reads and looks at: readers of its own of all files.
class ComparingThread {
public:
    ComparingThread(const std::vector<ChannelPair>& pairs, Readers readers, qint64 widest)
        : pairs_(pairs), readers_(std::move(readers)), block_(std::max<qint64>(1024, kReadBytes / widest)),
          look_(static_cast<int>(std::max<qint64>(256, kLookBytes / widest))) {
        for (const ChannelPair& pair : pairs) {
            sides_.emplace_back(readers_.at(pair.source.file).get(), readers_.at(pair.output.file).get());
        }
    }

    const Readers& readers() const { return readers_; }

    // Why these frames are not the same; empty where they are.
    QString compare(qint64 first, qint64 frames) {
        for (qint64 position = first; position < first + frames; position += block_) {
            const int count = static_cast<int>(std::min(block_, first + frames - position));
            for (const auto& [file, reader] : readers_) {
                try {
                    reader->read(position, count);
                } catch (const SampleReaderError& error) {
                    return unreadableSentence(file, error);
                }
            }
            if (QString why = lookAt(count); !why.isEmpty()) return why;
        }
        return {};
    }

private:
    QString lookAt(int count) const {
        for (int frame = 0; frame < count; frame += look_) {
            for (std::size_t i = 0; i < pairs_.size(); ++i) {
                const auto& [source, output] = sides_[i];
                if (!sameSamples(*source, pairs_[i].source.channel, *output, pairs_[i].output.channel, frame,
                                 std::min(look_, count - frame))) {
                    return differenceSentence(pairs_[i]);
                }
            }
        }
        return {};
    }

    const std::vector<ChannelPair>& pairs_;
    Readers readers_;
    std::vector<std::pair<const SampleReader*, const SampleReader*>> sides_; // of each pair: source, output
    qint64 block_;
    int look_;
};

// As many of them as work at once. The first has the readers that the files were opened with; a further one opens the
// files anew, and they have to be the same ones.
class ComparingThreads {
public:
    ComparingThreads(const std::vector<ChannelPair>& pairs, Readers readers, const QMap<QString, FileStamp>& stamps,
                     qint64 widest)
        : pairs_(pairs), stamps_(stamps), widest_(widest) {
        idle_.push_back(std::make_unique<ComparingThread>(pairs, std::move(readers), widest));
    }

    // Called on any thread.
    QString compare(qint64 first, qint64 frames) {
        QString why;
        std::unique_ptr<ComparingThread> thread = take(why);
        if (!why.isEmpty()) return why;
        why = thread->compare(first, frames);
        const std::lock_guard lock(mutex_);
        idle_.push_back(std::move(thread));
        return why;
    }

private:
    std::unique_ptr<ComparingThread> take(QString& why) {
        {
            const std::lock_guard lock(mutex_);
            if (!idle_.empty()) {
                std::unique_ptr<ComparingThread> thread = std::move(idle_.back());
                idle_.pop_back();
                return thread;
            }
        }
        Readers readers;
        for (auto stamp = stamps_.begin(); stamp != stamps_.end(); ++stamp) {
            try {
                readers[stamp.key()] = SampleReader::open(stamp.key());
            } catch (const SampleReaderError& error) {
                why = unreadableSentence(stamp.key(), error);
                return nullptr;
            }
            if (readers[stamp.key()]->stamp() != stamp.value()) {
                why = changedSentence(stamp.key());
                return nullptr;
            }
        }
        return std::make_unique<ComparingThread>(pairs_, std::move(readers), widest_);
    }

    const std::vector<ChannelPair>& pairs_;
    const QMap<QString, FileStamp>& stamps_;
    qint64 widest_;
    std::mutex mutex_; // guards idle_
    std::vector<std::unique_ptr<ComparingThread>> idle_;
};

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
            return unreadableSentence(reading_, error);
        }
    }

    const QMap<QString, FileStamp>& stamps() const { return stamps_; } // of all files, as they were opened

private:
    QString openAll() {
        QStringList files = sources_;
        for (const ChannelPair& pair : pairs_) files << pair.source.file << pair.output.file;
        for (const QString& file : files) {
            if (readers_.contains(file)) continue;
            reading_ = file;
            readers_[file] = SampleReader::open(file);
            stamps_.insert(file, readers_[file]->stamp());
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
            widest = std::max<qint64>(widest, qint64{reader->channels()} * reader->encoding().bytes);
        }
        const qint64 frames = readers_.begin()->second->frames();
        const qint64 stretch = std::max<qint64>(1, kStretchBytes / widest);
        const auto count = static_cast<std::size_t>((frames + stretch - 1) / stretch);
        const std::size_t width = readers_.size() > kMostFiles ? 1 : std::min<std::size_t>(4, parallelWidth());
        ComparingThreads threads(pairs_, std::move(readers_), stamps_, widest);
        // Stretches begin in order, so that the first that failed is found whichever thread was quicker.
        std::vector<QString> failures(count);
        std::atomic<std::size_t> failed = count;
        forEachInParallel(
            count,
            [&](std::size_t i) {
                if (i > failed) return;
                const qint64 first = static_cast<qint64>(i) * stretch;
                failures[i] = threads.compare(first, std::min(stretch, frames - first));
                if (!failures[i].isEmpty()) failed = std::min<std::size_t>(failed, i);
            },
            width);
        const auto first = std::ranges::find_if(failures, [](const QString& why) { return !why.isEmpty(); });
        return first == failures.end() ? QString() : *first;
    }

    const QStringList& sources_;
    const std::vector<ChannelPair>& pairs_;
    const QMap<QString, QStringList>& channelNames_;
    Readers readers_;
    QMap<QString, FileStamp> stamps_;
    QString reading_; // for the sentence of an error
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
            return changedSentence(file.key());
        }
    }
    return {};
}

} // namespace ostrel
