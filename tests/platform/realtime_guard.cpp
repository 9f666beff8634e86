#include "platform/realtime_guard.h"

#include <cstdarg>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <new>
#include <pthread.h>
#include <unistd.h>

namespace {

thread_local bool isGuarded = false;
thread_local int violationCount = 0;

void note() {
    if (isGuarded) ++violationCount;
}

template <class Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

namespace ostrel::testing {

RealtimeGuard::RealtimeGuard() {
    violationCount = 0;
    isGuarded = true;
}

RealtimeGuard::~RealtimeGuard() { isGuarded = false; }

int RealtimeGuard::violations() const { return violationCount; }

} // namespace ostrel::testing

// The program's own definitions stand ahead of the C library's.
extern "C" {

int pthread_mutex_lock(pthread_mutex_t* mutex) {
    note();
    static auto* const real = next<int(pthread_mutex_t*)>("pthread_mutex_lock");
    return real(mutex);
}

int open(const char* path, int flags, ...) {
    note();
    va_list arguments;
    va_start(arguments, flags);
    const auto mode = static_cast<mode_t>(va_arg(arguments, int));
    va_end(arguments);
    static auto* const real = next<int(const char*, int, ...)>("open");
    return real(path, flags, mode);
}

ssize_t read(int descriptor, void* into, size_t count) {
    note();
    static auto* const real = next<ssize_t(int, void*, size_t)>("read");
    return real(descriptor, into, count);
}
}

// malloc itself stays alone: the address sanitizer brings its own. C++ code allocates through these.
void* operator new(std::size_t size) {
    note();
    if (void* memory = std::malloc(size ? size : 1)) return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    note();
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    note();
    std::free(memory);
}
