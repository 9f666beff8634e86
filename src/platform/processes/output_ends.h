// The two ends of what a tool prints, whatever lies between them: its first words name the inputs, its last ones say
// what went wrong. Memory stays within a few times the ends, however much is printed.
#pragma once

#include <QByteArray>

namespace ostrel {

class OutputEnds {
public:
    // Bytes kept of either end.
    OutputEnds(qsizetype first, qsizetype last) : first_(first), last_(last) {}

    void append(QByteArrayView text);

    // All of it, or both ends with a line of its own between them that says how much was left out. Cut at whole
    // letters of UTF-8: half of one would make all of it undecodable.
    QByteArray take();

private:
    void dropAllButLast();

    qsizetype first_;
    qsizetype last_;
    QByteArray start_;
    QByteArray rest_; // its end
    qint64 dropped_ = 0;
};

} // namespace ostrel
