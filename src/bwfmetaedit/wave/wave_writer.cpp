#include "bwfmetaedit/wave/wave_writer.h"

#include "bwfmetaedit/wave/copy_range.h"
#include "bwfmetaedit/wave/replacement_file.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace ostrel::bwfmetaedit {

namespace {

// A half-written header is a damaged recording: who interrupts the program waits for the end of the write.
class SignalsWait {
public:
    SignalsWait() {
        sigset_t signals;
        sigemptyset(&signals);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) sigaddset(&signals, signal);
        sigprocmask(SIG_BLOCK, &signals, &before_);
    }
    SignalsWait(const SignalsWait&) = delete;
    SignalsWait& operator=(const SignalsWait&) = delete;
    ~SignalsWait() { sigprocmask(SIG_SETMASK, &before_, nullptr); }

private:
    sigset_t before_{};
};

std::string resolved(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr), &std::free);
    if (!real) throwCannotWrite();
    return real.get();
}

// The plan speaks of the file as it was read.
void requireUnchanged(const std::string& path, const struct stat& before) {
    struct stat now {};
    const bool same = ::stat(path.c_str(), &now) == 0 && now.st_dev == before.st_dev && now.st_ino == before.st_ino &&
                      now.st_size == before.st_size && now.st_mtim.tv_sec == before.st_mtim.tv_sec &&
                      now.st_mtim.tv_nsec == before.st_mtim.tv_nsec;
    if (!same) throw WriteError{"was changed by another program, nothing is written"};
}

void replace(const std::string& path, const WaveFile& wave, const WritePlan& plan) {
    ReplacementFile file(path);
    if (::ftruncate(file.descriptor(), static_cast<off_t>(plan.total)) != 0) throwCannotWrite();
    for (const Segment& segment : plan.segments) {
        switch (segment.kind) {
        case Segment::Kind::Bytes:
            if (!writeAll(file.descriptor(), segment.bytes, segment.target)) throwCannotWrite();
            break;
        case Segment::Kind::OldRange:
            copyRange(wave.file.descriptor(), segment.source, file.descriptor(), segment.target, segment.length);
            break;
        case Segment::Kind::Zeros: break; // the new file is full of them
        }
    }
    file.takeOver(wave.file.descriptor(), wave.file.status());
    requireUnchanged(path, wave.file.status());
    file.commit();
}

// Chunks keep their order, so that moves towards the end, last one first, and moves towards the start, first one
// first, never run over a source that is still needed.
void moveOldRanges(int file, const WritePlan& plan) {
    using Kind = Segment::Kind;
    for (auto last = plan.segments.rbegin(); last != plan.segments.rend(); ++last) {
        const Segment& segment = *last;
        const bool up = segment.kind == Kind::OldRange && segment.target > segment.source;
        if (up) moveRange(file, segment.source, segment.target, segment.length);
    }
    for (const Segment& segment : plan.segments) {
        const bool down = segment.kind == Kind::OldRange && segment.target < segment.source;
        if (down) moveRange(file, segment.source, segment.target, segment.length);
    }
}

void writeInPlace(const std::string& path, const WaveFile& wave, const WritePlan& plan) {
    const FileDescriptor file(::open(path.c_str(), O_RDWR | O_CLOEXEC));
    if (!file.isOpen()) throwCannotWrite();
    requireUnchanged(path, wave.file.status());
    const std::uint64_t oldSize = wave.file.size();
    const SignalsWait signalsWait;
    if (plan.total > oldSize) {
        const auto growth = static_cast<off_t>(plan.total - oldSize);
        if (::posix_fallocate(file.get(), static_cast<off_t>(oldSize), growth) != 0) {
            (void)!::ftruncate(file.get(), static_cast<off_t>(oldSize));
            throwCannotWrite();
        }
    }
    moveOldRanges(file.get(), plan);
    for (auto last = plan.segments.rbegin(); last != plan.segments.rend(); ++last) {
        const Segment& segment = *last;
        if (segment.kind == Segment::Kind::Zeros) writeZeros(file.get(), segment.target, segment.length);
        if (segment.kind != Segment::Kind::Bytes) continue;
        if (!writeAll(file.get(), segment.bytes, segment.target)) throwCannotWrite();
    }
    // No fsync: a change in place is not atomic with one either, and it would first send to the disk all the audio that
    // a job has just written, which takes longer than the job.
}

} // namespace

void writeWaveFile(const std::string& path, const WaveFile& wave, const WritePlan& plan) {
    const std::string target = resolved(path);
    if (plan.isInPlace) {
        writeInPlace(target, wave, plan);
    } else {
        replace(target, wave, plan);
    }
}

} // namespace ostrel::bwfmetaedit
