#include "wave/same_audio.h"

#include "wave/opened_file.h"
#include "wave/wave_layout.h"

#include <algorithm>

namespace ostrel {

bool sameAudio(const std::string& left, const std::string& right) {
    const OpenedFile leftFile(left);
    const OpenedFile rightFile(right);
    const std::optional<WaveLayout> a = readWaveLayout(leftFile.get());
    const std::optional<WaveLayout> b = readWaveLayout(rightFile.get());
    if (!a || !b || !a->data || !b->data || a->audioBytes() != b->audioBytes()) return false;
    DescriptorBytes leftBytes(leftFile.get(), a->fileSize);
    DescriptorBytes rightBytes(rightFile.get(), b->fileSize);
    constexpr std::uint64_t kBlock = 1 << 20;
    for (std::uint64_t done = 0; done < a->audioBytes(); done += kBlock) {
        const auto wanted = static_cast<std::size_t>(std::min(kBlock, a->audioBytes() - done));
        const std::string block = leftBytes.read(a->data->payload + done, wanted);
        if (block.size() != wanted || block != rightBytes.read(b->data->payload + done, wanted)) return false;
    }
    return true;
}

} // namespace ostrel
