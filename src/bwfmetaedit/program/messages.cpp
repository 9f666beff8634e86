#include "bwfmetaedit/program/messages.h"

#include <ctime>

namespace ostrel::bwfmetaedit {

namespace {

std::string now() {
    const std::time_t seconds = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&seconds, &local);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S ", &local);
    return text;
}

} // namespace

void Messages::fileError(std::string_view path, std::string_view text) {
    stream_ << now() << path << ": " << text << "\n\n";
    failed_ = true;
}

void Messages::documentError(std::string_view text) {
    stream_ << now() << text << '\n';
    failed_ = true;
}

void Messages::plainError(std::string_view text) {
    stream_ << text << '\n';
    failed_ = true;
}

} // namespace ostrel::bwfmetaedit
