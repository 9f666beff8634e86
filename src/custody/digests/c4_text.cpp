#include "custody/digests/c4_text.h"

#include <algorithm>
#include <string_view>

namespace ostrel {
namespace {

constexpr std::string_view kBase58 = "123456789ABCDEFGHJKLMNPQRSTUVWXYZabcdefghijkmnopqrstuvwxyz";
constexpr qsizetype kBase58Letters = 88; // as many as the largest number of 64 bytes takes

} // namespace

QString c4Text(const QByteArray& sha512) {
    Q_ASSERT(sha512.size() == kC4Bytes);
    QByteArray number = sha512; // big-endian, divided until nothing is left
    QByteArray letters(kBase58Letters, kBase58[0]);
    for (qsizetype place = kBase58Letters; place-- > 0;) {
        unsigned rest = 0;
        for (char& byte : number) {
            const unsigned value = rest * 256 + static_cast<unsigned char>(byte);
            byte = static_cast<char>(value / 58);
            rest = value % 58;
        }
        letters[place] = kBase58[rest];
    }
    return QStringLiteral("c4") + QString::fromLatin1(letters);
}

std::optional<QByteArray> c4Digest(const QString& text) {
    if (text.size() != kBase58Letters + 2 || !text.startsWith(QLatin1String("c4"))) return std::nullopt;
    QByteArray number(kC4Bytes, '\0');
    for (const QChar letter : text.sliced(2)) {
        const std::size_t digit = letter.unicode() < 0x80 ? kBase58.find(letter.toLatin1()) : std::string_view::npos;
        if (digit == std::string_view::npos) return std::nullopt;
        unsigned carry = static_cast<unsigned>(digit);
        for (qsizetype place = kC4Bytes; place-- > 0;) {
            const unsigned value = static_cast<unsigned char>(number[place]) * 58U + carry;
            number[place] = static_cast<char>(value % 256);
            carry = value / 256;
        }
        if (carry != 0) return std::nullopt; // 88 letters can say more than 64 bytes hold
    }
    return number;
}

} // namespace ostrel
