#include "support/disk_output.h"

#include <QFileInfo>
#include <algorithm>
#include <cstring>

namespace ostrel::testing {

DiskOutput::DiskOutput(int sampleRate, int channels, int blockFrames, int delay)
    : driverBefore_(qgetenv("SDL_AUDIODRIVER")), channels_(channels), blockFrames_(blockFrames) {
    qputenv("SDL_AUDIODRIVER", "disk");
    qputenv("SDL_DISKAUDIOFILE", folder_.path(QStringLiteral("heard.raw")).toUtf8());
    qputenv("SDL_DISKAUDIODELAY", QByteArray::number(delay));
    output_ = std::make_unique<AudioOutput>(AudioOutput::Wish{sampleRate, channels, blockFrames});
}

DiskOutput::~DiskOutput() {
    output_.reset();
    qputenv("SDL_AUDIODRIVER", driverBefore_);
}

std::vector<float> DiskOutput::heard() const {
    const QString path = folder_.path(QStringLiteral("heard.raw"));
    if (!QFile::exists(path)) return {};
    const QByteArray bytes = readAll(path);
    std::vector<float> all(static_cast<std::size_t>(bytes.size()) / sizeof(float));
    if (all.empty()) return all;
    std::memcpy(all.data(), bytes.constData(), all.size() * sizeof(float));
    const auto block = static_cast<std::size_t>(blockFrames_ * channels_);
    std::vector<float> result;
    for (std::size_t at = 0; at < all.size(); at += block) {
        const auto first = all.begin() + static_cast<std::ptrdiff_t>(at);
        const auto last = all.begin() + static_cast<std::ptrdiff_t>(std::min(at + block, all.size()));
        if (std::any_of(first, last, [](float sample) { return sample != 0.0F; }))
            result.insert(result.end(), first, last);
    }
    while (!result.empty() && result.back() == 0.0F) result.pop_back();
    return result;
}

std::vector<float> DiskOutput::heard(int channel) const {
    const std::vector<float> all = heard();
    std::vector<float> result;
    for (std::size_t at = static_cast<std::size_t>(channel); at < all.size();
         at += static_cast<std::size_t>(channels_)) {
        result.push_back(all[at]);
    }
    return result;
}

bool DiskOutput::waitForFrames(qint64 frames) const {
    const QString path = folder_.path(QStringLiteral("heard.raw"));
    return waitUntil([&] {
        const qint64 samples = frames * channels_;
        const bool canHold = QFileInfo(path).size() >= samples * static_cast<qint64>(sizeof(float)); // silence included
        return canHold && static_cast<qint64>(heard().size()) >= samples;
    });
}

bool DiskOutput::waitForMore(qint64 frames) const {
    return waitForFrames(static_cast<qint64>(heard().size()) / channels_ + frames);
}

} // namespace ostrel::testing
