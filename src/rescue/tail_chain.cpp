#include "rescue/tail_chain.h"

#include "wave/chunk_walk.h"
#include "wave/little_endian.h"

#include <algorithm>
#include <array>
#include <set>

namespace ostrel {
namespace {

constexpr std::uint64_t kReach = std::uint64_t{64} << 20;
constexpr std::uint64_t kWindow = std::uint64_t{1} << 20;

// Those that stand behind audio; ids of three letters have a blank at the end.
constexpr std::array<std::string_view, 49> kTailIds{
    "AFAn", "AFmd", "CSET", "DGDA", "DISP", "FLLR", "ID3 ", "ISMP", "JUNK", "LGWV", "LIST", "MD5 ", "PAD ",
    "ResU", "SMED", "_PMX", "acid", "afsp", "axml", "bext", "bxml", "cart", "chna", "clm ", "cue ", "dbmd",
    "elm1", "fact", "iXML", "iXTC", "id3 ", "inst", "junk", "levl", "link", "list", "minf", "omfi", "ovwf",
    "plst", "regn", "smpl", "sxml", "tlst", "umid", "DMC ", "PEAK", "peak", "strc"};

bool isTailId(std::string_view id) { return std::find(kTailIds.begin(), kTailIds.end(), id) != kTailIds.end(); }

std::array<bool, 256> firstLetters() {
    std::array<bool, 256> result{};
    for (const std::string_view id : kTailIds) result[static_cast<unsigned char>(id[0])] = true;
    return result;
}

} // namespace

bool isKnownChunk(std::string_view id) { return id == "fmt " || id == "data" || id == "ds64" || isTailId(id); }

std::uint64_t tailBegin(ByteSource& source, std::uint64_t audio) {
    static const std::array<bool, 256> kFirst = firstLetters();
    const std::uint64_t size = source.size();
    const std::uint64_t least = std::max(audio, size > kReach ? size - kReach : 0);
    std::set<std::uint64_t> starts{size}; // of chunks from which a chain leads to the end
    std::uint64_t begin = size;
    for (std::uint64_t end = size; end > least;) {
        const std::uint64_t from = end - least > kWindow ? end - kWindow : least;
        const std::string bytes = source.read(from, static_cast<std::size_t>(end - from) + kChunkHeaderBytes - 1);
        for (std::uint64_t at = end; at-- > from;) {
            const std::size_t place = at - from;
            if (place + kChunkHeaderBytes > bytes.size() || !kFirst[static_cast<unsigned char>(bytes[place])]) continue;
            if (!isTailId(std::string_view(bytes).substr(place, 4))) continue;
            const std::uint64_t length = littleEndian<std::uint32_t>(bytes, place + 4);
            const std::uint64_t behind = at + kChunkHeaderBytes + length;
            if (!starts.contains(behind) && (length % 2 == 0 || !starts.contains(behind + 1))) continue;
            starts.insert(at);
            if ((at - audio) % 2 == 0) begin = at;
        }
        end = from;
    }
    return begin;
}

} // namespace ostrel
