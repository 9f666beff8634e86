// What one file says about itself, taken out of its chunks.
#pragma once

#include "bwfmetaedit/bytes/text.h"
#include "bwfmetaedit/metadata/bext.h"
#include "bwfmetaedit/metadata/info_list.h"

#include <cstdint>
#include <optional>
#include <string>

namespace ostrel::bwfmetaedit {

struct Metadata {
    Encoding encoding = Encoding::Utf8;
    std::uint32_t sampleRate = 0; // Hz, 0 without a fmt chunk
    std::optional<Bext> bext;
    std::optional<InfoList> info;
    std::optional<std::string> ixml; // the chunk's bytes, never re-encoded

    // The iXML up to the first NUL, line breaks as LF; empty without a chunk.
    std::string ixmlText() const { return ixml ? withLineFeeds(untilNul(*ixml)) : std::string(); }
};

} // namespace ostrel::bwfmetaedit
