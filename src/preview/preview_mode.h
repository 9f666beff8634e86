// What the preview panel lets a person choose.
#pragma once

#include <QString>

namespace ostrel {

enum class PreviewMode { source, postInterleave, postInterleaveSurround, leftChannel, rightChannel, centerChannel };
QString displayText(PreviewMode mode);

// How a single channel is heard: as a mono file, or from its own speaker of a multichannel monitor.
enum class PreviewRouting { mono, speakerRouted };
QString rawText(PreviewRouting routing);

} // namespace ostrel
