// What must not outlive this program if it has to leave at once: running children and unfinished files.
//
// A signal handler can reach neither objects nor the heap, so both stand in fixed tables of atomics. Entries are made
// and taken back from any thread; `endAtOnce` may be called from a signal handler.
#pragma once

#include <QByteArray>
#include <sys/types.h>

namespace ostrel::inFlight {

// A child that leads a process group of its own. Taken back by the destructor, ahead of which the child was waited for.
class Child {
public:
    explicit Child(pid_t group);
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

private:
    int slot_;
};

// An unfinished file under a private name. `settle` takes it back early: from then on the name is no longer ours to
// remove.
class UnfinishedFile {
public:
    explicit UnfinishedFile(const QByteArray& path);
    ~UnfinishedFile() { settle(); }
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;
    void settle();

private:
    int slot_;
};

// Kills every child with its group, removes every unfinished file. Async-signal-safe.
void endAtOnce();

} // namespace ostrel::inFlight
