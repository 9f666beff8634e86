#include "wave/channel_copy.h"

#include "wave/copy_file.h"
#include "wave/sample_kernels.h"

#include <algorithm>
#include <exception>
#include <mutex>
#include <thread>

namespace ostrel {
namespace {

constexpr std::size_t kInHand = 6 << 20;       // bytes that are gathered and to be written, of all threads
constexpr std::size_t kMostOfTarget = 1 << 19; // of one target at once: more leaves the cache before it is written
constexpr std::size_t kPiece = 256 << 10;      // bytes of sources that are read at once
constexpr std::size_t kPieceOfFile = 16 << 10; // the same of each where there are many
constexpr std::size_t kTile = 32 << 10;        // bytes of sources that stay in a near cache while all channels go
constexpr std::size_t kAligned = 16 << 10;     // where writes begin: the system keeps whole runs of pages of them
constexpr unsigned kMostThreads = 4;           // more only wait for the same disk

using Buffer = std::vector<unsigned char>;

// The open files of a plan, and how far all threads have come.
class Work {
public:
    Work(const CopyPlan& plan, const CopyProgress& progress, CopyWitness* witness)
        : plan_(plan), progress_(progress), witness_(witness),
          threads_(std::clamp(std::thread::hardware_concurrency(), 1U, kMostThreads)),
          framesAtOnce_(stretchOf(std::min(kInHand / threads_, kMostOfTarget * plan.targets.size()) / targetFrame())),
          lead_(leadOf(framesAtOnce_)) {
        for (const CopySource& source : plan.sources) {
            sources_.push_back(CopyFile::forReading(source.path));
            if (source.fileSize != 0) sources_.back().requireSize(source.fileSize);
        }
        for (const CopyTarget& target : plan.targets) {
            targets_.push_back(CopyFile::forWriting(target.path));
            targets_.back().reserve(target.head.size() + bytesOf(target, plan.frames) + 1);
        }
    }

    void run() {
        const std::uint64_t stretches = 1 + plan_.frames / framesAtOnce_;
        const std::uint64_t count = std::min<std::uint64_t>(stretches, threads_);
        {
            std::vector<std::jthread> helpers;
            for (std::uint64_t i = 1; i < count; ++i) helpers.emplace_back([this] { workOn(); });
            workOn();
        }
        if (fault_) std::rethrow_exception(fault_);
        for (std::size_t i = 0; i < targets_.size(); ++i) finish(plan_.targets[i], targets_[i]);
        for (const CopyFile& source : sources_) source.requireUnchanged();
    }

private:
    // Whole pages of every file, where there is more than one: the system handles a part of a page twice.
    static std::uint64_t stretchOf(std::size_t frames) {
        constexpr std::size_t kPage = 4096;
        return frames > kPage ? frames / kPage * kPage : std::max<std::size_t>(1, frames);
    }
    // Frames of the first stretch: so many that the next begins where writes should, in the first target and in all of
    // its kind.
    std::uint64_t leadOf(std::uint64_t most) const {
        if (plan_.targets.empty()) return most;
        const CopyTarget& target = plan_.targets.front();
        for (std::uint64_t frames = 1; frames <= std::min<std::uint64_t>(most, kAligned); ++frames) {
            if ((target.head.size() + bytesOf(target, frames)) % kAligned == 0) return frames;
        }
        return most;
    }
    std::size_t targetFrame() const {
        std::size_t samples = 0;
        for (const CopyTarget& target : plan_.targets) samples += target.channels.size();
        return std::max<std::size_t>(1, samples * plan_.bytesPerSample);
    }
    std::size_t sourceFrame() const {
        std::size_t samples = 0;
        for (const CopySource& source : plan_.sources) samples += source.channels;
        return std::max<std::size_t>(1, samples * plan_.bytesPerSample);
    }
    std::uint64_t bytesOf(const CopyTarget& target, std::uint64_t frames) const {
        return frames * target.channels.size() * plan_.bytesPerSample;
    }

    void workOn() noexcept {
        try {
            std::vector<Buffer> read(plan_.sources.size());
            std::vector<Buffer> written(plan_.targets.size());
            while (!hasFailed_) {
                const std::uint64_t stretch = next_++;
                const std::uint64_t first = stretch == 0 ? 0 : lead_ + (stretch - 1) * framesAtOnce_;
                if (first >= plan_.frames) return;
                const std::uint64_t frames = std::min(stretch == 0 ? lead_ : framesAtOnce_, plan_.frames - first);
                copyStretch(first, static_cast<std::size_t>(frames), read, written);
            }
        } catch (...) {
            const std::scoped_lock lock(faultMutex_);
            if (!fault_) fault_ = std::current_exception();
            hasFailed_ = true;
            if (witness_) witness_->giveUp();
        }
    }

