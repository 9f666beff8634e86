#include "bwfmetaedit/wave/file_time.h"

#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>

namespace ostrel::bwfmetaedit {

namespace {

std::string creationTime(const std::string& path, const char* format) {
    struct statx status {};
    if (::statx(AT_FDCWD, path.c_str(), 0, STATX_BTIME | STATX_MTIME, &status) != 0) return {};
    const bool hasBirth = (status.stx_mask & STATX_BTIME) != 0;
    const std::time_t seconds = hasBirth ? status.stx_btime.tv_sec : status.stx_mtime.tv_sec;
    std::tm local{};
    ::localtime_r(&seconds, &local);
    char text[32];
    std::strftime(text, sizeof text, format, &local);
    return text;
}

} // namespace

Edits withTimestamps(Edits edits, const std::string& path) {
    const auto resolve = [&](const char* name, const char* format) {
        const auto value = edits.values.find(name);
        if (value != edits.values.end() && value->second == "TIMESTAMP") value->second = creationTime(path, format);
    };
    resolve("originationdate", "%Y-%m-%d");
    resolve("originationtime", "%H:%M:%S");
    return edits;
}

} // namespace ostrel::bwfmetaedit
