#include "wave/channel_copy.h"

#include "wave/copy_file.h"
#include "wave/sample_kernels.h"

#include <algorithm>
#include <exception>
#include <mutex>
#include <thread>

namespace ostrel {
namespace {

constexpr std::size_t kStretch = 2 << 20; // bytes of audio that a thread has in hand, read and to be written
constexpr std::size_t kTile = 16 << 10;   // bytes of sources that stay in the nearest cache while all channels go
constexpr unsigned kMostThreads = 4;      // more only wait for the same disk

using Buffer = std::vector<unsigned char>;

// The open files of a plan, and how far all threads have come.
class Work {
public:
    explicit Work(const CopyPlan& plan, const CopyProgress& progress)
        : plan_(plan), progress_(progress), framesAtOnce_(std::max<std::uint64_t>(1, kStretch / frameBytes())) {
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
        const std::uint64_t stretches = (plan_.frames + framesAtOnce_ - 1) / framesAtOnce_;
        const auto count =
            std::min<std::uint64_t>({stretches, kMostThreads, std::max(1U, std::thread::hardware_concurrency())});
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
    std::size_t frameBytes() const {
        std::size_t samples = 0;
        for (const CopySource& source : plan_.sources) samples += source.channels;
        for (const CopyTarget& target : plan_.targets) samples += target.channels.size();
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
                const std::uint64_t first = next_.fetch_add(framesAtOnce_);
                if (first >= plan_.frames) return;
                copyStretch(first, static_cast<std::size_t>(std::min(framesAtOnce_, plan_.frames - first)), read,
                            written);
            }
        } catch (...) {
            const std::scoped_lock lock(faultMutex_);
            if (!fault_) fault_ = std::current_exception();
            hasFailed_ = true;
        }
    }

    void copyStretch(std::uint64_t first, std::size_t frames, std::vector<Buffer>& read, std::vector<Buffer>& written) {
        for (std::size_t i = 0; i < sources_.size(); ++i) {
            const std::size_t frame = plan_.sources[i].channels * plan_.bytesPerSample;
            read[i].resize(frames * frame);
            sources_[i].readAll(read[i].data(), read[i].size(), plan_.sources[i].audio + first * frame);
        }
        for (std::size_t i = 0; i < targets_.size(); ++i) written[i].resize(bytesOf(plan_.targets[i], frames));
        // Tile by tile, so that a frame's neighbours are still at hand when the next channel asks for them.
        const std::size_t tile = std::max<std::size_t>(16, kTile / frameBytes());
        for (std::size_t at = 0; at < frames; at += tile) {
            const std::size_t count = std::min(tile, frames - at);
            for (std::size_t i = 0; i < targets_.size(); ++i)
                gather(plan_.targets[i], at, count, read, written[i].data());
        }
        for (std::size_t i = 0; i < targets_.size(); ++i) {
            const CopyTarget& target = plan_.targets[i];
            targets_[i].writeAll(written[i].data(), written[i].size(), target.head.size() + bytesOf(target, first));
            const std::uint64_t done = done_ += written[i].size();
            if (progress_) progress_(done);
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
    const std::uint64_t framesAtOnce_;
    std::vector<CopyFile> sources_;
    std::vector<CopyFile> targets_;
    std::atomic<std::uint64_t> next_ = 0; // frame
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

void copyChannels(const CopyPlan& plan, const CopyProgress& progress) { Work(plan, progress).run(); }

} // namespace ostrel
