#include "wave/wave_layout.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ostrel {
namespace {

constexpr std::uint64_t kFirstChunk = 12;
constexpr std::uint64_t kHeader = 8;
constexpr std::uint32_t kUnknown = 0xFFFFFFFF;
constexpr std::size_t kMostChunks = 100'000; // a file of nothing but headers ends somewhere

class Bytes {
public:
    Bytes(int descriptor, std::uint64_t size) : descriptor_(descriptor), size_(size) {}

    template <std::size_t count>
    std::optional<std::array<unsigned char, count>> at(std::uint64_t offset) const {
        std::array<unsigned char, count> bytes;
        if (offset + count > size_) return std::nullopt;
        for (std::size_t done = 0; done < count;) {
            const ssize_t got =
                ::pread(descriptor_, bytes.data() + done, count - done, static_cast<off_t>(offset + done));
            if (got < 0 && errno == EINTR) continue;
            if (got <= 0) return std::nullopt;
            done += static_cast<std::size_t>(got);
        }
        return bytes;
    }
    std::uint64_t size() const { return size_; }

private:
    int descriptor_;
    std::uint64_t size_;
};

std::uint64_t number(const unsigned char* bytes, int count) {
    std::uint64_t value = 0;
    for (int i = count - 1; i >= 0; --i) value = value << 8 | bytes[i];
    return value;
}

bool says(const unsigned char* bytes, const char* id) { return std::memcmp(bytes, id, 4) == 0; }

bool isPrintable(const std::string& id) {
    return std::all_of(id.begin(), id.end(), [](char letter) { return letter >= 32 && letter < 127; });
}

std::optional<WaveChunk> chunkAt(const Bytes& file, std::uint64_t offset) {
    const auto header = file.at<kHeader>(offset);
    if (!header) return std::nullopt;
    return WaveChunk{std::string(header->begin(), header->begin() + 4), offset + kHeader,
                     number(header->data() + 4, 4)};
}

std::optional<WaveFormat> formatAt(const Bytes& file, const WaveChunk& chunk) {
    const auto basic = file.at<16>(chunk.payload);
    if (!basic || chunk.size < 16) return std::nullopt;
    const auto word = [](const auto& bytes, int at) {
        return static_cast<std::uint16_t>(number(bytes.data() + at, 2));
    };
    WaveFormat format;
    format.tag = word(*basic, 0);
    format.channels = word(*basic, 2);
    format.sampleRate = static_cast<std::uint32_t>(number(basic->data() + 4, 4));
    format.blockAlign = word(*basic, 12);
    format.bits = word(*basic, 14);
    if (format.tag != WaveFormat::extensible || chunk.size < 40) return format;
    const auto more = file.at<24>(chunk.payload + 16);
    if (!more) return format;
    format.isExtensible = true;
    format.validBits = word(*more, 2);
    format.speakers = static_cast<std::uint32_t>(number(more->data() + 4, 4));
    format.tag = word(*more, 8); // the first two bytes of the format's GUID
    return format;
}

// The 64-bit sizes of an RF64 or BW64 file, which stand in its first chunk.
struct LongSizes {
    std::uint64_t riff = 0;
    std::uint64_t data = 0;
    std::vector<std::pair<std::string, std::uint64_t>> others;
};

std::optional<LongSizes> longSizesAt(const Bytes& file, const WaveChunk& chunk) {
    const auto fixed = file.at<24>(chunk.payload);
    if (!fixed || chunk.size < 24) return std::nullopt;
    LongSizes sizes{number(fixed->data(), 8), number(fixed->data() + 8, 8), {}};
    const auto length = file.at<4>(chunk.payload + 24);
    if (!length || chunk.size < 28) return sizes;
    const std::uint64_t rows = std::min<std::uint64_t>(number(length->data(), 4), (chunk.size - 28) / 12);
    for (std::uint64_t row = 0; row < std::min<std::uint64_t>(rows, kMostChunks); ++row) {
        const auto entry = file.at<12>(chunk.payload + 28 + row * 12);
        if (!entry) break;
        sizes.others.emplace_back(std::string(entry->begin(), entry->begin() + 4), number(entry->data() + 4, 8));
    }
    return sizes;
}

// The true size of a chunk whose 32-bit field says that it is told elsewhere.
void widen(WaveChunk& chunk, const std::optional<LongSizes>& sizes) {
    if (!sizes || chunk.size != kUnknown) return;
    if (chunk.id == "data") chunk.size = sizes->data;
    const auto row = std::find_if(sizes->others.begin(), sizes->others.end(),
                                  [&](const auto& other) { return other.first == chunk.id; });
    if (chunk.id != "data" && row != sizes->others.end()) chunk.size = row->second;
}

bool disagrees(const WaveChunk& data, const std::optional<LongSizes>& sizes) {
    if (!sizes) return false;
    const bool isToldTwice = data.size != kUnknown && sizes->data != 0;
    return isToldTwice && data.size != sizes->data;
}

void walk(const Bytes& file, WaveLayout& layout) {
    std::optional<LongSizes> sizes;
    for (std::uint64_t at = kFirstChunk; layout.chunks.size() < kMostChunks;) {
        std::optional<WaveChunk> chunk = chunkAt(file, at);
        if (!chunk || !isPrintable(chunk->id)) return;
        if (chunk->id == "ds64" && layout.kind != WaveLayout::Kind::riff && !sizes) {
            sizes = longSizesAt(file, *chunk);
            layout.hasLongSizes = sizes.has_value();
            if (sizes) layout.riffSize = sizes->riff;
        }
        if (chunk->id == "data" && !layout.data) layout.sizesDisagree = disagrees(*chunk, sizes);
        widen(*chunk, sizes);
        layout.chunks.push_back(*chunk);
        if (chunk->id == "fmt " && !layout.format) layout.format = formatAt(file, *chunk);
        if (chunk->id == "data" && !layout.data) layout.data = *chunk;
        if (chunk->end() <= at || chunk->end() > file.size()) return;
        at = chunk->end();
    }
}

// A header of a chunk that lies in the file.
std::optional<WaveChunk> wholeChunkAt(const Bytes& file, std::uint64_t offset) {
    const std::optional<WaveChunk> chunk = chunkAt(file, offset);
    if (!chunk || !isPrintable(chunk->id) || chunk->payloadEnd() > file.size()) return std::nullopt;
    return chunk;
}

// Whether headers lead from there to the end of the file. A rest of a few bytes is how many a writer ends: one header
// at most where nothing else follows the audio, and some words behind other chunks.
bool isChainToEnd(const Bytes& file, std::uint64_t at) {
    constexpr std::uint64_t kWords = 32;
    for (std::size_t count = 0; count < kMostChunks; ++count) {
        if (at + kHeader >= file.size() || (count > 0 && at + kWords > file.size())) return true;
        const std::optional<WaveChunk> chunk = wholeChunkAt(file, at);
        if (!chunk) return false;
        // Some writers leave the pad byte out.
        const bool isUnpadded = chunk->end() != chunk->payloadEnd() && chunk->end() + kHeader < file.size() &&
                                !wholeChunkAt(file, chunk->end()) && wholeChunkAt(file, chunk->payloadEnd());
        at = isUnpadded ? chunk->payloadEnd() : chunk->end();
    }
    return false;
}

} // namespace

