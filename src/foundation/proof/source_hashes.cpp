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
    explicit Witness(const CopyPlan& plan) : frames_(plan.frames), width_(plan.bytesPerSample) {
        for (std::size_t i = 0; i < plan.sources.size(); ++i) {
            const CopySource& source = plan.sources[i];
            files_ << QFile::decodeName(source.path.c_str());
            stamps_.push_back(FileStamp::of(files_.last()));
            hashers_.emplace_back(source.channels, plan.bytesPerSample, wantedOf(plan, i));
            channels_.push_back(source.channels);
        }
    }

    std::unique_ptr<Stretch> stretch(std::uint64_t first, std::size_t frames) override {
        return std::make_unique<SeenStretch>(*this, first, frames);
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
    // Its channels of all sources, one behind the other, until its turn comes to be hashed.
    class SeenStretch : public Stretch {
    public:
        SeenStretch(Witness& owner, std::uint64_t first, std::size_t frames)
            : owner_(owner), first_(first), frames_(frames), apart_(owner.spare_) {
            std::size_t channels = 0;
            for (const ChannelHasher& hasher : owner.hashers_) channels += hasher.count();
            apart_->resize(channels * frames * owner.width_);
        }

        void see(std::size_t count, const std::vector<std::vector<unsigned char>>& read) override {
            unsigned char* to = apart_->data();
            for (std::size_t i = 0; i < owner_.hashers_.size(); ++i) {
                owner_.hashers_[i].takeApart(read[i].data(), count, to, seen_, frames_);
                to += owner_.hashers_[i].count() * frames_ * owner_.width_;
            }
            seen_ += count;
        }

        void end() override {
            if (!owner_.turn_.wait(first_)) return;
            const unsigned char* from = apart_->data();
            for (ChannelHasher& hasher : owner_.hashers_) {
                hasher.add(from, frames_);
                from += hasher.count() * frames_ * owner_.width_;
            }
            owner_.turn_.pass(first_ + frames_);
        }

    private:
        Witness& owner_;
        const std::uint64_t first_;
        const std::size_t frames_;
        std::size_t seen_ = 0; // of them
        SpareBuffers::Loan apart_;
    };

    const std::uint64_t frames_;
    const std::size_t width_; // bytes of a sample
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
