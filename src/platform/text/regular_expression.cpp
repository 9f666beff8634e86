#include "platform/text/regular_expression.h"

#include <stdexcept>
#include <unicode/uregex.h>

namespace ostrel {
namespace {

struct CloseRegex {
    void operator()(URegularExpression* regex) const { uregex_close(regex); }
};
using Regex = std::unique_ptr<URegularExpression, CloseRegex>;

// About a second of work: a pattern that runs away on a hostile text gives up instead of hanging a batch.
constexpr int32_t kTimeLimit = 10'000;

const UChar* characters(const QString& text) { return reinterpret_cast<const UChar*>(text.utf16()); }

uint32_t flags(int options) {
    uint32_t result = 0;
    if (options & RegularExpression::caseInsensitive) result |= UREGEX_CASE_INSENSITIVE;
    if (options & RegularExpression::dotMatchesLineBreaks) result |= UREGEX_DOTALL;
    if (options & RegularExpression::anchorsMatchLines) result |= UREGEX_MULTILINE;
    return result;
}

RegularExpression::Match currentMatch(URegularExpression* regex, const QString& text) {
    UErrorCode status = U_ZERO_ERROR;
    const int32_t count = uregex_groupCount(regex, &status);
    RegularExpression::Match match;
    match.groups.resize(static_cast<std::size_t>(count) + 1);
    for (int32_t i = 0; i <= count; ++i) {
        const int32_t start = uregex_start(regex, i, &status);
        const int32_t end = uregex_end(regex, i, &status);
        if (start < 0) continue;
        match.groups[static_cast<std::size_t>(i)] = {start, end - start, text.mid(start, end - start)};
    }
    return match;
}

} // namespace

struct RegularExpression::Compiled {
    Regex regex;

    // uregex objects carry the state of a search; a clone shares the compiled pattern and costs little.
    Regex matcher(const QString& text) const {
        UErrorCode status = U_ZERO_ERROR;
        Regex result(uregex_clone(regex.get(), &status));
        uregex_setTimeLimit(result.get(), kTimeLimit, &status);
        uregex_setText(result.get(), characters(text), static_cast<int32_t>(text.size()), &status);
        return result;
    }
};

RegularExpression::RegularExpression(const QString& pattern, int options) : compiled_(std::make_unique<Compiled>()) {
    UErrorCode status = U_ZERO_ERROR;
    compiled_->regex.reset(
        uregex_open(characters(pattern), static_cast<int32_t>(pattern.size()), flags(options), nullptr, &status));
    if (U_FAILURE(status)) throw std::invalid_argument("not a regular expression: " + pattern.toStdString());
}

RegularExpression::~RegularExpression() = default;
RegularExpression::RegularExpression(RegularExpression&&) noexcept = default;
RegularExpression& RegularExpression::operator=(RegularExpression&&) noexcept = default;

QString RegularExpression::escaped(const QString& text) {
    static const QString special = QStringLiteral("\\^$.|?*+()[]{}-&#~ ");
    QString result;
    result.reserve(text.size() * 2);
    for (const QChar c : text) {
        if (special.contains(c)) result += QLatin1Char('\\');
        result += c;
    }
    return result;
}

std::optional<RegularExpression::Match> RegularExpression::firstMatch(const QString& text, qsizetype from) const {
    const Regex regex = compiled_->matcher(text);
    UErrorCode status = U_ZERO_ERROR;
    if (!uregex_find(regex.get(), static_cast<int32_t>(from), &status) || U_FAILURE(status)) return std::nullopt;
    return currentMatch(regex.get(), text);
}

std::vector<RegularExpression::Match> RegularExpression::allMatches(const QString& text) const {
    const Regex regex = compiled_->matcher(text);
    UErrorCode status = U_ZERO_ERROR;
    std::vector<Match> result;
    while (uregex_findNext(regex.get(), &status) && U_SUCCESS(status))
        result.push_back(currentMatch(regex.get(), text));
    return result;
}

QString RegularExpression::replacingAll(const QString& text, const QString& replacement) const {
    QString result;
    qsizetype position = 0;
    for (const Match& match : allMatches(text)) {
        result += text.mid(position, match.start() - position);
        result += replacement;
        position = match.end();
    }
    return result + text.mid(position);
}

} // namespace ostrel
