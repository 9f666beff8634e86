#include "bwfmetaedit/metadata/copy.h"

#include "bwfmetaedit/metadata/fields.h"

#include <algorithm>

namespace ostrel::bwfmetaedit {

namespace {

bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool hasOnlyAscii(const Metadata& metadata) {
    bool ascii = true;
    if (metadata.bext) {
        for (const BextText& text : metadata.bext->texts) ascii = ascii && isAscii(text.bytes);
    }
    if (metadata.info) {
        for (const InfoField& field : metadata.info->fields) ascii = ascii && isAscii(field.bytes);
    }
    return ascii;
}

class Copier {
public:
    Copier(const Metadata& source, const Metadata& target, bool onlyMissing)
        : source_(source), onlyMissing_(onlyMissing), result_{target} {
        // ASCII is the same in both encodings: then the source's texts need not be changed at all.
        if (target.encoding == Encoding::Utf8 && hasOnlyAscii(target)) result_.metadata.encoding = source.encoding;
    }

    EditResult run() {
        if (source_.bext && !source_.bext->isEmpty()) copyBext(*source_.bext);
        if (source_.info) {
            for (const Field& field : kFields) {
                if (field.kind == Field::Kind::Info) copyInfo(field);
            }
        }
        return std::move(result_);
    }

private:
    void copyBext(const Bext& from) {
        const Bext before = result_.metadata.bext.value_or(Bext{});
        const bool isNew = before.isEmpty();
        Bext to = before;
        if (from.version > to.version && (isNew || !onlyMissing_)) to.raiseVersion(from.version);
        for (const Field& field : kFields) {
            if (field.kind == Field::Kind::BextText) copyText(field, from, to);
        }
        if (mayTake(to.timeReference != 0)) to.timeReference = from.timeReference;
        if (from.hasUmid() && mayTake(to.hasUmid())) {
            to.raiseVersion(1);
            to.umid = from.umid;
        }
        for (std::size_t i = 0; from.version >= 2 && i < Bext::LoudnessCount; ++i) {
            const bool holds = to.version >= 2 && to.loudness[i] != Bext::kUnset;
            if (from.loudness[i] == Bext::kUnset || !mayTake(holds)) continue;
            to.raiseVersion(2);
            to.loudness[i] = from.loudness[i];
        }
        const bool freshText =
            std::any_of(to.texts.begin(), to.texts.end(), [](const BextText& text) { return text.isFresh; });
        result_.bextChanged = freshText || to.timeReference != before.timeReference || to.version != before.version ||
                              to.umid != before.umid || to.loudness != before.loudness;
        if (result_.bextChanged) result_.metadata.bext = std::move(to);
    }

    bool mayTake(bool targetHolds) const { return !onlyMissing_ || !targetHolds; }

    void copyText(const Field& field, const Bext& from, Bext& to) {
        const auto index = static_cast<std::size_t>(field.index);
        const std::string current = to.texts[index].bytes;
        if (from.texts[index].bytes.empty() || !mayTake(!current.empty())) return;
        if (shownValue(source_, field) == shownValue(result_.metadata, field)) return;
        std::string bytes;
        if (!convert(from.texts[index].bytes, bytes)) return;
        const bool isLimited = index < kBextTextSizes.size();
        if (isLimited && bytes.size() > kBextTextSizes[index]) {
            result_.problems.push_back(std::string(field.column) + " does not fit, it is more than " +
                                       std::to_string(kBextTextSizes[index]) + " bytes in UTF-8");
            return;
        }
        to.texts[index] = {bytes, true};
    }

    void copyInfo(const Field& field) {
        const std::string name(field.column);
        const std::string value = source_.info->value(name);
        const std::string current = shownValue(result_.metadata, field);
        if (value.empty() || !mayTake(!current.empty()) || shownValue(source_, field) == current) return;
        std::string bytes;
        if (!convert(value, bytes)) return;
        if (!result_.metadata.info) result_.metadata.info.emplace();
        result_.metadata.info->set(name, bytes);
        result_.infoChanged = true;
    }

    bool convert(const std::string& text, std::string& bytes) try {
        bytes = source_.encoding == result_.metadata.encoding
                    ? text
                    : fromUtf8(toUtf8(text, source_.encoding), result_.metadata.encoding);
        return true;
    } catch (const EncodingError& error) {
        result_.problems.push_back("'" + error.character + "' Is invalid for ISO 8859-1 encoding");
        return false;
    }

    const Metadata& source_;
    const bool onlyMissing_;
    EditResult result_;
};

} // namespace

EditResult copyCore(const Metadata& source, const Metadata& target, bool onlyMissing) {
    return Copier(source, target, onlyMissing).run();
}

} // namespace ostrel::bwfmetaedit
