#include "bwfmetaedit/metadata/field_checks.h"

namespace ostrel::bwfmetaedit {

namespace {

constexpr std::size_t kMostTimeReferenceDigits = 18;
constexpr std::string_view kFormatLimit = " (format limitation)";
constexpr std::string_view kRequirement = " (BWF requirements)";

// Two digits, or four, at the offset, within the range.
bool numberIsWithin(std::string_view value, std::size_t offset, std::size_t length, int lowest, int highest) {
    const std::string digits(value.substr(offset, length));
    if (!isDigits(digits)) return false;
    const int number = std::stoi(digits);
    return number >= lowest && number <= highest;
}

std::string problemWithDate(std::string_view value) {
    if (value.size() < 10) return "OriginationDate must be YYYY-MM-DD" + std::string(kRequirement);
    const auto problem = [](std::string_view part) {
        return "OriginationDate " + std::string(part) + std::string(kRequirement);
    };
    if (!numberIsWithin(value, 0, 4, 0, 9999)) {
        return problem("1st to 4th characters (Year) must be between '0000' and '9999'");
    }
    if (!numberIsWithin(value, 5, 2, 1, 12)) {
        return problem("6th and 7th characters (Month) must be between '01' and '12'");
    }
    if (!numberIsWithin(value, 8, 2, 1, 31)) {
        // The message of old says 23; the real limit is 31.
        return problem("9th and 10th characters (Day) must be between '01' and '23'");
    }
    return {};
}

std::string problemWithTime(std::string_view value) {
    if (value.size() < 8) return "OriginationTime must be HH:MM:SS";
    if (!numberIsWithin(value, 0, 2, 0, 23)) {
        return "OriginationTime 1st and 2nd characters (Hours) must be between '00' and '23'";
    }
    if (!numberIsWithin(value, 3, 2, 0, 59)) {
        return "OriginationTime 4th and 5th characters (Minutes) must be between '00' and '59'";
    }
    if (!numberIsWithin(value, 6, 2, 0, 59)) {
        return "OriginationTime 7th and 8th characters (Seconds) must be between '00' and '59'";
    }
    return {};
}

// A line break counts for the two bytes that it may take.
std::string problemWithText(const Field& field, std::string_view value) {
    if (field.index == Bext::CodingHistory) return {};
    const std::size_t limit = kBextTextSizes[static_cast<std::size_t>(field.index)];
    if (withCarriageReturns(value).size() > limit) {
        return std::string(field.column) + " length is maximum " + std::to_string(limit) + " characters" +
               std::string(kFormatLimit);
    }
    if (field.index == Bext::OriginationDate) return problemWithDate(value);
    if (field.index == Bext::OriginationTime) return problemWithTime(value);
    return {};
}

std::string problemWithTimeReference(std::string_view value, std::uint32_t sampleRate) {
    if (isDigits(value)) {
        return value.size() > kMostTimeReferenceDigits ? "TimeReference must be a number less than 18 digits"
                                                       : std::string();
    }
    const bool isTime = sampleRate > 0 && samplesOfTime(value, sampleRate);
    return isTime ? std::string() : "TimeReference must be a number";
}

std::string problemWithUmid(std::string_view value) {
    const bool length = value.size() == 64 || value.size() == 128;
    const bool digits = value.find_first_not_of("0123456789abcdefABCDEF") == std::string_view::npos;
    return length && digits ? std::string() : "UMID must be 0-, 32- or 64-byte long";
}

// "-23", "5.5", "XX.XX", up to 100.
std::string problemWithLoudness(const Field& field, std::string_view value) {
    std::string_view number = value;
    if (number.starts_with('-')) number.remove_prefix(1);
    const std::size_t point = std::min(number.find('.'), number.size());
    const std::string_view whole = number.substr(0, point);
    const std::string_view fraction = number.substr(std::min(point + 1, number.size()));
    const bool digits = isDigits(whole) && (point == number.size() || isDigits(fraction));
    const bool fits = digits && whole.size() <= 3 && fraction.size() <= 2 && std::stod(std::string(number)) <= 100;
    return fits ? std::string() : asciiLower(field.column) + " must be XX.XX or -XX.XX";
}

} // namespace

std::string problemWith(const Field& field, std::string_view value, std::uint32_t sampleRate) {
    if (value.empty()) return {};
    if (!isUtf8(value)) return "malformed input, " + std::string(field.column) + " is not valid UTF-8";
    std::string problem;
    switch (field.kind) {
    case Field::Kind::BextText: problem = problemWithText(field, value); break;
    case Field::Kind::TimeReference: problem = problemWithTimeReference(value, sampleRate); break;
    case Field::Kind::TimeReferenceTranslated:
        if (sampleRate == 0 || !samplesOfTime(value, sampleRate)) {
            problem = "TimeReference (translated) format must be HH:MM:SS.mmm";
        }
        break;
    case Field::Kind::Umid: problem = problemWithUmid(value); break;
    case Field::Kind::Loudness: problem = problemWithLoudness(field, value); break;
    case Field::Kind::Info:
        if (field.column == "ICMT" && hasLineBreak(value)) {
            return "malformed input (ICMT=" + withCarriageReturns(value) + ", carriage return are not acceptable)";
        }
        break;
    case Field::Kind::BextVersion: break;
    }
    return problem.empty() ? problem : "malformed input, " + problem;
}

} // namespace ostrel::bwfmetaedit
