// Any file as a recording: what is told of it lies within it, follows upon another, and is told again by a second look.
#include "wave/wave_layout.h"
#include "wave/same_audio.h"

#include <cstdlib>
#include <sys/mman.h>
#include <unistd.h>

namespace {

void require(bool condition) {
    if (!condition) std::abort();
}

void requireChunksInOrder(const ostrel::WaveLayout& layout) {
    std::uint64_t at = ostrel::kRiffHeaderBytes;
    for (std::size_t i = 0; i < layout.chunks.size(); ++i) {
        const ostrel::WaveChunk& chunk = layout.chunks[i];
        require(chunk.header() == at && chunk.id.size() == 4 && chunk.payload <= layout.fileSize);
        const bool isLast = i + 1 == layout.chunks.size();
        require(chunk.payloadEnd() <= layout.fileSize || (isLast && layout.walkEnd == ostrel::ChunkWalk::End::overrun));
        require(!chunk.lacksPad || chunk.size % 2 == 1);
        if (chunk.payloadEnd() <= layout.fileSize) at = chunk.end();
    }
    require(layout.walkEndOffset == at && at <= layout.fileSize);
    require(layout.walkEnd != ostrel::ChunkWalk::End::none);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const int descriptor = ::memfd_create("fuzzed", MFD_CLOEXEC);
    require(descriptor >= 0 && ::write(descriptor, data, size) == static_cast<ssize_t>(size));
    const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
    if (const auto layout = ostrel::readWaveLayout(descriptor)) {
        require(layout->fileSize == size);
        requireChunksInOrder(*layout);
        require(!layout->data || layout->find("data")->payload == layout->data->payload);
        require(layout->audioBytes() <= size);
        require(ostrel::unexplainedBytes(*layout, descriptor) <= size);
        require(layout->fault().empty() == (layout->walkEnd == ostrel::ChunkWalk::End::file));
        ostrel::missingBytes(*layout);
        ostrel::readTimeReference(*layout, path);
        require(ostrel::sameAudio(path, path) == layout->data.has_value());
    }
    ::close(descriptor);
    return 0;
}
