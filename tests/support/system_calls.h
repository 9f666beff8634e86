// Lets a test answer for the C library: a call of this program fails as a disk, a share or another program would make
// it fail, or something happens just ahead of it.
//
// A test program that uses this has these calls go through here; they pass on to the C library's own where nobody asked
// for them. One thread at a time may make and end these objects.
#pragma once

#include <QByteArray>
#include <functional>

namespace ostrel::testing {

enum class SystemCall { renameat2, rename, link, unlink, fsync, pread, write };

class OnSystemCall {
public:
    // Asked ahead of every such call while this lives, with the file it is for and, for those that give a name, the new
    // one. 0 lets the call pass, a number of errno fails it. Calls that `answer` makes itself are not asked about.
    using Answer = std::function<int(const QByteArray& path, const QByteArray& newPath)>;
    OnSystemCall(SystemCall call, Answer answer);
    OnSystemCall(SystemCall call, int error);
    ~OnSystemCall();
    OnSystemCall(const OnSystemCall&) = delete;
    OnSystemCall& operator=(const OnSystemCall&) = delete;

    int count() const { return count_; } // of the calls so far

private:
    friend int askedAbout(SystemCall, const QByteArray&, const QByteArray&);

    SystemCall call_;
    Answer answer_;
    int count_ = 0;
};

} // namespace ostrel::testing
