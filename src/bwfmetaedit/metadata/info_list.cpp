#include "bwfmetaedit/metadata/info_list.h"

#include "bwfmetaedit/bytes/bytes.h"
#include "bwfmetaedit/bytes/riff_walk.h"
#include "bwfmetaedit/bytes/text.h"

#include <algorithm>

namespace ostrel::bwfmetaedit {

void InfoList::parse(std::string_view contents) {
    MemoryBytes bytes(contents);
    RiffWalk walk(bytes, {"LIST", 0, contents.size(), contents.size(), {}});
    while (const std::optional<Chunk> chunk = walk.next()) {
        const auto sameName = [&](const InfoField& field) { return field.name == chunk->name; };
        if (std::any_of(fields.begin(), fields.end(), sameName)) {
            throw InvalidWave{"2 " + shownName(chunk->name) + " chunks"};
        }
        fields.push_back({chunk->name, bytes.read(chunk->dataOffset(), static_cast<std::size_t>(chunk->size))});
    }
    const std::string_view stray = contents.substr(static_cast<std::size_t>(walk.end()));
    if (stray.find_first_not_of('\0') != std::string_view::npos) throw InvalidWave{"small"};
}

std::string InfoList::serialize() const {
    std::string chunk = "INFO";
    for (const InfoField& field : fields) {
        chunk += field.name + littleEndianBytes(static_cast<std::uint32_t>(field.bytes.size())) + field.bytes;
        if (field.bytes.size() % 2 != 0) chunk += '\0';
    }
    return chunk;
}

std::string InfoList::value(std::string_view name) const {
    const auto field = std::find_if(fields.begin(), fields.end(), [&](const InfoField& f) { return f.name == name; });
    return field == fields.end() ? std::string() : std::string(untilNul(field->bytes));
}

void InfoList::set(const std::string& name, const std::string& value) {
    const auto field = std::find_if(fields.begin(), fields.end(), [&](const InfoField& f) { return f.name == name; });
    if (value.empty()) {
        if (field != fields.end()) fields.erase(field);
        return;
    }
    const std::string bytes = value + '\0';
    if (field != fields.end()) {
        field->bytes = bytes;
    } else {
        fields.push_back({name, bytes});
    }
}

} // namespace ostrel::bwfmetaedit
