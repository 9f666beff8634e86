// Patterns in the dialect of ICU, over UTF-16 on both sides.
//
// Compile a pattern once (a function-local static or a member). Matching makes its own matcher, so one object may be
// used from several threads. A pattern that does not compile throws std::invalid_argument.
#pragma once

#include <QString>
#include <QStringList>
#include <memory>
#include <optional>
#include <vector>

namespace ostrel {

class RegularExpression {
public:
    enum Option { none = 0, caseInsensitive = 1, dotMatchesLineBreaks = 2, anchorsMatchLines = 4 };

    struct Match {
        // Group 0 is the whole match. A group that took no part has start -1 and an empty text.
        struct Group {
            qsizetype start = -1;
            qsizetype length = 0;
            QString text;
        };
        std::vector<Group> groups;

        qsizetype start() const { return groups.front().start; }
        qsizetype end() const { return groups.front().start + groups.front().length; }
        QString text(std::size_t group = 0) const { return group < groups.size() ? groups[group].text : QString(); }
    };

    explicit RegularExpression(const QString& pattern, int options = none);
    ~RegularExpression();
    RegularExpression(RegularExpression&&) noexcept;
    RegularExpression& operator=(RegularExpression&&) noexcept;

    // The text with all characters that mean something in a pattern escaped.
    static QString escaped(const QString& text);

    // The first match at or after `from`. A pattern that exhausts ICU's time or stack limit counts as no match.
    std::optional<Match> firstMatch(const QString& text, qsizetype from = 0) const;
    std::vector<Match> allMatches(const QString& text) const;
    bool matches(const QString& text) const { return firstMatch(text).has_value(); }

    // Every match replaced by `replacement`, which is taken as it stands ("$1" is two characters).
    QString replacingAll(const QString& text, const QString& replacement) const;

private:
    struct Compiled;
    std::unique_ptr<Compiled> compiled_;
};

} // namespace ostrel
