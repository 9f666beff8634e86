#include "platform/processes/ffmpeg_fault.h"

#include "platform/text/text.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace ostrel {
namespace {

// Banner, descriptions, progress and notes. What is set in belongs to one of them.
bool isChatter(QByteArrayView line) {
    static constexpr std::array kStarts{"ffmpeg version",        "Input #", "Output #", "Stream mapping:", "Press [q]",
                                        "Last message",          "size=",   "frame=",   "video:",          "Use -h to",
                                        "Guessed Channel Layout"};
    static constexpr std::array kParts{"Pure channel mapping detected", "ignoring layout", "misdetection possible",
                                       "this may be inaccurate", "is deprecated"};
    const auto begins = [&](const char* text) { return line.startsWith(text); };
    const auto holds = [&](const char* text) { return line.contains(text); };
    return line.isEmpty() || line.front() == ' ' || line.front() == '\t' || std::ranges::any_of(kStarts, begins) ||
           std::ranges::any_of(kParts, holds);
}

// What follows from a fault that a line ahead of it tells better.
bool isConsequence(QByteArrayView line) {
    static constexpr std::array kStarts{"Conversion failed!",
                                        "Error splitting the argument list",
                                        "Error initializing complex filters",
                                        "Error initializing output stream",
                                        "FFmpeg cannot edit existing files",
                                        "To ignore this,"};
    return line.endsWith("Invalid argument") ||
           std::ranges::any_of(kStarts, [&](const char* text) { return line.startsWith(text); });
}

// "[wav @ 0x55d0c0ffee00] invalid start code" -> "invalid start code", for a look at how it begins.
QByteArrayView withoutPart(QByteArrayView line) {
    while (line.startsWith('[')) {
        const qsizetype end = line.indexOf("] ");
        if (end < 0) break;
        line = line.sliced(end + 2);
    }
    return line;
}

// Progress is printed over itself, so a carriage return ends a line too.
QByteArrayView takeLastLine(QByteArrayView& text) {
    const auto endsLine = [](char byte) { return byte == '\n' || byte == '\r'; };
    while (!text.isEmpty() && endsLine(text.back())) text.chop(1);
    qsizetype start = text.size();
    while (start > 0 && !endsLine(text[start - 1])) --start;
    const QByteArrayView line = text.sliced(start);
    text.truncate(start);
    return line;
}

QByteArrayView faultLine(QByteArrayView text) {
    QByteArrayView consequence;
    while (!text.isEmpty()) {
        const QByteArrayView line = takeLastLine(text);
        if (isChatter(line) || isChatter(withoutPart(line))) continue;
        if (!isConsequence(withoutPart(line))) return line;
        consequence = line; // the first of them is nearest to the fault
    }
    return consequence;
}

} // namespace

QString ffmpegFault(const ProcessResult& result) {
    if (!result.why.isEmpty()) return result.why;
    if (result.crashed) {
        return QStringLiteral("ended by a signal: ") + QString::fromLocal8Bit(::strsignal(result.exitStatus - 128));
    }
    return decodeUtf8(faultLine(result.standardError)).value_or(QString()).trimmed();
}

} // namespace ostrel
