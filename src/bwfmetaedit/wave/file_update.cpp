#include "bwfmetaedit/wave/file_update.h"

#include "bwfmetaedit/wave/wave_writer.h"

#include <fcntl.h>
#include <unistd.h>

namespace ostrel::bwfmetaedit {

std::string obstacle(const std::string& path, const WaveFile& wave, const ChunkEdits& edits) {
    if (::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0) return "Is read only";
    if (!wave.writeRefusal.empty()) return wave.writeRefusal;
    if (wave.hasTwoIxmlChunks && edits.ixml)
        return "is not written, which of its 2 iXML chunks to replace is not clear";
    if (!wave.data) return "error during writing";
    return {};
}

void updateFile(const std::string& path, const WaveFile& wave, const EditResult& edited) {
    const ChunkEdits edits = chunkEdits(wave, edited);
    if (!edits.anyChange()) return;
    const std::string problem = obstacle(path, wave, edits);
    if (!problem.empty()) throw WriteError{problem};
    writeWaveFile(path, wave, planWrite(wave, edits));
}

} // namespace ostrel::bwfmetaedit
