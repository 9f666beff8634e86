#include "demo/samples.h"

#include <cmath>

namespace ostrel {
namespace {

using Channel = std::function<double(double)>;

Channel silence() {
    return [](double) { return 0.0; };
}

Channel scaled(const Channel& channel, double gain) {
    return [=](double seconds) { return gain * channel(seconds); };
}

Channel sum(const Channel& a, const Channel& b) {
    return [=](double seconds) { return a(seconds) + b(seconds); };
}

} // namespace

void writeValidatorSamples(const SampleWriter& writer) {
    const Channel low = tone(220);
    const Channel high = tone(554.37);
    const auto write = [&](const char16_t* name, const std::vector<Channel>& channels) {
        DemoWave wave;
        wave.channels = channels;
        wave.seconds = 3;
        writer.write(QStringLiteral("validator/%1.wav").arg(QString::fromUtf16(name)), wave);
    };
    write(u"Dual Mono", {low, low});
    write(u"Dual Mono, Gain Mismatch", {low, scaled(low, 0.5)});
    write(u"Near Mono", {low, sum(low, scaled(high, 0.25))}); // correlation 1 / sqrt(1 + 0.25 squared) = 0.970
    write(u"True Stereo", {low, high});
    write(u"Broken, Polarity Inverted", {low, scaled(low, -1)});
    write(u"One-Sided Left", {low, silence()});
    write(u"One-Sided Right", {silence(), low});
    write(u"Silent", {silence(), silence()});
    write(u"True Mono", {low});
    write(u"Unsupported, Three Channels", {low, high, low});
}

} // namespace ostrel
