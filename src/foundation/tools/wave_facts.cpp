#include "foundation/tools/wave_facts.h"

#include "foundation/chunks/chunk_bytes.h"
#include "wave/wave_layout.h"

#include <QFile>
#include <QtEndian>
#include <array>
#include <bit>
#include <cmath>
#include <map>

namespace ostrel {
namespace {

struct Coding {
    const char* codec;
    const char* sampleFmt;
    std::optional<int> rawBits;
};

std::optional<Coding> codingOf(const WaveFormat& format) {
    const int bytes = format.bytesPerSample();
    const bool isPlain = format.bits == bytes * 8 && (format.validBits == 0 || format.validBits == format.bits);
    if (!isPlain) return std::nullopt;
    if (format.tag == WaveFormat::ieeeFloat) {
        if (bytes == 4) return Coding{"pcm_f32le", "flt", {}};
        return bytes == 8 ? std::optional(Coding{"pcm_f64le", "dbl", {}}) : std::nullopt;
    }
    if (format.tag != WaveFormat::pcm) return std::nullopt;
    switch (bytes) {
    case 1: return Coding{"pcm_u8", "u8", {}};
    case 2: return Coding{"pcm_s16le", "s16", {}};
    case 3: return Coding{"pcm_s24le", "s32", 24};
    case 4: return Coding{"pcm_s32le", "s32", 32};
    default: return std::nullopt;
    }
}

// Whether there is one answer to "how long is it?": all that tells a length tells the same one.
bool isOfOneLength(const WaveLayout& layout, const QString& file) {
    if (layout.kind != WaveLayout::Kind::riff && !layout.hasLongSizes) return false;
    if (!layout.data || layout.isStreamed || layout.sizesDisagree || layout.data->size == 0) return false;
    if (missingBytes(layout) > 0 || layout.data->size % layout.format->blockAlign != 0) return false;
    const WaveChunk* fact = layout.find("fact");
    if (!fact) return true;
    const QByteArray frames = bytesAt(file, {static_cast<qint64>(fact->payload), 4}, 4);
    return frames.size() == 4 && qFromLittleEndian<quint32>(frames.constData()) == layout.frames();
}

} // namespace

QString speakerLayoutName(quint32 mask, int channels) {
    static const std::map<quint32, const char*> names{
        {0x4, "mono"},        {0x3, "stereo"},       {0xB, "2.1"},
        {0x7, "3.0"},         {0x103, "3.0(back)"},  {0x107, "4.0"},
        {0x33, "quad"},       {0x603, "quad(side)"}, {0xF, "3.1"},
        {0x37, "5.0"},        {0x607, "5.0(side)"},  {0x10F, "4.1"},
        {0x3F, "5.1"},        {0x60F, "5.1(side)"},  {0x707, "6.0"},
        {0x13F, "6.1(back)"}, {0x70F, "6.1"},        {0x637, "7.0"},
        {0x63F, "7.1"},       {0xFF, "7.1(wide)"},   {0x6CF, "7.1(wide-side)"}};
    static constexpr std::array kSpeakers{"FL", "FR", "FC", "LFE", "BL",  "BR",  "FLC", "FRC", "BC",
                                          "SL", "SR", "TC", "TFL", "TFC", "TFR", "TBL", "TBC", "TBR"};
    if (mask == 0 || std::popcount(mask) != channels) return {};
    if (const auto found = names.find(mask); found != names.end()) return QString::fromLatin1(found->second);
    QStringList list;
    for (std::size_t bit = 0; bit < kSpeakers.size(); ++bit) {
        if (mask >> bit & 1) list << QString::fromLatin1(kSpeakers[bit]);
    }
    return QStringLiteral("%1 channels (%2)").arg(channels).arg(list.join(u'+'));
}

std::optional<FileAnalysis> factsOfWave(const QString& file) {
    const auto layout = readWaveLayout(QFile::encodeName(file).toStdString());
    if (!layout || !layout->format || layout->format->blockAlign == 0 || layout->format->sampleRate == 0) return {};
    const WaveFormat& format = *layout->format;
    const std::optional<Coding> coding = codingOf(format);
    if (!coding || !isOfOneLength(*layout, file)) return {};
    FileAnalysis facts;
    facts.channels = format.channels;
    facts.channelLayout = speakerLayoutName(format.speakers, format.channels);
    facts.sampleRate = static_cast<int>(format.sampleRate);
    facts.bitDepth = format.bits;
    facts.bitsPerRawSample = coding->rawBits;
    facts.codecName = QString::fromLatin1(coding->codec);
    facts.sampleFmt = QString::fromLatin1(coding->sampleFmt);
    // Whole microseconds, as ffprobe prints them.
    facts.duration = std::round(static_cast<double>(layout->frames()) * 1e6 / format.sampleRate) / 1e6;
    facts.fileSize = layout->fileSize;
    return facts;
}

} // namespace ostrel