    void copyStretch(std::uint64_t first, std::size_t frames, std::vector<Buffer>& read, std::vector<Buffer>& written) {
        for (std::size_t i = 0; i < targets_.size(); ++i) written[i].resize(bytesOf(plan_.targets[i], frames));
        const std::size_t piece =
            std::max<std::size_t>(16, std::max(kPiece, kPieceOfFile * plan_.sources.size()) / sourceFrame());
        const auto seen = witness_ ? witness_->stretch(first, frames) : nullptr;
        for (std::size_t at = 0; at < frames; at += piece) {
            copyPiece(first, at, std::min(piece, frames - at), read, written, seen.get());
        }
        if (seen) seen->end();
        for (std::size_t i = 0; i < targets_.size(); ++i) {
            const CopyTarget& target = plan_.targets[i];
            targets_[i].writeAll(written[i].data(), written[i].size(), target.head.size() + bytesOf(target, first));
            const std::uint64_t done = done_ += written[i].size();
            if (progress_) progress_(done);
        }
    }

    // `count` frames from the frame `at` of the stretch on that begins with the frame `first`.
    void copyPiece(std::uint64_t first, std::size_t at, std::size_t count, std::vector<Buffer>& read,
                   std::vector<Buffer>& written, CopyWitness::Stretch* seen) {
        for (std::size_t i = 0; i < sources_.size(); ++i) {
            const std::size_t frame = plan_.sources[i].channels * plan_.bytesPerSample;
            read[i].resize(count * frame);
            sources_[i].readAll(read[i].data(), read[i].size(), plan_.sources[i].audio + (first + at) * frame);
        }
        if (seen) seen->see(count, read);
        // Tile by tile, so that a frame's neighbours are still at hand when the next channel asks for them.
        const std::size_t tile = std::max<std::size_t>(128, kTile / (sourceFrame() + targetFrame()));
        for (std::size_t start = 0; start < count; start += tile) {
            for (std::size_t i = 0; i < targets_.size(); ++i) {
                gather(plan_.targets[i], start, std::min(tile, count - start), read,
                       written[i].data() + bytesOf(plan_.targets[i], at));
            }
        }
    }

    // `count` frames from `at` on, of all channels of one target.
    void gather(const CopyTarget& target, std::size_t at, std::size_t count, const std::vector<Buffer>& read,
                unsigned char* to) const {
        const std::size_t width = plan_.bytesPerSample;
        const std::size_t toStride = target.channels.size() * width;
        for (std::size_t k = 0; k < target.channels.size(); ++k) {
            const CopyChannel& channel = target.channels[k];
            const std::size_t fromStride = plan_.sources[channel.source].channels * width;
            moveSamples(read[channel.source].data() + at * fromStride + channel.channel * width, fromStride,
                        to + at * toStride + k * width, toStride, width, count);
        }
    }

    // The head last: a file that was left half way is none.
    void finish(const CopyTarget& target, CopyFile& file) const {
        const std::uint64_t audio = bytesOf(target, plan_.frames);
        const unsigned char pad = 0;
        if (audio % 2) file.writeAll(&pad, 1, target.head.size() + audio);
        file.writeAll(target.head.data(), target.head.size(), 0);
        file.cutTo(target.head.size() + audio + audio % 2);
    }

    const CopyPlan& plan_;
    const CopyProgress& progress_;
    CopyWitness* const witness_; // null: none
    const unsigned threads_;
    const std::uint64_t framesAtOnce_;
    const std::uint64_t lead_;
    std::vector<CopyFile> sources_;
    std::vector<CopyFile> targets_;
    std::atomic<std::uint64_t> next_ = 0; // stretch
    std::atomic<std::uint64_t> done_ = 0; // bytes
    std::atomic<bool> hasFailed_ = false;
    std::mutex faultMutex_;
    std::exception_ptr fault_;
};

} // namespace

std::uint64_t CopyPlan::bytesToWrite() const {
    std::uint64_t bytes = 0;
    for (const CopyTarget& target : targets) {
        bytes += target.head.size() + frames * target.channels.size() * bytesPerSample;
    }
    return bytes;
}

void copyChannels(const CopyPlan& plan, const CopyProgress& progress, CopyWitness* witness) {
    Work(plan, progress, witness).run();
}

} // namespace ostrel
