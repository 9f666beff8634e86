// What must not outlive this program if it has to leave at once: running children and unfinished files.
//
// A signal handler can reach neither objects nor the heap, so both stand in fixed tables of atomics. Entries are made
// and taken back from any thread; `endAtOnce` may be called from a signal handler.
#pragma once

#include <QByteArray>
#include <csignal>
#include <sys/types.h>

namespace ostrel::inFlight {

// Held while a child is started and until it stands in the table: `endAtOnce` waits for that, or it would miss one that
// is just coming up. No signal handler runs on this thread meanwhile, since it would wait for itself.
class Launch {
public:
    Launch();
    ~Launch();
    Launch(const Launch&) = delete;
    Launch& operator=(const Launch&) = delete;

private:
    sigset_t before_;
};

// A child that leads a process group of its own. Taken back by the destructor; the child is reaped after that and not
// before, since its number may then be another's.
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
