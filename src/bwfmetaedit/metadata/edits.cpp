#include "bwfmetaedit/metadata/edits.h"

#include "bwfmetaedit/metadata/field_checks.h"
#include "bwfmetaedit/metadata/fields.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace ostrel::bwfmetaedit {

namespace {

constexpr const char* kTimeReference = "timereference";
constexpr const char* kTranslated = "timereference (translated)";

// TimeReference and its translated form are one value in two columns. The number counts exactly where both say the
// same; otherwise the translated form does, even if it is empty.
std::string agreedTimeReference(const std::string& number, const std::string& translated, std::uint32_t sampleRate) {
    const bool same = isDigits(number) && number.size() <= 18 &&
                      translatedTimeReference(std::stoull(number), sampleRate) == translated;
    return same ? number : translated;
}

class Editor {
public:
    Editor(const Metadata& metadata, const Edits& edits) : edits_(edits), result_{metadata} {}

    EditResult run() {
        for (const auto& [name, value] : edits_.values) {
            const Field* field = findField(name);
            if (field != nullptr) applyChecked(*field, value);
        }
        if (result_.metadata.bext && result_.bextChanged && result_.metadata.bext->isEmpty()) {
            result_.metadata.bext.reset();
        }
        if (result_.metadata.info && result_.infoChanged && result_.metadata.info->fields.empty()) {
            result_.metadata.info.reset();
        }
        if (edits_.ixml) applyIxml(*edits_.ixml);
        return std::move(result_);
    }

private:
    void applyChecked(const Field& field, const std::string& value) {
        const std::string problem = problemWith(field, value, result_.metadata.sampleRate);
        if (!problem.empty()) {
            result_.problems.push_back(problem);
            return;
        }
        try {
            apply(field, value);
        } catch (const EncodingError& error) {
            result_.problems.push_back("'" + error.character + "' Is invalid for ISO 8859-1 encoding");
        }
    }

    void apply(const Field& field, const std::string& value) {
        switch (field.kind) {
        case Field::Kind::BextText: setBextText(field, value); break;
        case Field::Kind::TimeReference:
            if (!edits_.values.contains(kTranslated)) setTimeReference(field, value);
            break;
        case Field::Kind::TimeReferenceTranslated: {
            const auto number = edits_.values.find(kTimeReference);
            const bool both = number != edits_.values.end();
            setTimeReference(field,
                             both ? agreedTimeReference(number->second, value, result_.metadata.sampleRate) : value);
            break;
        }
        case Field::Kind::BextVersion: setVersion(value); break;
        case Field::Kind::Umid: setUmid(field, value); break;
        case Field::Kind::Loudness: setLoudness(field, value); break;
        case Field::Kind::Info: setInfo(field, value); break;
        }
    }

    // A value with a line break always counts as new: how the breaks are stored can't be told from what is shown.
    bool isNew(const Field& field, const std::string& value) {
        const std::string current = shownValue(result_.metadata, field);
        if (withLineFeeds(value) == current) return hasLineBreak(value);
        return mayReplace(field, !current.empty());
    }

    bool mayReplace(const Field& field, bool holdsValue) {
        if (!edits_.rejectsOverwriting || !holdsValue) return true;
        const bool isInfo = field.kind == Field::Kind::Info;
        const std::string name = isInfo ? std::string(field.column) : asciiLower(field.column);
        result_.problems.push_back("overwriting is not authorized (" + name + ")");
        return false;
    }

    Bext& changingBext() {
        result_.bextChanged = true;
        if (!result_.metadata.bext) result_.metadata.bext.emplace();
        return *result_.metadata.bext;
    }

    // A bext that is emptied on the way starts again at version 0.
    void changedBext() {
        if (result_.metadata.bext->isEmpty()) result_.metadata.bext->version = 0;
    }