const WaveChunk* WaveLayout::find(std::string_view id) const {
    const auto found =
        std::find_if(chunks.begin(), chunks.end(), [id](const WaveChunk& chunk) { return chunk.id == id; });
    return found == chunks.end() ? nullptr : &*found;
}

bool WaveLayout::endsAsDeclared() const {
    constexpr std::uint64_t kHead = 8; // the first four characters and the size itself
    const std::uint64_t declared = riffSize + kHead;
    return declared + 1 >= fileSize && declared <= fileSize + 1;
}

std::uint64_t WaveLayout::audioBytes() const {
    if (!data || data->payload > fileSize) return 0;
    const std::uint64_t there = fileSize - data->payload;
    return isStreamed ? there : std::min(data->size, there);
}

std::optional<WaveLayout> readWaveLayout(int descriptor) {
    struct stat found;
    if (::fstat(descriptor, &found) != 0 || !S_ISREG(found.st_mode)) return std::nullopt;
    const Bytes file(descriptor, static_cast<std::uint64_t>(found.st_size));
    const auto start = file.at<kFirstChunk>(0);
    if (!start || !says(start->data() + 8, "WAVE")) return std::nullopt;
    WaveLayout layout;
    layout.fileSize = file.size();
    layout.riffSize = number(start->data() + 4, 4);
    if (says(start->data(), "RF64")) {
        layout.kind = WaveLayout::Kind::rf64;
    } else if (says(start->data(), "BW64")) {
        layout.kind = WaveLayout::Kind::bw64;
    } else if (!says(start->data(), "RIFF")) {
        return std::nullopt;
    }
    walk(file, layout);
    if (layout.data && layout.hasLongSizes && layout.riffSize != 0 && layout.data->payloadEnd() > layout.riffSize + 9) {
        layout.sizesDisagree = true;
    }
    const bool saysNothing = layout.data && (layout.data->size == 0 || layout.data->size == kUnknown);
    layout.isStreamed = saysNothing && !layout.hasLongSizes && unexplainedBytes(layout, descriptor) > 0;
    return layout;
}

std::optional<WaveLayout> readWaveLayout(const std::string& path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) return std::nullopt;
    const std::optional<WaveLayout> layout = readWaveLayout(descriptor);
    ::close(descriptor);
    return layout;
}

std::optional<std::uint64_t> readTimeReference(const WaveLayout& layout, const std::string& path) {
    constexpr std::uint64_t kField = 338; // behind description, originator, reference, date and time
    const WaveChunk* bext = layout.find("bext");
    if (!bext || bext->size < kField + 8) return std::nullopt;
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) return std::nullopt;
    const auto bytes = Bytes(descriptor, layout.fileSize).at<8>(bext->payload + kField);
    ::close(descriptor);
    if (!bytes) return std::nullopt;
    return number(bytes->data(), 8);
}

std::uint64_t unexplainedBytes(const WaveLayout& layout, int descriptor) {
    if (!layout.data) return 0;
    const Bytes file(descriptor, layout.fileSize);
    const bool saysNothing = layout.data->size == kUnknown && !layout.hasLongSizes;
    const std::uint64_t end = saysNothing ? layout.data->payload : layout.data->payloadEnd();
    if (end >= layout.fileSize) return 0;
    if (isChainToEnd(file, end + (end & 1)) || isChainToEnd(file, end)) return 0;
    return layout.fileSize - end;
}

std::uint64_t missingBytes(const WaveLayout& layout) {
    if (!layout.data || layout.isStreamed) return 0;
    const std::uint64_t end = layout.data->payloadEnd();
    return end > layout.fileSize ? end - layout.fileSize : 0;
}

} // namespace ostrel
