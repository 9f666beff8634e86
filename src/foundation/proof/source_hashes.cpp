#include "foundation/proof/source_hashes.h"

#include "foundation/proof/audio_hashes.h"
#include "foundation/proof/channel_hasher.h"
#include "foundation/proof/in_turn.h"
#include "foundation/proof/spare_buffers.h"
#include "platform/files/files.h"
#include "platform/paths.h"

#include <QFile>
#include <set>

namespace ostrel {
namespace {

// The channels of one source that go into any target, each once.
std::vector<std::size_t> wantedOf(const CopyPlan& plan, std::size_t source) {
    std::set<std::size_t> wanted;
    for (const CopyTarget& target : plan.targets) {
        for (const CopyChannel& channel : target.channels) {
            if (channel.source == source) wanted.insert(channel.channel);
        }
    }
    return {wanted.begin(), wanted.end()};
}

} // namespace

// Takes channels apart on whichever thread it is called, and hashes them in the order of the file.
class SourceHashes::Witness : public CopyWitness {
public:
    explicit Witness(const CopyPlan& plan) : frames_(plan.frames) {
        for (std::size_t i = 0; i < plan.sources.size(); ++i) {
            const CopySource& source = plan.sources[i];
            files_ << QFile::decodeName(source.path.c_str());
            stamps_.push_back(FileStamp::of(files_.last()));
            hashers_.emplace_back(source.channels, plan.bytesPerSample, wantedOf(plan, i));
            channels_.push_back(source.channels);
        }
    }

    void see(std::uint64_t first, std::size_t frames, const std::vector<std::vector<unsigned char>>& read) override {
        std::vector<const unsigned char*> apart;
        std::vector<std::unique_ptr<SpareBuffers::Loan>> buffers;
        for (std::size_t i = 0; i < hashers_.size(); ++i) {
            buffers.push_back(std::make_unique<SpareBuffers::Loan>(spare_));
            apart.push_back(hashers_[i].apart(read[i].data(), frames, **buffers.back()));
        }
        if (!turn_.wait(first)) return;
        for (std::size_t i = 0; i < hashers_.size(); ++i) hashers_[i].add(apart[i], frames);
        turn_.pass(first + frames);
    }

    void giveUp() noexcept override { turn_.giveUp(); }

    void tell(std::map<QString, Seen>& seen) const {
        for (std::size_t i = 0; i < hashers_.size(); ++i) {
            const QString& file = files_[static_cast<qsizetype>(i)];
            if (!stamps_[i] || FileStamp::of(file) != stamps_[i]) continue; // another file by now: to be read itself
            Seen entry{*stamps_[i], static_cast<qint64>(frames_), {}};
            for (std::size_t channel = 0; channel < channels_[i]; ++channel) {
                entry.channels << hashers_[i].digest(channel);
            }
            seen[file] = std::move(entry);
        }
    }

private:
    const std::uint64_t frames_;
    QStringList files_;
    std::vector<std::optional<FileStamp>> stamps_; // ahead of the copying
    std::vector<std::size_t> channels_;            // of each file
    std::vector<ChannelHasher> hashers_;
    InTurn turn_;
    SpareBuffers spare_;
};

SourceHashes::SourceHashes() = default;
SourceHashes::~SourceHashes() = default;

CopyWitness& SourceHashes::witness(const CopyPlan& plan) {
    witness_ = std::make_unique<Witness>(plan);
    return *witness_;
}

void SourceHashes::takeOver() {
    witness_->tell(seen_);
    witness_.reset();
}

QString SourceHashes::of(const ChannelPlace& place, qint64 frames) {
    const std::optional<FileStamp> stamp = FileStamp::of(place.file);
    const QString name = paths::lastComponent(place.file);
    if (!stamp) throw FileError(QStringLiteral("%1 is not there any more").arg(name));
    const auto known = seen_.find(place.file);
    if (known != seen_.end() && known->second.stamp != stamp) {
        throw FileError(QStringLiteral("%1 was changed meanwhile").arg(name));
    }
    if (known != seen_.end() && known->second.frames == frames) {
        const QString hash = known->second.channels.value(place.channel);
        if (!hash.isEmpty()) return hash;
    }
    const AudioHashes read = hashAudio(place.file, {.md5 = false, .frames = frames});
    if (FileStamp::of(place.file) != stamp) throw FileError(QStringLiteral("%1 was changed meanwhile").arg(name));
    if (read.frames != frames) throw FileError(QStringLiteral("%1 has only %2 frames").arg(name).arg(read.frames));
    seen_[place.file] = {*stamp, read.frames, read.channels};
    return read.channels.value(place.channel);
}

} // namespace ostrel
