// The one line of a failed ffmpeg run that tells a person what went wrong.
#pragma once

#include "platform/processes/child_process.h"

namespace ostrel {

// Why we ended it, which signal ended it, or the last line of its standard error that is neither its banner, nor what
// it says of inputs, outputs and progress, nor a mere consequence ("Conversion failed!"). Empty where none is.
QString ffmpegFault(const ProcessResult& result);

} // namespace ostrel
