// The CORE fields: their names, their order, and their values as documents show them.
#pragma once

#include "bwfmetaedit/metadata/bext.h"
#include "bwfmetaedit/metadata/metadata.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace ostrel::bwfmetaedit {

struct Field {
    enum class Kind { BextText, TimeReferenceTranslated, TimeReference, BextVersion, Umid, Loudness, Info };

    std::string_view column;  // its name in CSV
    std::string_view element; // its name in XML
    Kind kind;
    int index = 0; // Bext::Text or Bext::Loudness
};

// All of them, in the order of the columns behind FileName.
inline constexpr std::array kFields{
    Field{"Description", "Description", Field::Kind::BextText, Bext::Description},
    Field{"Originator", "Originator", Field::Kind::BextText, Bext::Originator},
    Field{"OriginatorReference", "OriginatorReference", Field::Kind::BextText, Bext::OriginatorReference},
    Field{"OriginationDate", "OriginationDate", Field::Kind::BextText, Bext::OriginationDate},
    Field{"OriginationTime", "OriginationTime", Field::Kind::BextText, Bext::OriginationTime},
    Field{"TimeReference (translated)", "TimeReference_translated", Field::Kind::TimeReferenceTranslated},
    Field{"TimeReference", "TimeReference", Field::Kind::TimeReference},
    Field{"BextVersion", "BextVersion", Field::Kind::BextVersion},
    Field{"UMID", "UMID", Field::Kind::Umid},
    Field{"LoudnessValue", "LoudnessValue", Field::Kind::Loudness, Bext::LoudnessValue},
    Field{"LoudnessRange", "LoudnessRange", Field::Kind::Loudness, Bext::LoudnessRange},
    Field{"MaxTruePeakLevel", "MaxTruePeakLevel", Field::Kind::Loudness, Bext::MaxTruePeakLevel},
    Field{"MaxMomentaryLoudness", "MaxMomentaryLoudness", Field::Kind::Loudness, Bext::MaxMomentaryLoudness},
    Field{"MaxShortTermLoudness", "MaxShortTermLoudness", Field::Kind::Loudness, Bext::MaxShortTermLoudness},
    Field{"CodingHistory", "CodingHistory", Field::Kind::BextText, Bext::CodingHistory},
    Field{"IARL", "IARL", Field::Kind::Info},
    Field{"IART", "IART", Field::Kind::Info},
    Field{"ICMS", "ICMS", Field::Kind::Info},
    Field{"ICMT", "ICMT", Field::Kind::Info},
    Field{"ICOP", "ICOP", Field::Kind::Info},
    Field{"ICRD", "ICRD", Field::Kind::Info},
    Field{"IDIT", "IDIT", Field::Kind::Info},
    Field{"IENG", "IENG", Field::Kind::Info},
    Field{"IGNR", "IGNR", Field::Kind::Info},
    Field{"IKEY", "IKEY", Field::Kind::Info},
    Field{"IMED", "IMED", Field::Kind::Info},
    Field{"INAM", "INAM", Field::Kind::Info},
    Field{"IPRD", "IPRD", Field::Kind::Info},
    Field{"ISBJ", "ISBJ", Field::Kind::Info},
    Field{"ISFT", "ISFT", Field::Kind::Info},
    Field{"ISRC", "ISRC", Field::Kind::Info},
    Field{"ISRF", "ISRF", Field::Kind::Info},
    Field{"ITCH", "ITCH", Field::Kind::Info},
};

// By column or element name, without regard to case; nullptr if there is none.
const Field* findField(std::string_view name);

// In UTF-8, line breaks as LF; empty where the file holds nothing.
std::string shownValue(const Metadata& metadata, const Field& field);

// "HH:MM:SS.mmm", rounded down. From 256 hours on the hours count modulo 256 and the minutes hold the rest.
std::string translatedTimeReference(std::uint64_t samples, std::uint32_t sampleRate);
// The samples of "HH:MM:SS.mmm", rounded down, or nothing if it is not of that form.
std::optional<std::uint64_t> samplesOfTime(std::string_view text, std::uint32_t sampleRate);

} // namespace ostrel::bwfmetaedit
