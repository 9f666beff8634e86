// Writes the bytes of a rescued copy, and compares them with the recording.
#pragma once

#include "rescue/diagnosis.h"

#include <functional>
#include <stdexcept>
#include <string>

namespace ostrel {

class RescueStopped : public std::runtime_error {
public:
    RescueStopped() : std::runtime_error("stopped") {}
};

// Asked between blocks with the bytes that were read since; throws to stop.
using CopiedBytes = std::function<void(std::uint64_t bytes)>;

// `to` is not there yet. Throws CopyError (wave/channel_copy.h), also where the source is changed meanwhile; what
// stands in the new file then is a part.
void writeRescuedCopy(const std::string& from, const std::string& to, const Diagnosis& diagnosis,
                      const CopiedBytes& copied);

// Whether the copy's head is sound and its audio, leading chunks and tail are the source's, all of them. Throws
// CopyError.
bool isWholeCopy(const std::string& from, const std::string& to, const Diagnosis& diagnosis, const CopiedBytes& copied);

} // namespace ostrel
