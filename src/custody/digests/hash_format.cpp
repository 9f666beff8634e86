#include "custody/digests/hash_format.h"

#include "custody/digests/c4_text.h"

#include <array>

namespace ostrel {
namespace {

struct FormatFacts {
    HashFormat format;
    const char* word;
    qsizetype bytes;
    bool fast;
};
constexpr std::array kFormatFacts{
    FormatFacts{HashFormat::c4, "c4", kC4Bytes, false}, FormatFacts{HashFormat::md5, "md5", 16, false},
    FormatFacts{HashFormat::sha1, "sha1", 20, false},   FormatFacts{HashFormat::xxh128, "xxh128", 16, true},
    FormatFacts{HashFormat::xxh3, "xxh3", 8, true},     FormatFacts{HashFormat::xxh64, "xxh64", 8, true},
    FormatFacts{HashFormat::xxh32, "xxh32", 4, true},
};

const FormatFacts& factsOf(HashFormat format) { return kFormatFacts[static_cast<std::size_t>(format)]; }

bool isHexadecimal(const QString& text) {
    return std::all_of(text.begin(), text.end(), [](QChar letter) {
        const char16_t unit = letter.unicode();
        return (unit >= u'0' && unit <= u'9') || (unit >= u'a' && unit <= u'f') || (unit >= u'A' && unit <= u'F');
    });
}

} // namespace

QString rawText(HashFormat format) { return QString::fromLatin1(factsOf(format).word); }

std::optional<HashFormat> hashFormatOf(const QString& word) {
    for (const FormatFacts& facts : kFormatFacts) {
        if (word == QLatin1String(facts.word)) return facts.format;
    }
    return std::nullopt;
}

bool isFast(HashFormat format) { return factsOf(format).fast; }

qsizetype digestLength(HashFormat format) { return factsOf(format).bytes; }

QString digestText(HashFormat format, const QByteArray& digest) {
    return format == HashFormat::c4 ? c4Text(digest) : QString::fromLatin1(digest.toHex());
}

std::optional<QByteArray> digestFromText(HashFormat format, const QString& text) {
    if (format == HashFormat::c4) return c4Digest(text);
    if (text.size() != 2 * digestLength(format) || !isHexadecimal(text)) return std::nullopt;
    return QByteArray::fromHex(text.toLatin1());
}

} // namespace ostrel
