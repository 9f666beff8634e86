#include "bwfmetaedit/wave/layout.h"

#include "bwfmetaedit/bytes/bytes.h"

#include <algorithm>
#include <array>

namespace ostrel::bwfmetaedit {

namespace {

constexpr std::uint32_t kDs64Size = 28;
constexpr std::uint64_t kUnknownSampleCount = ~std::uint64_t{0};
constexpr std::uint64_t kLargestRiff = std::uint64_t{1} << 32; // from this total on a file needs 64-bit sizes
constexpr std::int64_t kNoRoomBelow = -20; // a file that has grown by more than this gets room for the next change
constexpr std::uint64_t kRoom = 16384;
constexpr std::uint64_t kLargestFiller = 0xfffffff0;

bool isFiller(const std::string& name) {
    constexpr std::array kFillers{"JUNK", "junk", "JUNQ", "junq", "FLLR", "fllr", "FILR", "filr", "PAD ", "pad "};
    return std::find(kFillers.begin(), kFillers.end(), name) != kFillers.end();
}

// A chunk of the new file: given bytes, or the data of an old chunk.
struct Item {
    std::string name;
    const std::string* bytes = nullptr;
    const Chunk* old = nullptr;

    std::uint64_t size() const { return bytes != nullptr ? bytes->size() : old->size; }
    std::uint64_t paddedSize() const { return kChunkHeader + size() + size() % 2; }
};

std::vector<Item> orderedItems(const WaveFile& wave, const ChunkEdits& edits) {
    std::vector<Item> items;
    const auto contents = [](const ChunkEdits::Change& change) { return change && *change ? &**change : nullptr; };
    const auto add = [&items](const char* name, const std::string* bytes) {
        if (bytes != nullptr) items.push_back({name, bytes});
    };
    const auto addNewHead = [&] {
        if (!wave.info || edits.infoMoves) add("LIST", contents(edits.info));
        if (!wave.bext) add("bext", contents(edits.bext));
    };
    for (std::size_t i = 0; i < wave.chunks.size(); ++i) {
        const Chunk& chunk = wave.chunks[i];
        if ((wave.isRf64 && i == 0) || isFiller(chunk.name)) continue; // an RF64 begins with ds64
        if (i == wave.bext && edits.bext) {
            add("bext", contents(edits.bext));
        } else if (i == wave.info && edits.info) {
            if (!edits.infoMoves) add("LIST", contents(edits.info));
        } else if (i == wave.ixml && edits.ixml) {
            add("iXML", contents(edits.ixml));
        } else {
            items.push_back({chunk.name, nullptr, &chunk});
        }
        if (i == wave.fmt) addNewHead();
    }
    if (!wave.fmt) addNewHead();
    if (!wave.ixml) add("iXML", contents(edits.ixml));
    return items;
}

// Where the audio goes. Offsets are those of the data chunk's name.
struct DataPlace {
    bool stays = false;
    std::optional<std::uint64_t> filler; // size of a filler directly before it
};

DataPlace placeData(std::uint64_t oldOffset, std::uint64_t packedOffset) {
    const auto gap = static_cast<std::int64_t>(oldOffset) - static_cast<std::int64_t>(packedOffset);
    if (gap == 0) return {true, {}};
    if (gap >= static_cast<std::int64_t>(kChunkHeader)) {
        // An odd offset comes from a pad byte that was missing: the audio has to move to supply it.
        const auto room = static_cast<std::uint64_t>(gap) - kChunkHeader;
        return {room % 2 == 0, room - room % 2};
    }
    if (gap >= kNoRoomBelow) return {false, {}};
    return {false, kRoom};
}

class Builder {
public:
    void addBytes(std::string_view bytes) {
        if (segments_.empty() || segments_.back().kind != Segment::Kind::Bytes) {
            segments_.push_back({Segment::Kind::Bytes, total_, 0, {}});
        }
        segments_.back().bytes += bytes;
        segments_.back().length += bytes.size();
        total_ += bytes.size();
    }

    void addHeader(std::string_view name, std::uint32_t size) {
        addBytes(name);
        addBytes(littleEndianBytes(size));
    }

    void addItem(const Item& item, bool wideData) {
        const bool wide = wideData && item.name == "data";
        addHeader(item.name, wide ? kUnknownSize : static_cast<std::uint32_t>(item.size()));
        if (item.bytes != nullptr) {
            addBytes(*item.bytes);
        } else {
            addRun({Segment::Kind::OldRange, total_, item.old->size, {}, item.old->dataOffset()});
        }
        if (item.size() % 2 != 0) addBytes(std::string_view("\0", 1));
    }

