#include "support/system_calls.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <dlfcn.h>
#include <unistd.h>

namespace ostrel::testing {
namespace {

// No container that is gone before the last call of the program.
std::array<OnSystemCall*, 16> asked{};
int askedCount = 0;
thread_local bool isAnswering = false;

QByteArray pathOf(int descriptor) {
    std::array<char, PATH_MAX> path;
    const QByteArray link = "/proc/self/fd/" + QByteArray::number(descriptor);
    const ssize_t size = ::readlink(link.constData(), path.data(), path.size());
    return size < 0 ? QByteArray() : QByteArray(path.data(), size);
}

template <class Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

OnSystemCall::OnSystemCall(SystemCall call, Answer answer) : call_(call), answer_(std::move(answer)) {
    asked.at(static_cast<std::size_t>(askedCount++)) = this;
}

OnSystemCall::OnSystemCall(SystemCall call, int error)
    : OnSystemCall(call, [error](const QByteArray&, const QByteArray&) { return error; }) {}

OnSystemCall::~OnSystemCall() {
    askedCount = static_cast<int>(std::remove(asked.begin(), asked.begin() + askedCount, this) - asked.begin());
}

// 0 where nobody minds.
int askedAbout(SystemCall call, const QByteArray& path, const QByteArray& newPath) {
    if (isAnswering) return 0;
    isAnswering = true;
    int error = 0;
    for (int i = 0; i < askedCount && error == 0; ++i) {
        OnSystemCall* const each = asked[static_cast<std::size_t>(i)];
        if (each->call_ != call) continue;
        ++each->count_;
        error = each->answer_(path, newPath);
    }
    isAnswering = false;
    return error;
}

namespace {

template <class Result, class Call>
Result answered(int error, Call call) {
    if (error == 0) return call();
    errno = error;
    return -1;
}

} // namespace

} // namespace ostrel::testing

// The program's own definitions stand ahead of the C library's.
extern "C" {

using namespace ostrel::testing;

int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned int flags) noexcept {
    static auto* const real = next<int(int, const char*, int, const char*, unsigned int)>("renameat2");
    return answered<int>(askedAbout(SystemCall::renameat2, from, to),
                         [&] { return real(fromFolder, from, toFolder, to, flags); });
}

int rename(const char* from, const char* to) noexcept {
    static auto* const real = next<int(const char*, const char*)>("rename");
    return answered<int>(askedAbout(SystemCall::rename, from, to), [&] { return real(from, to); });
}

int link(const char* from, const char* to) noexcept {
    static auto* const real = next<int(const char*, const char*)>("link");
    return answered<int>(askedAbout(SystemCall::link, from, to), [&] { return real(from, to); });
}

int unlink(const char* path) noexcept {
    static auto* const real = next<int(const char*)>("unlink");
    return answered<int>(askedAbout(SystemCall::unlink, path, QByteArray()), [&] { return real(path); });
}

int fsync(int descriptor) {
    static auto* const real = next<int(int)>("fsync");
    return answered<int>(askedAbout(SystemCall::fsync, pathOf(descriptor), QByteArray()),
                         [&] { return real(descriptor); });
}

ssize_t pread(int descriptor, void* into, size_t count, off_t offset) {
    static auto* const real = next<ssize_t(int, void*, size_t, off_t)>("pread");
    if (askedCount == 0) return real(descriptor, into, count, offset);
    return answered<ssize_t>(askedAbout(SystemCall::pread, pathOf(descriptor), QByteArray()),
                             [&] { return real(descriptor, into, count, offset); });
}

ssize_t write(int descriptor, const void* bytes, size_t count) {
    static auto* const real = next<ssize_t(int, const void*, size_t)>("write");
    if (askedCount == 0) return real(descriptor, bytes, count);
    return answered<ssize_t>(askedAbout(SystemCall::write, pathOf(descriptor), QByteArray()),
                             [&] { return real(descriptor, bytes, count); });
}
}