    void setBextText(const Field& field, const std::string& value) {
        if (!isNew(field, value)) return;
        const std::string stored = fromUtf8(withLineFeeds(value), result_.metadata.encoding);
        changingBext().texts[static_cast<std::size_t>(field.index)] = {stored, true};
        changedBext();
    }

    void setTimeReference(const Field& field, const std::string& value) {
        const std::uint64_t current = result_.metadata.bext ? result_.metadata.bext->timeReference : 0;
        const std::uint64_t samples = value.empty()     ? 0
                                      : isDigits(value) ? std::stoull(value)
                                                        : samplesOfTime(value, result_.metadata.sampleRate).value_or(0);
        if (samples == current || !mayReplace(field, current != 0)) return;
        changingBext().timeReference = samples;
        changedBext();
    }

    void setVersion(const std::string& value) {
        if (value == "0" || !result_.metadata.bext) return;
        const Bext& bext = *result_.metadata.bext;
        const int lowest = bext.hasLoudness() ? 2 : bext.hasUmid() ? 1 : 0;
        const int asked = isDigits(value) && value.size() <= 4 ? std::atoi(value.c_str()) : 0;
        const auto version = static_cast<std::uint16_t>(std::max(lowest, asked));
        if (version == bext.version) return;
        changingBext().raiseVersion(version);
        changingBext().version = version;
    }

    void setUmid(const Field& field, const std::string& value) {
        const std::string current = shownValue(result_.metadata, field);
        std::array<char, Bext::kUmidSize> umid{};
        for (std::size_t i = 0; i + 1 < value.size(); i += 2) {
            umid[i / 2] = static_cast<char>(std::strtoul(value.substr(i, 2).c_str(), nullptr, 16));
        }
        const bool same = current.empty() ? std::all_of(umid.begin(), umid.end(), [](char c) { return c == 0; })
                                          : result_.metadata.bext->umid == umid;
        if (same || !mayReplace(field, !current.empty())) return;
        Bext& bext = changingBext();
        bext.raiseVersion(1);
        bext.umid = umid;
        changedBext();
    }

    void setLoudness(const Field& field, const std::string& value) {
        const std::string current = shownValue(result_.metadata, field);
        const auto hundredths = value.empty()
                                    ? Bext::kUnset
                                    : static_cast<std::int16_t>(std::lround(std::strtod(value.c_str(), nullptr) * 100));
        const auto index = static_cast<std::size_t>(field.index);
        const bool same = current.empty() ? value.empty() : result_.metadata.bext->loudness[index] == hundredths;
        if (same || !mayReplace(field, !current.empty())) return;
        Bext& bext = changingBext();
        bext.raiseVersion(2);
        bext.loudness[index] = hundredths;
        changedBext();
    }

    void setInfo(const Field& field, const std::string& value) {
        if (!isNew(field, value)) return;
        const std::string stored = fromUtf8(withLineFeeds(value), result_.metadata.encoding);
        result_.infoChanged = true;
        std::optional<InfoList>& info = result_.metadata.info;
        if (!info) info.emplace();
        info->set(std::string(field.column), stored);
        if (info->fields.empty()) result_.infoMoved = true;
    }

    void applyIxml(const std::string& document) {
        const std::string text = withLineFeeds(document);
        const std::optional<std::string>& ixml = result_.metadata.ixml;
        const std::string_view current = ixml ? untilNul(*ixml) : std::string_view();
        if (text == current) return;
        if (edits_.rejectsOverwriting && !current.empty()) {
            result_.problems.push_back("overwriting is not authorized (ixml)");
            return;
        }
        result_.ixmlChanged = true;
        if (text.empty()) {
            result_.metadata.ixml.reset();
        } else {
            result_.metadata.ixml = text;
        }
    }

    const Edits& edits_;
    EditResult result_;
};

} // namespace

EditResult applyEdits(const Metadata& metadata, const Edits& edits) {
    Editor editor(metadata, edits);
    return editor.run();
}

} // namespace ostrel::bwfmetaedit
