// Carries out any plan of channels in one pass over its sources, however many files come out, in memory that does not
// grow with the files. Samples are bytes in another order; nothing is converted.
//
// Blocks, on several threads of its own, each with a stretch of frames at a time; for any thread.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace ostrel {

struct CopySource {
    std::string path;
    std::uint64_t audio = 0; // offset of the first frame in the file
    std::size_t channels = 1;
    std::uint64_t fileSize = 0; // that its headers were read with; 0: not known
};

struct CopyChannel {
    std::size_t source = 0;  // index in the plan's sources
    std::size_t channel = 0; // 0-based
};

struct CopyTarget {
    std::string path; // of a file that is not there yet
    std::string head; // all bytes ahead of the audio
    std::vector<CopyChannel> channels;
};

struct CopyPlan {
    std::vector<CopySource> sources;
    std::vector<CopyTarget> targets;
    std::size_t bytesPerSample = 0; // 1 to 8, of all files
    std::uint64_t frames = 0;       // of all targets, and no more than the shortest source has

    std::uint64_t bytesToWrite() const;
};

// A file that can't be opened, read or written, or that is no longer the one that was opened.
class CopyError : public std::runtime_error {
public:
    CopyError(const std::string& what, const std::string& failingPath) : std::runtime_error(what), path(failingPath) {}
    std::string path;
};

// Bytes written so far; called from any of the threads, often.
using CopyProgress = std::function<void(std::uint64_t bytes)>;

// Sees the frames of the sources as they were read, ahead of everything that is done with them: for a check that trusts
// nothing of the copying. All may be called from several threads at once; what they throw fails the job.
class CopyWitness {
public:
    // A run of frames that one thread has in hand.
    class Stretch {
    public:
        virtual ~Stretch() = default;
        // `count` frames of every source, the next ones of the stretch; read[i] holds those of source i, interleaved.
        virtual void see(std::size_t count, const std::vector<std::vector<unsigned char>>& read) = 0;
        // All of its frames were seen. May wait for the ends of the stretches ahead of it.
        virtual void end() = 0;
    };

    virtual ~CopyWitness() = default;
    // Stretches follow each other without a gap, and begin in any order. Ends ahead of the next one of its thread.
    virtual std::unique_ptr<Stretch> stretch(std::uint64_t first, std::size_t frames) = 0;
    // One of the threads has failed, and its stretch will not end.
    virtual void giveUp() noexcept = 0;
};

// Throws CopyError. The room for the targets is taken first where the file system can do so: a full disk says so before
// any work is done. What stands in the targets after an error is a part.
void copyChannels(const CopyPlan& plan, const CopyProgress& progress = {}, CopyWitness* witness = nullptr);

} // namespace ostrel
