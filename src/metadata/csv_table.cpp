#include "metadata/csv_table.h"

#include <utility>

namespace ostrel {
namespace {

class CSVParser {
public:
    explicit CSVParser(const QString& text) : text_(text) {}

    std::vector<QStringList> parse() {
        for (position_ = 0; position_ < text_.size(); ++position_) {
            quoted_ ? takeQuoted(text_[position_]) : takePlain(text_[position_]);
        }
        endRow();
        return std::move(rows_);
    }

private:
    bool followedBy(char16_t c) const { return position_ + 1 < text_.size() && text_[position_ + 1] == c; }

    void takeQuoted(QChar c) {
        if (c != u'"') {
            field_ += c;
        } else if (followedBy(u'"')) {
            field_ += c;
            ++position_;
        } else {
            quoted_ = false;
        }
    }

    void takePlain(QChar c) {
        if (c == u'"') {
            quoted_ = true;
        } else if (c == u',') {
            endField();
        } else if (c == u'\n') {
            endRow();
        } else if (c != u'\r' || !followedBy(u'\n')) {
            field_ += c;
        }
    }

    void endField() { row_ << std::exchange(field_, {}); }

    void endRow() {
        endField();
        if (row_.size() > 1 || !row_.front().isEmpty()) rows_.push_back(row_);
        row_.clear();
    }

    const QString& text_;
    qsizetype position_ = 0;
    bool quoted_ = false;
    QString field_;
    QStringList row_;
    std::vector<QStringList> rows_;
};

} // namespace

std::vector<QStringList> parseCSV(const QString& text) { return CSVParser(text).parse(); }

} // namespace ostrel
