// Measures our way of doing a thing against the bare tool's, in one run, alternating, so that the machine's mood falls
// on both. Prints ratios: absolute times say little on another machine.
#pragma once

#include <QString>
#include <QStringList>
#include <functional>

namespace ostrel::bench {

struct Side {
    QString name;
    std::function<void()> work;
    // Before every run and outside the measure: remove outputs (to overwrite dirty pages costs more than to write new
    // ones), make folders.
    std::function<void()> before = [] {};
};

// Prints one row: median seconds of both sides, the median of the ratios of neighbouring runs, the goal, the ratio of
// the least processor time that either side took in a run, its tools included (which waiting for the disk doesn't
// touch, and other programs the least), and the peak memory of our side in MiB. Each side runs once unmeasured, to fill
// the page cache, then `runs` times in a process of its own.
void compare(const QString& title, double goal, const Side& ours, const Side& bare, int runs = 5);

// Runs a command line, dropping what it prints; ends the benchmark if it fails.
void runBare(const QString& program, const QStringList& arguments);

} // namespace ostrel::bench
