// Writes an audio file of 32-bit floats; the extension picks the container: "wav", "aif"/"aiff", "caf" or "w64".
//
// Every step throws AudioFileError, a full disk included. What was written of a failed file stays where it is: the
// caller knows whether it may go. Belongs to one thread at a time.
#pragma once

#include "platform/audio/audio_buffer.h"
#include "platform/audio/audio_file.h"

namespace ostrel {

class AudioFileWriter {
public:
    // Creates the file, or empties the one that is there.
    AudioFileWriter(const QString& path, int sampleRate, int channelCount);

    // A writer that was not closed leaves a file that may lack its end.
    ~AudioFileWriter();
    AudioFileWriter(const AudioFileWriter&) = delete;
    AudioFileWriter& operator=(const AudioFileWriter&) = delete;

    // All frames of the buffer, which has the writer's channel count. A classic WAV or AIFF file that would pass 4 GiB
    // is an error.
    void write(const AudioBuffer& buffer);

    // Finishes the header and waits until the file is on the disk. The file is good only if this returns.
    void close();

private:
    struct Target;
    std::unique_ptr<Target> target_;
};

} // namespace ostrel
