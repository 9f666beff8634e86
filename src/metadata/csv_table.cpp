#include "metadata/csv_table.h"

#include <utility>

namespace ostrel {
namespace {

class CSVParser {
public:
    CSVParser(const QString& text, QChar separator) : text_(text), separator_(separator) {}

    std::vector<std::vector<CSVCell>> parse() {
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
            cell_.text += c;
        } else if (followedBy(u'"')) {
            cell_.text += c;
            ++position_;
        } else {
            quoted_ = false;
        }
    }

    void takePlain(QChar c) {
        if (c == u'"') {
            quoted_ = true;
        } else if (c == separator_) {
            endCell();
        } else if (c == u'\n' || c == u'\r') { // both in turn make a blank line, which vanishes
            endRow();
        } else {
            cell_.text += c;
        }
    }

    void endCell() {
        cell_.end = position_;
        row_.push_back(std::exchange(cell_, {QString(), position_ + 1, 0}));
    }

    void endRow() {
        endCell();
        if (row_.size() > 1 || !row_.front().text.isEmpty()) rows_.push_back(std::move(row_));
        row_.clear();
    }

    const QString& text_;
    QChar separator_;
    qsizetype position_ = 0;
    bool quoted_ = false;
    CSVCell cell_;
    std::vector<CSVCell> row_;
    std::vector<std::vector<CSVCell>> rows_;
};

} // namespace

std::vector<std::vector<CSVCell>> parseCSVCells(const QString& text, QChar separator) {
    return CSVParser(text, separator).parse();
}

std::vector<QStringList> parseCSV(const QString& text) {
    std::vector<QStringList> rows;
    for (std::vector<CSVCell>& cells : parseCSVCells(text)) {
        QStringList& row = rows.emplace_back();
        for (CSVCell& cell : cells) row << std::move(cell.text);
    }
    return rows;
}

QString quotedCell(QString text) { return u'"' + text.replace(QStringLiteral("\""), QStringLiteral("\"\"")) + u'"'; }

QString csvRow(const QStringList& fields) {
    QStringList cells;
    for (const QString& field : fields) cells << quotedCell(field);
    return cells.join(u',');
}

} // namespace ostrel
