#include "cli/validator_table.h"

#include "platform/paths.h"
#include "platform/text/text.h"

#include <algorithm>
#include <array>

namespace ostrel::cli {
namespace {

constexpr std::size_t kColumns = 6;
constexpr std::size_t kTextColumns = 2; // flush left; the numbers behind them flush right
using Row = std::array<QString, kColumns>;

Row heading() {
    return {QStringLiteral("File"),       QStringLiteral("Classification"), QStringLiteral("Correlation"),
            QStringLiteral("Confidence"), QStringLiteral("Mid/Side"),       QStringLiteral("Duration")};
}

Row rowOf(const StereoValidatorResult& result) {
    return {paths::lastComponent(result.filepath), result.smartDisplayName(),
            fixed(result.correlation, 3),          fixed(result.confidence, 1) + QLatin1Char('%'),
            result.formattedMidSideRatio(),        result.formattedDuration()};
}

} // namespace

QStringList validatorTable(const std::vector<StereoValidatorResult>& results) {
    std::vector<Row> rows{heading()};
    for (const StereoValidatorResult& result : results) rows.push_back(rowOf(result));
    std::array<qsizetype, kColumns> widths{};
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < kColumns; ++i) widths[i] = std::max(widths[i], row[i].size());
    }
    const bool trusts = std::any_of(results.begin(), results.end(),
                                    [](const StereoValidatorResult& result) { return result.trust.has_value(); });
    QStringList lines;
    for (std::size_t line = 0; line < rows.size(); ++line) {
        const QString error = line == 0 ? QString() : results[line - 1].error;
        QStringList cells;
        for (std::size_t i = 0; i < (error.isEmpty() ? kColumns : kTextColumns); ++i) {
            cells << (i < kTextColumns ? rows[line][i].leftJustified(widths[i])
                                       : rows[line][i].rightJustified(widths[i]));
        }
        if (!error.isEmpty()) cells << error;
        if (line == 0 && trusts) cells << QStringLiteral("Trust ") << QStringLiteral("Why");
        if (line > 0 && results[line - 1].trust) {
            cells << results[line - 1].trustText().leftJustified(6) << results[line - 1].why.join(QStringLiteral("; "));
        }
        lines << cells.join(QStringLiteral("  "));
    }
    return lines;
}

} // namespace ostrel::cli
