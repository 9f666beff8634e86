#include "platform/processes/in_flight.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstring>
#include <poll.h>
#include <unistd.h>

namespace ostrel::inFlight {
namespace {

// More than run together at any time; what finds no room is only not cleared away by a signal.
constexpr int kChildren = 128;
constexpr int kFiles = 256;

std::array<std::atomic<pid_t>, kChildren> children{};
std::atomic<int> launches{0};

// A launch takes a millisecond or two, unless the disk that the tool lies on hangs.
void waitForLaunches() {
    for (int waited = 0; launches > 0 && waited < 1000; ++waited) ::poll(nullptr, 0, 1);
}

struct File {
    enum : int { free, filling, set };
    std::atomic<int> state{free};
    std::array<char, PATH_MAX> path;
};
std::array<File, kFiles> files{};

} // namespace

Launch::Launch() {
    sigset_t all;
    sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before_);
    ++launches;
}

Launch::~Launch() {
    --launches;
    ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

Child::Child(pid_t group) : slot_(-1) {
    for (int i = 0; i < kChildren && slot_ < 0; ++i) {
        pid_t none = 0;
        if (children[static_cast<std::size_t>(i)].compare_exchange_strong(none, group)) slot_ = i;
    }
}

Child::~Child() {
    if (slot_ >= 0) children[static_cast<std::size_t>(slot_)] = 0;
}

UnfinishedFile::UnfinishedFile(const QByteArray& path) : slot_(-1) {
    if (path.size() >= PATH_MAX) return;
    for (int i = 0; i < kFiles && slot_ < 0; ++i) {
        File& file = files[static_cast<std::size_t>(i)];
        int expected = File::free;
        if (!file.state.compare_exchange_strong(expected, File::filling)) continue;
        std::memcpy(file.path.data(), path.constData(), static_cast<std::size_t>(path.size()) + 1);
        file.state = File::set;
        slot_ = i;
    }
}

void UnfinishedFile::settle() {
    if (slot_ >= 0) files[static_cast<std::size_t>(slot_)].state = File::free;
    slot_ = -1;
}

void endAtOnce() {
    const int saved = errno;
    waitForLaunches();
    for (std::atomic<pid_t>& child : children) {
        if (const pid_t group = child; group > 0) ::kill(-group, SIGKILL);
    }
    for (File& file : files) {
        if (file.state == File::set) ::unlink(file.path.data());
    }
    errno = saved;
}

} // namespace ostrel::inFlight
