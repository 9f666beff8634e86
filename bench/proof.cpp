// What the proof ahead of a removal costs: a file of six channels against its six mono files, whole, from the page
// cache, over reading all seven once. The seconds of audio may be given.
#include "bench/ratio.h"
#include "foundation/proof/audio_proof.h"
#include "platform/files/files.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace {

using namespace ostrel;

constexpr int kChannels = 6;
constexpr int kRate = 48000; // Hz

void put(QByteArray& bytes, quint32 value, int count) {
    for (int i = 0; i < count; ++i) bytes += static_cast<char>(value >> (8 * i));
}

QByteArray header(int channels, int sampleBytes, quint32 frames) {
    const auto align = static_cast<quint32>(channels * sampleBytes);
    QByteArray bytes("RIFF");
    put(bytes, 36 + frames * align, 4);
    bytes += "WAVEfmt ";
    put(bytes, 16, 4);
    put(bytes, 1, 2);
    put(bytes, static_cast<quint32>(channels), 2);
    put(bytes, kRate, 4);
    put(bytes, kRate * align, 4);
    put(bytes, align, 2);
    put(bytes, static_cast<quint32>(8 * sampleBytes), 2);
    bytes += "data";
    put(bytes, frames * align, 4);
    return bytes;
}

// One set: the poly and its monos. A mono file may have another sample size, its sound being the same.
struct Set {
    Set(int seconds, int polyBytes, int monoBytes) {
        const quint32 frames = static_cast<quint32>(seconds) * kRate;
        std::vector<std::unique_ptr<QFile>> out;
        for (int i = 0; i <= kChannels; ++i) {
            files << folder.filePath(QStringLiteral("%1.wav").arg(i));
            out.push_back(std::make_unique<QFile>(files.last()));
            if (!out.back()->open(QIODevice::WriteOnly)) std::exit(1);
            out.back()->write(i == 0 ? header(kChannels, polyBytes, frames) : header(1, monoBytes, frames));
        }
        quint32 random = 1;
        for (quint32 done = 0; done < frames; done += kRate) {
            std::vector<QByteArray> blocks(kChannels + 1);
            for (int sample = 0; sample < kRate * kChannels; ++sample) {
                random = random * 1664525 + 1013904223;
                const quint32 value = random >> 16; // 16 bits, which all sizes hold
                put(blocks[0], value << (8 * (polyBytes - 2)), polyBytes);
                put(blocks[static_cast<std::size_t>(1 + sample % kChannels)], value << (8 * (monoBytes - 2)),
                    monoBytes);
            }
            for (std::size_t i = 0; i < blocks.size(); ++i) out[i]->write(blocks[i]);
        }
        for (int channel = 0; channel < kChannels; ++channel) {
            pairs.push_back({{files[0], channel}, {files[channel + 1], 0}});
        }
    }

    QTemporaryDir folder;
    QStringList files;
    std::vector<ChannelPair> pairs;
};

void readAll(const QStringList& files) {
    std::vector<char> buffer(1 << 20);
    for (const QString& file : files) {
        const int descriptor = ::open(QFile::encodeName(file).constData(), O_RDONLY);
        while (::read(descriptor, buffer.data(), buffer.size()) > 0) {
        }
        ::close(descriptor);
    }
}

void benchProof(const QString& title, const Set& set) {
    const bench::Side ours{QStringLiteral("proof"), [&] {
                               if (!AudioProof::of({set.files[0]}, set.pairs).holds()) ::_Exit(1);
                           }};
    const bench::Side bare{QStringLiteral("read"), [&] { readAll(set.files); }};
    bench::compare(title, 1.6, ours, bare, 9);
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const int seconds = argc > 1 ? std::atoi(argv[1]) : 300;
    std::printf("%-46s %11s %11s\n", "ours : bare", "ours", "bare");
    benchProof(QStringLiteral("proof of 6 channels of 24 bit : reading"), Set(seconds, 3, 3));
    benchProof(QStringLiteral("the same of 16 bit : reading"), Set(seconds, 2, 2));
    benchProof(QStringLiteral("the same of 32 bit : reading"), Set(seconds, 4, 4));
    benchProof(QStringLiteral("24-bit monos of a 32-bit poly : reading"), Set(seconds, 4, 3));
}
