#include "foundation/proof/decoded_comparison.h"

#include "foundation/proof/same_samples.h"

#include <algorithm>
#include <cmath>

namespace ostrel {
namespace {

using Encoding = SampleReader::Encoding;

constexpr int kComparedFrames = 16384;
constexpr double kStepOf16Bits = 1.0 / (1 << 15); // the widest step of what a library decodes and doesn't tell

double stepOf(const Encoding& encoding, double value) {
    if (encoding.kind == Encoding::Kind::integers) return std::ldexp(1.0, 1 - 8 * encoding.bytes);
    if (encoding.kind == Encoding::Kind::floats) return std::ldexp(std::abs(value), encoding.bytes == 4 ? -23 : -52);
    return kStepOf16Bits;
}

// A sample that the coding can hold as it is has to be held as it is.
bool canHold(const Encoding& encoding, double value) {
    if (encoding.kind == Encoding::Kind::floats) {
        return encoding.bytes == 8 || static_cast<double>(static_cast<float>(value)) == value;
    }
    if (encoding.kind == Encoding::Kind::numbers) return false;
    const double steps = std::ldexp(value, 8 * encoding.bytes - 1);
    return steps == std::floor(steps) && value >= -1.0 && value < 1.0;
}

// Integers end at full scale, whatever a float source holds beyond it.
bool isRounding(const Encoding& encoding, double wanted, double found) {
    if (canHold(encoding, wanted)) return false;
    const double step = stepOf(encoding, wanted);
    const bool clips = encoding.kind != Encoding::Kind::floats;
    const double nearest = clips ? std::clamp(wanted, -1.0, 1.0 - step) : wanted;
    return std::abs(nearest - found) <= step;
}

DecodedFinding lookAt(const SampleReader& source, int sourceChannel, const SampleReader& output, int outputChannel,
                      int count) {
    for (int frame = 0; frame < count; ++frame) {
        const double wanted = source.sample(frame, sourceChannel);
        const double found = output.sample(frame, outputChannel);
        if (wanted != found && !isRounding(output.encoding(), wanted, found)) return DecodedFinding::different;
    }
    return DecodedFinding::rounded;
}

} // namespace

DecodedFinding compareDecoded(SampleReader& source, int sourceChannel, SampleReader& output, int outputChannel) {
    DecodedFinding finding = DecodedFinding::same;
    for (qint64 first = 0; first < output.frames(); first += kComparedFrames) {
        const int count = static_cast<int>(std::min<qint64>(kComparedFrames, output.frames() - first));
        source.read(first, count);
        output.read(first, count);
        if (sameSamples(source, sourceChannel, output, outputChannel, 0, count)) continue;
        finding = lookAt(source, sourceChannel, output, outputChannel, count);
        if (finding == DecodedFinding::different) break;
    }
    return finding;
}

} // namespace ostrel