    // As many fillers as 32-bit sizes need; `size` is that of a single one.
    void addFiller(std::uint64_t size) {
        size += size % 2;
        for (; size > kLargestFiller; size -= kLargestFiller + kChunkHeader) addOneFiller(kLargestFiller);
        addOneFiller(size);
    }

    std::uint64_t total() const { return total_; }
    // The headers at the start of the file, which hold sizes that are known last.
    std::string& head() { return segments_.front().bytes; }
    std::vector<Segment> take() { return std::move(segments_); }

private:
    void addOneFiller(std::uint64_t size) {
        addHeader("FLLR", static_cast<std::uint32_t>(size));
        addRun({Segment::Kind::Zeros, total_, size, {}});
    }

    void addRun(Segment segment) {
        if (segment.length == 0) return;
        total_ += segment.length;
        segments_.push_back(std::move(segment));
    }

    std::vector<Segment> segments_;
    std::uint64_t total_ = 0;
};

WritePlan build(const WaveFile& wave, const std::vector<Item>& items, bool rf64) {
    const auto data = std::find_if(items.begin(), items.end(),
                                   [&](const Item& item) { return item.old == &wave.chunks[*wave.data]; });
    std::uint64_t packedOffset = kRiffHeader + (rf64 ? kChunkHeader + kDs64Size : 0);
    for (auto item = items.begin(); item != data; ++item) packedOffset += item->paddedSize();
    const DataPlace place = placeData(data->old->offset, packedOffset);

    Builder builder;
    builder.addHeader(rf64 ? "RF64" : "RIFF", kUnknownSize);
    builder.addBytes("WAVE");
    if (rf64) {
        builder.addHeader("ds64", kDs64Size);
        builder.addBytes(littleEndianBytes(std::uint64_t{0}));
        builder.addBytes(littleEndianBytes(data->size()));
        builder.addBytes(littleEndianBytes(wave.isRf64 ? wave.sampleCount : kUnknownSampleCount));
        builder.addBytes(littleEndianBytes(std::uint32_t{0}));
    }
    for (auto item = items.begin(); item != items.end(); ++item) {
        if (item == data && place.filler) builder.addFiller(*place.filler);
        builder.addItem(*item, rf64);
    }
    // A file never gets shorter.
    if (builder.total() < wave.end) {
        const std::uint64_t missing = wave.end - builder.total();
        builder.addFiller(missing - std::min<std::uint64_t>(missing, kChunkHeader));
    }
    const std::uint64_t total = builder.total();
    if (rf64) {
        constexpr std::size_t kRiffSizeInDs64 = kRiffHeader + kChunkHeader;
        putLittleEndian(builder.head(), kRiffSizeInDs64, total - kChunkHeader);
    } else {
        putLittleEndian(builder.head(), 4, static_cast<std::uint32_t>(total - kChunkHeader));
    }
    return {place.stays, builder.take(), total};
}

} // namespace

ChunkEdits chunkEdits(const WaveFile& wave, const EditResult& edited) {
    ChunkEdits edits;
    const Metadata& metadata = edited.metadata;
    if (edited.bextChanged) {
        std::optional<std::string> bytes;
        if (metadata.bext) bytes = metadata.bext->serialize();
        const bool same = wave.bext ? bytes && *bytes == wave.bextBytes : !bytes;
        if (!same) edits.bext = std::move(bytes);
    }
    if (edited.infoChanged) {
        const std::optional<InfoList>& old = wave.metadata.info;
        std::optional<std::string> bytes;
        if (metadata.info) bytes = metadata.info->serialize();
        const bool same = old ? bytes && *bytes == old->serialize() : !bytes;
        if (!same) edits.info = std::move(bytes);
        edits.infoMoves = edited.infoMoved && edits.info;
    }
    if (edited.ixmlChanged) edits.ixml = metadata.ixml;
    // Odd, but so it has always been: a bext at time 0 is written anew, line breaks and all, whenever anything is.
    const bool normalises = metadata.bext && metadata.bext->timeReference == 0 && !metadata.bext->isEmpty();
    if (edits.anyChange() && !edits.bext && wave.bext && normalises) edits.bext = metadata.bext->serialize();
    return edits;
}

WritePlan planWrite(const WaveFile& wave, const ChunkEdits& edits) {
    const std::vector<Item> items = orderedItems(wave, edits);
    WritePlan plan = build(wave, items, wave.isRf64);
    if (!wave.isRf64 && plan.total >= kLargestRiff) plan = build(wave, items, true);
    return plan;
}

} // namespace ostrel::bwfmetaedit
